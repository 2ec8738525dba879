#include "ssdlife/alarms/HookRun.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <system_error>

#include "base/UniqueFd.h"

namespace ssdlife {
namespace {

using Clock = std::chrono::steady_clock;
constexpr int kGlance = 20;  // milliseconds between two looks whether it has ended
constexpr std::size_t kMostOutput = 64 * 1024;
constexpr int kNotStarted = 127;

// Turns what is read into lines; what is too much is dropped, with one line that says so.
class Lines {
 public:
  explicit Lines(const std::function<void(const std::string&)>& output) : output_(output) {}
  ~Lines() { flush(); }
  Lines(const Lines&) = delete;
  Lines& operator=(const Lines&) = delete;

  void add(const char* text, std::size_t length) {
    const std::size_t taken = std::min(length, kMostOutput - total_);
    for (std::size_t at = 0; at < taken; ++at) {
      if (text[at] == '\n') {
        flush();
      } else {
        line_ += text[at];
      }
    }
    total_ += taken;
    if (taken < length && !cut_) {
      cut_ = true;
      flush();
      output_("(the rest of its output is left out)");
    }
  }

 private:
  void flush() {
    if (!line_.empty()) {
      output_(line_);
      line_.clear();
    }
  }

  const std::function<void(const std::string&)>& output_;
  std::string line_;
  std::size_t total_ = 0;
  bool cut_ = false;
};

// In the child: nothing but calls that are safe between fork and exec.
void closeFrom(int first, int last) {
#ifdef SYS_close_range
  if (syscall(SYS_close_range, first, ~0U, 0) == 0) {
    return;
  }
#endif
  for (int descriptor = first; descriptor < last; ++descriptor) {
    close(descriptor);
  }
}

[[noreturn]] void become(const char* path, char* const* environment, int output, int descriptors) {
  setsid();
  signal(SIGPIPE, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  const int nothing = open("/dev/null", O_RDONLY);
  dup2(nothing, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  closeFrom(STDERR_FILENO + 1, descriptors);
  std::array<char*, 2> arguments = {const_cast<char*>(path), nullptr};
  if (chdir("/") == 0) {
    execve(path, arguments.data(), environment);
  }
  _exit(kNotStarted);
}

int highestDescriptor() {
  rlimit limit{};
  constexpr rlim_t kEnough = 65536;
  return getrlimit(RLIMIT_NOFILE, &limit) == 0 ? static_cast<int>(std::min(limit.rlim_cur, kEnough))
                                               : static_cast<int>(kEnough);
}

HookEnd endOf(int status) {
  if (WIFSIGNALED(status)) {
    return {false, "ended by signal " + std::to_string(WTERMSIG(status))};
  }
  switch (WEXITSTATUS(status)) {
    case 0:
      return {true, "done"};
    case kNotStarted:
      return {false, "exit status 127: it, or its interpreter, can't be started"};
    default:
      return {false, "exit status " + std::to_string(WEXITSTATUS(status))};
  }
}

// Waits a moment for output, and takes it. At the end of the output the descriptor is closed.
void take(UniqueFd& from, Lines& lines, int milliseconds) {
  pollfd source = {from.get(), POLLIN, 0};  // one that is closed is just waited for
  if (poll(&source, 1, milliseconds) <= 0) {
    return;
  }
  std::array<char, 4096> buffer{};
  const ssize_t length = read(from.get(), buffer.data(), buffer.size());
  if (length > 0) {
    lines.add(buffer.data(), static_cast<std::size_t>(length));
  } else if (length == 0 || (errno != EINTR && errno != EAGAIN)) {
    from.reset();
  }
}

// What is in the pipe when the program has ended; others may go on writing.
void takeTheRest(UniqueFd& from, Lines& lines) {
  for (std::size_t part = 0; from.isOpen() && part <= kMostOutput / 4096; ++part) {
    take(from, lines, 0);
  }
}

HookEnd waitFor(pid_t process, UniqueFd& output, Lines& lines, std::chrono::milliseconds limit) {
  const auto deadline = Clock::now() + limit;
  int status = 0;
  while (waitpid(process, &status, WNOHANG) != process) {
    if (Clock::now() >= deadline) {
      kill(-process, SIGKILL);
      waitpid(process, &status, 0);
      return {false, "killed after " + std::to_string(limit.count() / 1000) + " s"};
    }
    take(output, lines, kGlance);
  }
  takeTheRest(output, lines);
  return endOf(status);
}

}  // namespace

HookEnd runHook(const std::string& path, const std::vector<std::string>& environment,
                std::chrono::milliseconds limit,
                const std::function<void(const std::string& line)>& output) {
  std::vector<char*> variables;
  std::transform(environment.begin(), environment.end(), std::back_inserter(variables),
                 [](const std::string& variable) { return const_cast<char*>(variable.c_str()); });
  variables.push_back(nullptr);
  const int descriptors = highestDescriptor();
  std::array<int, 2> pipe{};
  if (pipe2(pipe.data(), O_CLOEXEC) != 0) {
    return {false, "no pipe: " + std::generic_category().message(errno)};
  }
  UniqueFd reading(pipe[0]);
  UniqueFd writing(pipe[1]);
  fcntl(reading.get(), F_SETFL, O_NONBLOCK);
  const pid_t process = fork();
  if (process < 0) {
    return {false, "no process: " + std::generic_category().message(errno)};
  }
  if (process == 0) {
    become(path.c_str(), variables.data(), writing.get(), descriptors);
  }
  writing.reset();
  Lines lines(output);
  return waitFor(process, reading, lines, limit);
}

}  // namespace ssdlife
