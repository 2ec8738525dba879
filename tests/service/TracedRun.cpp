#include "tests/service/TracedRun.h"

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace {

[[noreturn]] void become(const std::vector<std::string>& arguments,
                         const std::vector<std::string>& environment) {
  for (const std::string& variable : environment) {
    putenv(const_cast<char*>(variable.c_str()));
  }
  std::vector<char*> words;
  for (const std::string& argument : arguments) {
    words.push_back(const_cast<char*>(argument.c_str()));
  }
  words.push_back(nullptr);
  const int nowhere = open("/dev/null", O_RDWR);
  dup2(nowhere, STDOUT_FILENO);
  dup2(nowhere, STDERR_FILENO);
  ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
  raise(SIGSTOP);
  execv(words[0], words.data());
  _exit(127);
}

constexpr int kSystemCall = SIGTRAP | 0x80;

}  // namespace

bool killAtSystemCall(const std::vector<std::string>& arguments,
                      const std::vector<std::string>& environment, unsigned long call) {
  const pid_t process = fork();
  if (process == 0) {
    become(arguments, environment);
  }
  int status = 0;
  waitpid(process, &status, 0);
  ptrace(PTRACE_SETOPTIONS, process, nullptr,
         PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACECLONE | PTRACE_O_EXITKILL);
  ptrace(PTRACE_SYSCALL, process, nullptr, nullptr);
  unsigned long stops = 0;
  bool killed = false;
  for (pid_t thread = 0; (thread = waitpid(-1, &status, __WALL)) > 0;) {
    if (!WIFSTOPPED(status)) {
      if (thread == process) {
        break;
      }
      continue;
    }
    const int signal = WSTOPSIG(status);
    // Each call stops twice: when it begins and when it ends.
    if (signal == kSystemCall && ++stops == 2 * call) {
      killed = kill(process, SIGKILL) == 0;
    }
    const bool own = signal == kSystemCall || signal == SIGTRAP || signal == SIGSTOP;
    ptrace(PTRACE_SYSCALL, thread, nullptr, own ? 0 : signal);
  }
  return killed;
}
