#pragma once

#include <string>

// What a command of the shell wrote to standard output and error, and its exit status.
struct ShellOutcome {
  int exitCode = -1;
  std::string output;
};

ShellOutcome shell(const std::string& command);

// The text of a file of the project. Throws std::runtime_error when it can't be read.
std::string projectFile(const std::string& name);
