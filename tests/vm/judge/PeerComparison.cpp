#include "tests/vm/judge/PeerComparison.h"

#include <string>

namespace vm {
namespace {

using nlohmann::json;

constexpr unsigned kPowerOnHours = 9;
constexpr unsigned kSanDiskWear = 230;

constexpr char kNone[] = "none";

std::string show(const json& value) {
  if (value.is_null()) {
    return kNone;
  }
  return value.is_string() ? value.get<std::string>() : value.dump();
}

// The value at the pointer; null when there is none.
json pick(const json& document, const std::string& pointer) {
  const json::json_pointer path(pointer);
  return document.contains(path) ? document.at(path) : json();
}

std::string at(const json& document, const std::string& pointer) {
  return show(pick(document, pointer));
}

std::string trimmed(const std::string& text) {
  const auto last = text.find_last_not_of(' ');
  return last == std::string::npos ? "" : text.substr(0, last + 1);
}

std::string shownWear(const ListedDrive& drive) {
  return drive.percentage ? std::to_string(*drive.percentage) : "unknown";
}

json attribute(const json& smartctl, unsigned id) {
  for (const json& row : pick(smartctl, "/ata_smart_attributes/table")) {
    if (row.at("id") == id) {
      return row;
    }
  }
  return {};
}

// The endurance indicator of the device statistics; null when smartctl has none.
json enduranceIndicator(const json& smartctl) {
  for (const json& page : pick(smartctl, "/ata_device_statistics/pages")) {
    for (const json& row : page.at("table")) {
      if (row.at("name") == "Percentage Used Endurance Indicator") {
        return row;
      }
    }
  }
  return {};
}

void compareIdentity(const ListedDrive& drive, const json& smartctl, Report& report) {
  report.compare(drive.serial, "model", drive.model, "smartctl", at(smartctl, "/model_name"));
  report.compare(drive.serial, "serial", drive.serial, "smartctl", at(smartctl, "/serial_number"));
  report.compare(drive.serial, "firmware", drive.firmware, "smartctl",
                 at(smartctl, "/firmware_version"));
}

void compareAtaWear(const ListedDrive& drive, const json& smartctl, Wear wear, Report& report) {
  const bool standard = drive.source == kSourceStatistic;
  const json indicator = enduranceIndicator(smartctl);
  const std::string peer = standard ? "smartctl devstat" : "smartctl attr 230";
  const std::string theirs =
      standard ? at(indicator, "/value") : at(attribute(smartctl, kSanDiskWear), "/value");
  switch (wear) {
    case Wear::kSame:
      report.compare(drive.serial, "percentage", shownWear(drive), peer, theirs);
      return;
    case Wear::kUnknown:
      report.compareDeliberate(drive.serial, "percentage", !drive.percentage && theirs == kNone,
                               shownWear(drive), peer, theirs, "255 when not known");
      return;
    case Wear::kNotVouched:
      report.compareDeliberate(
          drive.serial, "percentage",
          drive.percentage && theirs == kNone && at(indicator, "/flags/valid") == "false",
          shownWear(drive), peer, theirs, "used although its valid flag is clear");
      return;
    case Wear::kUnanswered:
      report.compareDeliberate(drive.serial, "percentage", !drive.percentage && theirs != kNone,
                               shownWear(drive), peer, theirs, "255 without an answer");
  }
}

void compareAta(const ListedDrive& drive, const Step& peers, Wear wear, Report& report) {
  const json smartctl = peers.json("smartctl/" + drive.drive + ".json");
  compareIdentity(drive, smartctl, report);
  report.check(at(smartctl, "/rotation_rate") == "0",
               drive.serial + " is a solid state device to smartctl too");
  report.compare(drive.serial, "hours", std::to_string(drive.hours), "smartctl attr 9",
                 at(attribute(smartctl, kPowerOnHours), "/raw/value"));
  compareAtaWear(drive, smartctl, wear, report);
}

// The low 64 bits of a decimal number of any length.
std::string lowBits(const std::string& decimal) {
  std::uint64_t value = 0;
  for (const char digit : decimal) {
    value = value * 10 + static_cast<unsigned>(digit - '0');
  }
  return std::to_string(value);
}

void compareNvmeHours(const ListedDrive& drive, const std::string& peer, const std::string& theirs,
                      Report& report) {
  const std::string ours = std::to_string(drive.hours);
  if (theirs.size() < 20 || theirs == lowBits(theirs)) {
    report.compare(drive.serial, "hours", ours, peer, theirs);
  } else {
    report.compareDeliberate(drive.serial, "hours", ours == lowBits(theirs), ours, peer, theirs,
                             "low 64 bits");
  }
}

void compareNvmeIdentity(const ListedDrive& drive, const Step& peers, Report& report) {
  compareIdentity(drive, peers.json("smartctl/" + drive.drive + ".json"), report);
  const json identify = peers.json("nvme/" + drive.drive + ".id-ctrl.json");
  report.compare(drive.serial, "model", drive.model, "nvme", trimmed(at(identify, "/mn")));
  report.compare(drive.serial, "serial", drive.serial, "nvme", trimmed(at(identify, "/sn")));
  report.compare(drive.serial, "firmware", drive.firmware, "nvme", trimmed(at(identify, "/fr")));
}

void compareNvmeWear(const ListedDrive& drive, Wear wear, const std::string& peer,
                     const std::string& theirs, Report& report) {
  if (wear == Wear::kUnknown) {
    report.compareDeliberate(drive.serial, "percentage", !drive.percentage && theirs == "255",
                             shownWear(drive), peer, theirs, "255 means not known");
  } else {
    report.compare(drive.serial, "percentage", shownWear(drive), peer, theirs);
  }
}

void compareNvme(const ListedDrive& drive, const Step& peers, Wear wear, Report& report) {
  const json smartctl = peers.json("smartctl/" + drive.drive + ".json");
  const json health = peers.json("nvme/" + drive.drive + ".smart-log.json");
  const json log = pick(smartctl, "/nvme_smart_health_information_log");

  compareNvmeIdentity(drive, peers, report);
  compareNvmeWear(drive, wear, "smartctl", at(log, "/percentage_used"), report);
  compareNvmeWear(drive, wear, "nvme", at(health, "/percent_used"), report);
  // Beyond 64 bits smartctl adds the number as a text; as a JSON number it would be rounded.
  compareNvmeHours(
      drive, "smartctl",
      at(log, log.contains("power_on_hours_s") ? "/power_on_hours_s" : "/power_on_hours"), report);
  compareNvmeHours(drive, "nvme", at(health, "/power_on_hours"), report);
}

}  // namespace

void comparePeers(const ListedDrive& drive, const Step& peers, Wear wear, Report& report) {
  if (drive.drive.rfind("nvme", 0) == 0) {
    compareNvme(drive, peers, wear, report);
  } else {
    compareAta(drive, peers, wear, report);
  }
}

void compareUnread(const ListedDrive& drive, const Step& peers, Report& report) {
  compareNvmeIdentity(drive, peers, report);
  const json health = peers.json("nvme/" + drive.drive + ".smart-log.json");
  report.compareDeliberate(drive.serial, "percentage", drive.percentage == 0u, shownWear(drive),
                           "nvme", at(health, "/percent_used"), "0 when it cannot be read");
  report.compareDeliberate(drive.serial, "hours", drive.hours == 0, std::to_string(drive.hours),
                           "nvme", at(health, "/power_on_hours"), "0 when they cannot be read");
}

}  // namespace vm
