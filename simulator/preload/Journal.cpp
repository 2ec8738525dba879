#include "simulator/preload/Journal.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "simulator/preload/Real.h"

namespace simulator {

void Journal::write(nlohmann::ordered_json entry) const {
  int cancellable = 0;  // the call that is noted need not be
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancellable);
  const int saved = errno;
  entry["pid"] = getpid();
  entry["tid"] = syscall(SYS_gettid);  // gettid() came with glibc 2.30
  const std::string line =
      entry.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
  const int fd = real().open(path_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
  if (fd >= 0) {
    if (!writeAll(fd, line)) {
      (void)writeAll(STDERR_FILENO, "vekssdsim: the journal cannot be written\n");
    }
    real().close(fd);
  }
  pthread_setcancelstate(cancellable, nullptr);
  errno = saved;
}

}  // namespace simulator
