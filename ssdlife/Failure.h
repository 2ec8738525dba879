#pragma once

#include <stdexcept>
#include <string>

#include "ssdlife/ExitCode.h"

namespace ssdlife {

// Ends the command: one line for standard error and the exit status.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode exitCode, const std::string& line)
      : std::runtime_error(line), exitCode_(exitCode) {}

  ExitCode exitCode() const { return exitCode_; }

 private:
  ExitCode exitCode_;
};

// There is nothing to show.
class NoDrives : public Failure {
 public:
  NoDrives() : Failure(ExitCode::kNothing, "no SSD found, or none that could be read") {}
};

}  // namespace ssdlife
