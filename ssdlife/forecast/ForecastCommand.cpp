#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "ssdlife/Commands.h"
#include "ssdlife/Failure.h"
#include "ssdlife/Show.h"
#include "ssdlife/Text.h"
#include "ssdlife/forecast/DriveForecast.h"
#include "ssdlife/history/StateFile.h"
#include "ssdlife/service/Settings.h"

namespace ssdlife {
namespace {

using Json = nlohmann::ordered_json;

std::string perDay(double rate) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.3f %%", rate);
  return text.data();
}

Json jsonOf(const std::optional<Expected>& expected) {
  return expected ? Json{{"early", dateText(expected->early)},
                         {"likely", dateText(expected->likely)},
                         {"late", dateText(expected->late)}}
                  : Json(nullptr);
}

std::string asJson(const std::vector<DriveForecast>& all) {
  Json list = Json::array();
  for (const auto& [drive, samples, forecast] : all) {
    list.push_back(
        {{"model", drive.model},
         {"serialNumber", drive.serialNumber},
         {"physicalDrive", drive.node},
         {"present", drive.present},
         {"percentPerDay", forecast.none.empty() ? Json(forecast.perDay) : Json(nullptr)},
         {"threshold", jsonOf(forecast.threshold)},
         {"full", jsonOf(forecast.full)},
         {"none", forecast.none.empty() ? Json(nullptr) : Json(forecast.none)}});
  }
  return Json{{"forecasts", list}}.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string inWords(const std::optional<Expected>& expected) {
  return expected ? dateText(expected->likely) + " (" + dateText(expected->early) + " to " +
                        dateText(expected->late) + ')'
                  : "passed";
}

std::string asTable(const std::vector<DriveForecast>& all, unsigned threshold) {
  std::vector<Line> lines = {{"DRIVE", "SERIAL", "USED", "PER DAY",
                              "OVER " + std::to_string(threshold) + " % (4 OF 5)", "100 %"}};
  for (const auto& [drive, samples, forecast] : all) {
    Line line = {printable(drive.node), printable(drive.serialNumber),
                 orDash(samples.empty() ? std::nullopt : samples.back().percentage, " %")};
    if (forecast.none.empty()) {
      line.insert(line.end(),
                  {perDay(forecast.perDay), inWords(forecast.threshold), inWords(forecast.full)});
    } else {
      line.insert(line.end(), {"-", "none: " + forecast.none, "-"});
    }
    lines.push_back(line);
  }
  return aligned(lines);
}

}  // namespace

ExitCode forecast(const Options& options, const OwnOutput& output) {
  const std::string folder = stateFolder(options.state);
  const auto database = readState(folder);
  if (!database) {
    throw Failure(ExitCode::kNothing, "there is no history in " + folder);
  }
  const unsigned threshold = thresholdOfLibrary();
  const std::vector<DriveForecast> all = forecastsIn(*database, options.drive, threshold, now());
  output.out(options.format == Format::kJson ? asJson(all) : asTable(all, threshold));
  return ExitCode::kOk;
}

}  // namespace ssdlife
