#pragma once

namespace ssdlife {

// What the command's exit status says. Part of its interface: scripts depend on the numbers. The
// command "check" has the four of Health in their place.
enum class ExitCode {
  kOk = 0,
  kNothing = 1,     // no SSD answered, the request was refused, or too few indications came
  kUsage = 2,       // the command line is wrong
  kLibrary = 3,     // the provider library is absent or broken
  kPrivilege = 4,   // reading real drives needs root
  kNotStarted = 5,  // the library is there, but its driver could not start
  kState = 6,       // the settings or the history can't be used
  kBusy = 7,        // another ssdlife does that already
  kMachine = 78,    // a machine file, the simulator or the recorder is missing or unusable
};

// Both tables, for --help.
inline constexpr const char* kExitCodes =
    "Exit status:\n"
    "  0   done\n"
    "  1   no SSD answered, the request was refused, or --for passed before --count\n"
    "  2   the command line is wrong\n"
    "  3   the provider library is absent or broken\n"
    "  4   reading this machine's drives needs root\n"
    "  5   the driver in the library could not start\n"
    "  6   the settings of the service or the history can't be used\n"
    "  7   another ssdlife watches already\n"
    "  78  the machine file, the simulator or the recorder is missing or can't be used\n"
    "Exit status of check:\n"
    "  0   OK: no drive is outside --warning\n"
    "  1   WARNING: one is outside --warning\n"
    "  2   CRITICAL: one is outside --critical, or its failure is imminent\n"
    "  3   UNKNOWN: a drive does not tell or was not read, whatever else is 1 to 78 above, or "
    "--help\n";

}  // namespace ssdlife
