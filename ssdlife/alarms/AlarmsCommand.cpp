#include <nlohmann/json.hpp>

#include "ssdlife/Commands.h"
#include "ssdlife/Failure.h"
#include "ssdlife/Show.h"
#include "ssdlife/SimulatedMachine.h"
#include "ssdlife/Text.h"
#include "ssdlife/alarms/Deliverer.h"
#include "ssdlife/alarms/HookFolder.h"
#include "ssdlife/history/History.h"
#include "ssdlife/service/FolderLock.h"
#include "ssdlife/service/Settings.h"

namespace ssdlife {
namespace {

using Json = nlohmann::ordered_json;

struct Told {
  Alarm alarm;
  std::vector<Delivery> deliveries;
};

std::vector<Told> alarmsIn(const Database& database, const std::string& drive) {
  std::vector<Told> all;
  for (const Alarm& alarm : alarmsOf(database, std::nullopt)) {
    all.push_back({alarm, deliveriesOf(database, alarm.id)});
  }
  if (!drive.empty()) {
    std::vector<Told> some;
    for (const KnownDrive& known : knownDrives(database, drive)) {
      std::copy_if(all.begin(), all.end(), std::back_inserter(some),
                   [&known](const Told& told) { return told.alarm.drive == known.id; });
    }
    return some;
  }
  return all;
}

Json orNull(const std::optional<std::int64_t>& number) {
  return number ? Json(*number) : Json(nullptr);
}

Json timeOrNull(const std::optional<Seconds>& time) {
  return time ? Json(timeText(*time)) : Json(nullptr);
}

Json jsonOf(const Delivery& delivery) {
  return {{"to", delivery.hook},
          {"state", delivery.state},
          {"attempts", delivery.attempts},
          {"last", timeOrNull(delivery.last)},
          {"outcome", delivery.outcome}};
}

Json jsonOf(const Told& told) {
  const Alarm& alarm = told.alarm;
  Json deliveries = Json::array();
  for (const Delivery& delivery : told.deliveries) {
    deliveries.push_back(jsonOf(delivery));
  }
  return {{"alarm", alarm.id},
          {"cause", nameOf(alarm.cause)},
          {"raised", timeText(alarm.raised)},
          {"ended", timeOrNull(alarm.ended)},
          {"model", alarm.model},
          {"serialNumber", alarm.serialNumber},
          {"physicalDrive", alarm.node},
          {"percentageUsed", orNull(alarm.percentage)},
          {"poweredOnHours", orNull(alarm.hours)},
          {"threshold", alarm.threshold},
          {"deliveries", deliveries}};
}

std::string asJson(const std::vector<Told>& all) {
  Json list = Json::array();
  for (const Told& told : all) {
    list.push_back(jsonOf(told));
  }
  return Json{{"alarms", list}}.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string asTable(const std::vector<Told>& all) {
  std::vector<Line> lines = {
      {"RAISED", "CAUSE", "DRIVE", "SERIAL", "USED", "TO", "STATE", "ATTEMPTS", "LAST", "OUTCOME"}};
  for (const auto& [alarm, deliveries] : all) {
    for (const Delivery& delivery : deliveries) {
      lines.push_back({timeText(alarm.raised), nameOf(alarm.cause), printable(alarm.node),
                       printable(alarm.serialNumber), orDash(alarm.percentage, " %"),
                       printable(delivery.hook), delivery.state, std::to_string(delivery.attempts),
                       delivery.last ? timeText(*delivery.last) : "-",
                       delivery.outcome.empty() ? "-" : delivery.outcome});
    }
  }
  return aligned(lines);
}

// By the service if there is one, which finds it within ten seconds; else here and now.
void sendAgain(const Options& options, const std::string& folder, const OwnOutput& output) {
  const Settings settings = readSettings(options.settings);
  const FolderLock lock(folder);
  const Teller teller(output,
                      onSimulatedMachine() ? Teller::To::kStandardError : Teller::To::kSystem);
  StateFile state(folder, [&output](const std::string& line) { output.error(line); });
  state.write([&](const Database& database) {
    for (const KnownDrive& drive : knownDrives(database, options.drive)) {
      if (!sendAgain(database, drive.id,
                     settings.hookFolder.empty() ? std::vector<std::string>()
                                                 : hooksIn(settings.hookFolder),
                     now())) {
        throw Failure(ExitCode::kNothing,
                      "there was no alarm for " + printable(drive.node) + " yet");
      }
    }
  });
  if (!lock.isOurs()) {
    output.error("the service sends it again");
    return;
  }
  Deliverer deliverer(state, teller, settings.hookFolder, settings.hookTime);
  while (deliverer.step()) {
  }
}

}  // namespace

ExitCode alarms(const Options& options, const OwnOutput& output) {
  const std::string folder = stateFolder(options.state);
  auto database = readState(folder);
  if (!database) {
    throw Failure(ExitCode::kNothing, "there is no history in " + folder);
  }
  if (options.again) {
    database.reset();
    sendAgain(options, folder, output);
    return ExitCode::kOk;
  }
  const std::vector<Told> all = alarmsIn(*database, options.drive);
  output.out(options.format == Format::kJson ? asJson(all) : asTable(all));
  return ExitCode::kOk;
}

}  // namespace ssdlife
