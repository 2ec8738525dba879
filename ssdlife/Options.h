#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ssdlife/HealthCheck.h"

namespace ssdlife {

enum class Format { kTable, kJson, kPrometheus, kCsv };
enum class Command {
  kList,
  kNames,
  kGet,
  kWatch,
  kRoads,
  kModels,
  kRecord,
  kCheck,
  kSample,
  kHistory,
  kForecast,
  kAlarms,
  kReport
};

// The command line, understood.
struct Options {
  Command command = Command::kList;
  Format format = Format::kTable;
  std::string library;  // empty: the one that belongs to this command
  std::string machine;  // empty: this machine
  std::string like;     // the object manager that is played; empty: none
  bool showLibraryOutput = false;

  std::string deviceId;              // get; roads, which also takes the name of a node
  std::optional<unsigned> count;     // watch: how many indications
  std::optional<double> seconds;     // watch: how long
  std::vector<std::string> columns;  // list: none for the usual ones
  bool headings = true;              // list
  Thresholds thresholds;             // check
  double timeout = 10;               // check: seconds; what the plugins' guidelines ask for
  std::string testedFile;            // models: not the one in force
  std::string recordFile;            // record
  bool anonymous = false;            // record

  // What remembers.
  std::string state;                    // the folder of history.db; empty: the usual one
  std::string settings;                 // the service's settings; empty: the usual file
  bool service = false;                 // watch
  bool again = false;                   // alarms
  std::string drive;                    // history, forecast, alarms: only this one
  std::optional<unsigned> warningDays;  // check
  std::string page;                     // report; "-" is standard output
  unsigned days = 0;                    // sample, on a simulated machine
};

// Reads the command line. When it asked for help or the version, that is the answer. Throws
// Failure. In both cases options.command is what was asked for, if that could be told.
std::optional<std::string> readCommandLine(int argc, char** argv, Options& options);

}  // namespace ssdlife
