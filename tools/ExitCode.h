#pragma once

namespace ssdlife {

// What the command's exit status says. Part of its interface: scripts depend on the numbers.
enum class ExitCode {
  kOk = 0,
  kNothing = 1,     // no SSD answered, the request was refused, or too few indications came
  kUsage = 2,       // the command line is wrong
  kLibrary = 3,     // the provider library is absent or broken
  kPrivilege = 4,   // reading real drives needs root
  kNotStarted = 5,  // the library is there, but its driver could not start
  kMachine = 78,    // the machine file or the simulator is missing or unusable
};

// The table of the above for --help.
inline constexpr const char* kExitCodes =
    "Exit status:\n"
    "  0   done\n"
    "  1   no SSD answered, the request was refused, or --for passed before --count\n"
    "  2   the command line is wrong\n"
    "  3   the provider library is absent or broken\n"
    "  4   reading this machine's drives needs root\n"
    "  5   the driver in the library could not start\n"
    "  78  the machine file or the simulator is missing or can't be used\n";

}  // namespace ssdlife
