#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "ssdlife/Commands.h"
#include "ssdlife/Failure.h"
#include "ssdlife/LibraryPath.h"
#include "ssdlife/Options.h"
#include "ssdlife/OwnOutput.h"
#include "ssdlife/RecordedRun.h"
#include "ssdlife/SimulatedMachine.h"
#include "ssdlife/SsdClient.h"

namespace ssdlife {
namespace {

// What main returns, for either kind of exit status.
template <typename Status>
int number(Status status) {
  return static_cast<int>(status);
}

int runCommand(const Options& options, const OwnOutput& output) {
  const std::string library = providerLibrary(options.library);
  switch (options.command) {
    case Command::kList:
      return number(list(options, library, output));
    case Command::kNames:
      return number(names(options, library, output));
    case Command::kGet:
      return number(get(options, library, output));
    case Command::kWatch:
      return number(watch(options, library, output));
    case Command::kRoads:
      return number(roads(options, library, output));
    case Command::kModels:
      return number(models(options, library, output));
    case Command::kRecord:
      return number(record(options, library, output));
    case Command::kCheck:
      return number(check(options, library, output));
    case Command::kSample:
      return number(sample(options, library, output));
    case Command::kHistory:
      return number(history(options, output));
    case Command::kForecast:
      return number(forecast(options, output));
    case Command::kReport:
      return number(report(options, output));
    case Command::kAlarms:
      return number(alarms(options, output));
  }
  return number(ExitCode::kUsage);
}

// Monitoring systems read standard output and know four states; all others are told on standard
// error.
int tell(const Options& options, const OwnOutput& output, ExitCode code, const char* line) {
  if (options.command != Command::kCheck) {
    output.error(line);
    return number(code);
  }
  const HealthReport unknown = unknownHealth(line);
  try {
    output.out(unknown.line);
  } catch (const Failure& unwritten) {
    output.error(unwritten.what());
  }
  return number(unknown.health);
}

// The others read what has been kept.
bool readsDrives(Command command) {
  return command != Command::kHistory && command != Command::kForecast &&
         command != Command::kAlarms && command != Command::kReport;
}

// What is to be done before the library is there. Throws Failure.
void prepare(const Options& options, char** argv) {
  const std::string library = providerLibrary(options.library);
  if (!options.machine.empty()) {
    enterMachine(options.machine, library, argv);
  } else if (!machineOfEnvironment().empty() && !onSimulatedMachine()) {
    enterMachine(machineOfEnvironment(), library, argv);
  }
  if (readsDrives(options.command) && options.testedFile.empty()) {
    requirePrivilege(geteuid() == 0, onSimulatedMachine());
  }
  if (options.command == Command::kRecord) {
    enterRecording(options.recordFile, options.anonymous, library, argv);
  }
}

// The output is the caller's, whatever the library is given in its place.
int start(int argc, char** argv) {
  Options options;
  OwnOutput output;
  try {
    if (const auto answer = readCommandLine(argc, argv, options)) {
      output.out(*answer);
      // What has not checked anything is not OK to a monitoring system.
      return options.command == Command::kCheck ? number(Health::kUnknown) : number(ExitCode::kOk);
    }
    output.requireThere();
    prepare(options, argv);
    if (!options.showLibraryOutput) {
      output.keepFromLibrary();
    }
    return runCommand(options, output);
  } catch (const Failure& failure) {
    return tell(options, output, failure.exitCode(), failure.what());
  } catch (const std::exception& unforeseen) {
    return tell(options, output, ExitCode::kNothing, unforeseen.what());
  }
}

[[noreturn]] void leave(int status) {
  if (SsdClient::hasLeftLibrary()) {
    std::fflush(stdout);  // what the library has printed, if that is shown
    std::quick_exit(status);
  }
  std::exit(status);
}

}  // namespace
}  // namespace ssdlife

int main(int argc, char** argv) { ssdlife::leave(ssdlife::start(argc, argv)); }
