#include "tests/packaging/Shell.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <sys/wait.h>

ShellOutcome shell(const std::string& command) {
  std::FILE* pipe = popen(("exec 2>&1 </dev/null\n" + command).c_str(), "r");
  if (pipe == nullptr) {
    throw std::runtime_error("cannot start a shell");
  }
  ShellOutcome outcome;
  for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) {
    outcome.output += static_cast<char>(c);
  }
  const int status = pclose(pipe);
  outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return outcome;
}

std::string projectFile(const std::string& name) {
  std::ifstream file(PROJECT_DIRECTORY "/" + name);
  if (!file) {
    throw std::runtime_error("no file " + name);
  }
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}
