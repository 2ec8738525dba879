#include <unistd.h>

#include <exception>
#include <iostream>
#include <string>

#include "tools/Commands.h"
#include "tools/Failure.h"
#include "tools/LibraryPath.h"
#include "tools/Options.h"
#include "tools/OwnOutput.h"
#include "tools/SimulatedMachine.h"

namespace ssdlife {
namespace {

ExitCode runCommand(const Options& options, const OwnOutput& output) {
  const std::string library = providerLibrary(options.library);
  switch (options.command) {
    case Command::kList:
      return list(options, library, output);
    case Command::kNames:
      return names(options, library, output);
    case Command::kGet:
      return get(options, library, output);
    case Command::kWatch:
      return watch(options, library, output);
  }
  return ExitCode::kUsage;
}

// The line goes to the caller's standard error, whatever the library is given in its place.
ExitCode run(const Options& options) {
  const OwnOutput output(options.showLibraryOutput);
  try {
    return runCommand(options, output);
  } catch (const Failure& failure) {
    output.error(failure.what());
    return failure.exitCode();
  } catch (const std::exception& unforeseen) {
    output.error(unforeseen.what());
    return ExitCode::kNothing;
  }
}

ExitCode start(int argc, char** argv) {
  const auto options = readCommandLine(argc, argv);
  if (!options) {
    return ExitCode::kOk;
  }
  if (!options->machine.empty()) {
    enterMachine(options->machine, providerLibrary(options->library), argv);
  }
  requirePrivilege(geteuid() == 0, onSimulatedMachine());
  return run(*options);
}

}  // namespace
}  // namespace ssdlife

int main(int argc, char** argv) {
  try {
    return static_cast<int>(ssdlife::start(argc, argv));
  } catch (const ssdlife::Failure& failure) {
    std::cerr << "ssdlife: " << failure.what() << '\n';
    return static_cast<int>(failure.exitCode());
  }
}
