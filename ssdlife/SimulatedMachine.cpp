#include "ssdlife/SimulatedMachine.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include <filesystem>
#include <system_error>

#include "ssdlife/Failure.h"
#include "ssdlife/Preload.h"

namespace ssdlife {
namespace {

constexpr const char* kMachineVariable = "VEKSSD_MACHINE";

std::string readableFile(const std::string& file) {
  if (access(file.c_str(), R_OK) != 0) {
    throw Failure(ExitCode::kMachine, "machine file " + file + " can't be read: " +
                                          std::generic_category().message(errno));
  }
  std::error_code ignored;
  return std::filesystem::canonical(file, ignored).string();
}

}  // namespace

void enterMachine(const std::string& file, const std::string& library, char** argv) {
  const std::string machine = readableFile(file);
  const Preload simulator("machine simulator", "libvekssdsim.so", library);
  if (environment(kMachineVariable) == machine && simulator.isThere()) {
    return;
  }
  setenv(kMachineVariable, machine.c_str(), 1);
  simulator.startAnew(argv);
}

bool onSimulatedMachine() { return !environment(kMachineVariable).empty(); }

void requirePrivilege(bool root, bool simulated) {
  if (!root && !simulated) {
    throw Failure(ExitCode::kPrivilege,
                  "reading this machine's drives needs root (--machine FILE does not)");
  }
}

}  // namespace ssdlife
