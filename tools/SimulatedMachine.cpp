#include "tools/SimulatedMachine.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

#include "tools/Failure.h"
#include "tools/LibraryPath.h"

namespace ssdlife {
namespace {

constexpr const char* kMachineVariable = "VEKSSD_MACHINE";
constexpr const char* kPreloadVariable = "LD_PRELOAD";

std::string environment(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

std::string absolutePath(const std::string& path) {
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::canonical(path, error);
  return error ? "" : absolute.string();
}

std::string readableFile(const std::string& file) {
  if (access(file.c_str(), R_OK) != 0) {
    throw Failure(ExitCode::kMachine, "machine file " + file + " can't be read: " +
                                          std::generic_category().message(errno));
  }
  return absolutePath(file);
}

std::string findSimulator(const std::string& library) {
  const std::vector<std::string> candidates = simulatorCandidates(library);
  const auto found = std::find_if(
      candidates.begin(), candidates.end(),
      [](const std::string& candidate) { return access(candidate.c_str(), R_OK) == 0; });
  if (found == candidates.end()) {
    std::string tried;
    for (const std::string& candidate : candidates) {
      tried += (tried.empty() ? "" : ", ") + candidate;
    }
    throw Failure(ExitCode::kMachine, "the machine simulator is not there; looked for " + tried);
  }
  const std::string simulator = absolutePath(*found);
  if (simulator.find_first_of(" :") != std::string::npos) {
    throw Failure(
        ExitCode::kMachine,
        "the simulator can't be preloaded from a path with blanks or colons: " + simulator);
  }
  return simulator;
}

bool isLoaded(const std::string& library) {
  void* const handle = dlopen(library.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle != nullptr) {
    dlclose(handle);
  }
  return handle != nullptr;
}

}  // namespace

void enterMachine(const std::string& file, const std::string& library, char** argv) {
  const std::string machine = readableFile(file);
  const std::string simulator = findSimulator(library);
  const std::string others = environment(kPreloadVariable);
  const bool started = environment(kMachineVariable) == machine && others.find(simulator) == 0;
  if (started && isLoaded(simulator)) {
    return;
  }
  // Going on would show the drives of the real machine in place of the simulated ones.
  if (started) {
    throw Failure(ExitCode::kMachine, "the simulator could not be preloaded: " + simulator);
  }
  setenv(kMachineVariable, machine.c_str(), 1);
  setenv(kPreloadVariable, (others.empty() ? simulator : simulator + ':' + others).c_str(), 1);
  execv("/proc/self/exe", argv);
  throw Failure(ExitCode::kMachine, "ssdlife can't be started on the simulated machine: " +
                                        std::generic_category().message(errno));
}

bool onSimulatedMachine() { return !environment(kMachineVariable).empty(); }

void requirePrivilege(bool root, bool simulated) {
  if (!root && !simulated) {
    throw Failure(ExitCode::kPrivilege,
                  "reading this machine's drives needs root (--machine FILE does not)");
  }
}

}  // namespace ssdlife
