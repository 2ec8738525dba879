#include "ssdlife/Commands.h"
#include "ssdlife/DriveTable.h"
#include "ssdlife/Failure.h"
#include "ssdlife/Metrics.h"
#include "ssdlife/Show.h"
#include "ssdlife/SsdClient.h"
#include "ssdlife/forecast/DriveForecast.h"
#include "ssdlife/service/Settings.h"

namespace ssdlife {

namespace {

// Programs that read JSON get some also where there is nothing to show.
std::vector<Drive> drivesOf(const Options& options, SsdClient& client, const OwnOutput& output) {
  try {
    return client.list();
  } catch (const NoDrives&) {
    if (options.format == Format::kJson) {
      output.out(showDrives({}));
    }
    throw;
  }
}

std::string shown(const std::vector<Drive>& drives, const Options& options,
                  const OwnOutput& output) {
  switch (options.format) {
    case Format::kJson:
      return showDrives(drives);
    case Format::kPrometheus:
      return showMetrics(drives);
    case Format::kTable:
    case Format::kCsv:
      break;
  }
  return driveTable(
      drives, {options.columns, options.headings, output.terminalWidth(), output.takesColours()});
}

}  // namespace

ExitCode list(const Options& options, const std::string& library, const OwnOutput& output) {
  SsdClient client = SsdClient::forOneAnswer(library, options.like);
  std::vector<Drive> drives = drivesOf(options, client, output);
  try {
    addExpected(drives, stateFolder(options.state));
  } catch (const Failure& unreadable) {
    output.error(unreadable.what());
  }
  output.out(shown(drives, options, output));
  client.close();
  return ExitCode::kOk;
}

}  // namespace ssdlife
