#include "ssdlife/SimulatedMachine.h"

#include <dlfcn.h>
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
constexpr const char* kProblemFunction = "vekssdsimProblem";  // of the simulator

std::string readableFile(const std::string& file) {
  if (access(file.c_str(), R_OK) != 0) {
    throw Failure(ExitCode::kMachine, "machine file " + file + " can't be read: " +
                                          std::generic_category().message(errno));
  }
  std::error_code ignored;
  return std::filesystem::canonical(file, ignored).string();
}

// Asks the simulator before it stands in front of this process, which it would end.
void requireUsable(const std::string& machine, const Preload& simulator) {
  using Problem = const char* (*)(const char* path);
  setenv(kMachineVariable, "", 1);  // it would take up another machine as soon as it is loaded
  const auto problem = reinterpret_cast<Problem>(simulator.symbol(kProblemFunction));
  const char* const reason = problem == nullptr ? nullptr : problem(machine.c_str());
  if (reason != nullptr) {
    throw Failure(ExitCode::kMachine, std::string("machine file ") + reason);
  }
}

}  // namespace

void enterMachine(const std::string& file, const std::string& library, char** argv) {
  const std::string machine = readableFile(file);
  const Preload simulator("machine simulator", "libvekssdsim.so", library);
  if (environment(kMachineVariable) == machine && simulator.isThere()) {
    return;
  }
  requireUsable(machine, simulator);
  setenv(kMachineVariable, machine.c_str(), 1);
  simulator.startAnew(argv);
}

std::string machineOfEnvironment() { return environment(kMachineVariable); }

bool onSimulatedMachine() {
  return !machineOfEnvironment().empty() && dlsym(RTLD_DEFAULT, kProblemFunction) != nullptr;
}

void requirePrivilege(bool root, bool simulated) {
  if (!root && !simulated) {
    throw Failure(ExitCode::kPrivilege,
                  "reading this machine's drives needs root (--machine FILE does not)");
  }
}

}  // namespace ssdlife
