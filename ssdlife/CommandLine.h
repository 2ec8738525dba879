#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace ssdlife {

// What the parser of command lines lacks: what stands behind "--" is never an option, and what was
// not expected is told in the order in which it was written.
class CommandLine {
 public:
  CommandLine(int argc, char** argv);

  // Throws Failure, or CLI::Success for help and version.
  void parse(CLI::App& app);

 private:
  void giveOperands(CLI::App& command);

  std::vector<std::string> arguments_;
  std::vector<std::string> operands_;  // behind "--"
};

}  // namespace ssdlife
