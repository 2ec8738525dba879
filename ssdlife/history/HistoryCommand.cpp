#include <nlohmann/json.hpp>

#include "ssdlife/Commands.h"
#include "ssdlife/Failure.h"
#include "ssdlife/Show.h"
#include "ssdlife/Text.h"
#include "ssdlife/history/History.h"
#include "ssdlife/history/StateFile.h"
#include "ssdlife/service/Settings.h"

namespace ssdlife {
namespace {

using Json = nlohmann::ordered_json;

struct Past {
  KnownDrive drive;
  std::vector<Sample> samples;
};

Json orNull(const std::optional<std::int64_t>& number) {
  return number ? Json(*number) : Json(nullptr);
}

std::string asJson(const std::vector<Past>& pasts) {
  Json drives = Json::array();
  for (const auto& [drive, samples] : pasts) {
    Json list = Json::array();
    for (const Sample& sample : samples) {
      list.push_back({{"time", timeText(sample.time)},
                      {"percentageUsed", orNull(sample.percentage)},
                      {"poweredOnHours", orNull(sample.hours)}});
    }
    drives.push_back({{"model", drive.model},
                      {"serialNumber", drive.serialNumber},
                      {"firmware", drive.firmware},
                      {"physicalDrive", drive.node},
                      {"present", drive.present},
                      {"samples", list}});
  }
  return Json{{"drives", drives}}.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

// As RFC 4180 has it, but with the line ends of this system.
std::string quoted(const std::string& text) {
  std::string out = "\"";
  for (const char c : printable(text)) {
    out += c == '"' ? std::string("\"\"") : std::string(1, c);
  }
  return out + '"';
}

std::string orNothing(const std::optional<std::int64_t>& number) {
  return number ? std::to_string(*number) : "";
}

std::string asCsv(const std::vector<Past>& pasts) {
  std::string out = "time,drive,model,serial_number,percentage_used,powered_on_hours\n";
  for (const auto& [drive, samples] : pasts) {
    for (const Sample& sample : samples) {
      out += timeText(sample.time) + ',' + quoted(drive.node) + ',' + quoted(drive.model) + ',' +
             quoted(drive.serialNumber) + ',' + orNothing(sample.percentage) + ',' +
             orNothing(sample.hours) + '\n';
    }
  }
  return out;
}

// The first sample, each that brought another percentage, and the last.
std::string asTable(const std::vector<Past>& pasts) {
  std::vector<Line> lines = {{"DATE", "DRIVE", "SERIAL", "USED", "HOURS"}};
  for (const auto& [drive, samples] : pasts) {
    for (std::size_t at = 0; at < samples.size(); ++at) {
      const Sample& sample = samples[at];
      if (at == 0 || at + 1 == samples.size() || sample.percentage != samples[at - 1].percentage) {
        lines.push_back({dateText(sample.time), printable(drive.node),
                         printable(drive.serialNumber), orDash(sample.percentage, " %"),
                         orDash(sample.hours, "")});
      }
    }
  }
  return aligned(lines);
}

}  // namespace

ExitCode history(const Options& options, const OwnOutput& output) {
  const std::string folder = stateFolder(options.state);
  const auto database = readState(folder);
  if (!database) {
    throw Failure(ExitCode::kNothing, "there is no history in " + folder);
  }
  std::vector<Past> pasts;
  for (const KnownDrive& drive : knownDrives(*database, options.drive)) {
    pasts.push_back({drive, samplesOf(*database, drive.id, now())});
  }
  output.out(options.format == Format::kJson  ? asJson(pasts)
             : options.format == Format::kCsv ? asCsv(pasts)
                                              : asTable(pasts));
  return ExitCode::kOk;
}

}  // namespace ssdlife
