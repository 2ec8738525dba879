// A host that has closed its standard streams: the log doesn't get their numbers, and what is
// printed to them doesn't get into the log.

#include <cstdio>

#include "tests/rough/LogHost.h"

using rough::check;

int main() {
  const rough::Scratch scratch;
  rough::logConf = scratch.file("log.conf");
  const std::string path = scratch.file("log");
  std::ofstream(rough::logConf) << "FileName=" << path << '\n';
  const int errors = dup(STDERR_FILENO);  // for what this program has to say
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    close(stream);
  }
  std::string isOpen;
  {
    const rough::Library library;
    library.log("one");
    std::puts("for standard output");
    std::fflush(stdout);
    std::fputs("for standard error\n", stderr);
    library.log("two");
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      std::error_code none;
      const std::string link = "/proc/self/fd/" + std::to_string(stream);
      isOpen += std::filesystem::read_symlink(link, none).string();
    }
  }  // which prints as well
  dup2(errors, STDERR_FILENO);
  check(isOpen.empty(), "descriptors 0 to 2 stay closed: " + isOpen);
  const std::string log = rough::contentOf(path);
  check(log.find("\tone\n") != std::string::npos && log.find("\ttwo\n") != std::string::npos,
        "both lines are there:\n" + log);
  check(
      log.find("for standard") == std::string::npos && log.find("DESTRUCTOR") == std::string::npos,
      "nothing but lines:\n" + log);
  return EXIT_SUCCESS;
}
