#include "simulator/preload/Journal.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "simulator/preload/Real.h"

namespace simulator {

void Journal::write(nlohmann::ordered_json entry) const {
  const int saved = errno;
  entry["pid"] = getpid();
  entry["tid"] = gettid();
  const std::string line =
      entry.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
  const int fd = real().open(path_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
  if (fd >= 0) {
    if (::write(fd, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
      static constexpr char kFull[] = "vekssdsim: the journal cannot be written\n";
      (void)!::write(STDERR_FILENO, kFull, sizeof kFull - 1);
    }
    real().close(fd);
  }
  errno = saved;
}

}  // namespace simulator
