#include "ssdlife/AccessRoads.h"

#include <unistd.h>
#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>

#include "core/CompiledModels.h"
#include "device/AtaFormat.h"
#include "device/Bytes.h"
#include "device/NvmeFormat.h"
#include "ssdlife/DriveNode.h"
#include "ssdlife/LibraryPath.h"
#include "ssdlife/ModelsFile.h"
#include "ssdlife/Show.h"

namespace ssdlife {
namespace {

using Data = std::vector<std::uint8_t>;

// What an answer says when it can be used, and why it can't otherwise.
struct Reading {
  bool usable;
  std::string says;
};

Road road(const char* name, const DriveAnswer& answer, Reading (*read)(const Data& data)) {
  if (!answer.done) {
    return {name, false, answer.words};
  }
  const Reading reading = read(answer.data);
  return {name, reading.usable, reading.says + (answer.words.empty() ? "" : "; " + answer.words)};
}

std::string field(const Data& data, std::size_t offset, std::size_t length) {
  const std::string text(data.begin() + static_cast<std::ptrdiff_t>(offset),
                         data.begin() + static_cast<std::ptrdiff_t>(offset + length));
  const std::size_t first = text.find_first_not_of(' ');
  return first == std::string::npos ? ""
                                    : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string introduction(const std::string& model, const std::string& serial,
                         const std::string& firmware) {
  return model + ", serial number " + serial + ", firmware " + firmware;
}

// ---- ATA --------------------------------------------------------------------------------------

Reading readIdentify(const Data& data) {
  using namespace ata::identify;
  const unsigned rotation = bytes::littleEndian16(data.data(), kRotationRateOffset);
  const bool solid = rotation == kNonRotatingMedium;
  return {solid, introduction(field(data, kModelOffset, kModelLength),
                              field(data, kSerialNumberOffset, kSerialNumberLength),
                              field(data, kFirmwareOffset, kFirmwareLength)) +
                     (solid ? ", solid state"
                            : ", not called solid state (rotation rate " +
                                  std::to_string(rotation) + ")")};
}

Reading readNothing(const Data& /*data*/) { return {true, "done"}; }

Reading readAttributes(const Data& data) {
  using namespace ata::smart;
  unsigned count = 0;
  std::string hours = "no powered-on hours";
  for (std::size_t i = 0; i < kAttributeCount; ++i) {
    const std::uint8_t* const entry = data.data() + kFirstAttributeOffset + i * kAttributeSize;
    count += entry[kIdOffset] != 0 ? 1 : 0;
    if (entry[kIdOffset] == kPowerOnHours) {
      hours =
          std::to_string(bytes::littleEndian(entry, kRawOffset, kRawLength)) + " hours powered on";
    }
  }
  return {true, std::to_string(count) + (count == 1 ? " attribute, " : " attributes, ") + hours};
}

Reading readDirectory(const Data& data) {
  constexpr unsigned kPages = ata::statistics::kSolidStatePage + 1;
  const unsigned pages = data[ata::kLogDeviceStatistics * ata::kDirectoryEntrySize];
  return {pages >= kPages, std::to_string(pages) + " pages of device statistics" +
                               (pages >= kPages ? "" : ", 8 needed")};
}

Reading readSolidStatePage(const std::uint8_t* page) {
  using namespace ata::statistics;
  const unsigned number = page[kPageNumberOffset];
  if (number != kSolidStatePage) {
    return {false, "page 7 calls itself page " + std::to_string(number)};
  }
  const unsigned flags = page[kPercentageUsedFlagsOffset];
  std::string named;
  for (const auto& [flag, name] :
       {std::pair(kFlagSupported, "supported"), std::pair(kFlagValid, "valid"),
        std::pair(kFlagNormalized, "normalized")}) {
    named += (flags & flag) != 0 ? std::string(named.empty() ? "" : " ") + name : "";
  }
  return {true, std::to_string(page[kPercentageUsedOffset]) +
                    " % used, flags: " + (named.empty() ? "none" : named)};
}

Reading readLastOfEightPages(const Data& data) {
  return readSolidStatePage(data.data() + ata::statistics::kSolidStatePage * ata::kSectorSize);
}

Reading readOnlyPage(const Data& data) { return readSolidStatePage(data.data()); }

// Where the provider goes wrong first decides.
std::string adviceFor(const std::vector<Road>& roads) {
  enum { kIdentify, kEnable, kData, kDirectory, kStatistics, kScsiDirectory, kScsiStatistics };
  if (!roads[kIdentify].usable) {
    return "The provider leaves this drive out: it does not say that it is a solid-state disk.";
  }
  if (!roads[kEnable].usable) {
    return "The provider leaves this drive out: its SMART can't be switched on.";
  }
  if (!roads[kData].usable) {
    return "The provider gets no reading of this drive: its SMART data can't be read.";
  }
  // A road to the statistics can be taken only if both of its steps go well.
  const bool byDriveCommand = roads[kDirectory].usable && roads[kStatistics].usable;
  const bool byScsi = roads[kScsiDirectory].usable && roads[kScsiStatistics].usable;
  if (byDriveCommand && byScsi) {
    return "Both roads to the statistics can be used; SptLogAccess may stay as it is.";
  }
  if (byDriveCommand) {
    return "Set SptLogAccess=0 in /etc/ssddrv/ssddrv.ini: the statistics come by drive command "
           "only.";
  }
  if (byScsi) {
    return "Leave SptLogAccess switched on: the statistics come through SCSI only.";
  }
  return "Neither road gives the statistics; SptLogAccess makes no difference.";
}

// The row of the table that comes with the packages.
std::string shippedRow(const std::string& model, const std::string& firmware) {
  const std::string table = ownFolder() + "/../" SSDLIFE_DATADIR "/vekssdprov/models.conf";
  if (access(table.c_str(), R_OK) != 0) {
    return "";
  }
  const ModelsFile file = readModelsFile(table);
  const ModelRow* const row = file.table.find(model, firmware);
  return row == nullptr ? "" : rowText(*row);
}

// Where else the wear of a drive could stand that has no statistics.
void addCandidates(const DriveAnswer& identity, const DriveAnswer& attributes,
                   RoadsReport& report) {
  using namespace ata::identify;
  const std::string model = field(identity.data, kModelOffset, kModelLength);
  if (findCompiledModel(model) != nullptr) {
    return;
  }
  report.candidates = wearCandidates(attributes.data, model);
  report.row = shippedRow(model, field(identity.data, kFirmwareOffset, kFirmwareLength));
}

RoadsReport askAta(const std::string& drive, const DriveNode& node) {
  constexpr std::uint8_t kPages = ata::statistics::kSolidStatePage + 1;
  RoadsReport report{drive, {}, "", {}, ""};
  const DriveAnswer identity = node.ataIdentify();
  const DriveAnswer enabled = node.smart(ata::kSmartEnableOperations, 1, 0);
  const DriveAnswer attributes = node.smart(ata::kSmartReadData, 0, 1);
  std::vector<Road>& roads = report.roads;
  roads.push_back(road("identify", identity, readIdentify));
  roads.push_back(road("SMART enable", enabled, readNothing));
  roads.push_back(road("SMART data", attributes, readAttributes));
  roads.push_back(road("log directory by drive command",
                       node.smart(ata::kSmartReadLog, ata::kLogDirectory, 1), readDirectory));
  roads.push_back(road("statistics by drive command",
                       node.smart(ata::kSmartReadLog, ata::kLogDeviceStatistics, kPages),
                       readLastOfEightPages));
  roads.push_back(
      road("log directory through SCSI", node.readLogExt(ata::kLogDirectory, 0), readDirectory));
  roads.push_back(road("statistics through SCSI",
                       node.readLogExt(ata::kLogDeviceStatistics, ata::statistics::kSolidStatePage),
                       readOnlyPage));
  report.advice = adviceFor(roads);
  if (identity.done && attributes.done && !roads[4].usable && !roads[6].usable) {
    addCandidates(identity, attributes, report);
  }
  return report;
}

// ---- NVMe -------------------------------------------------------------------------------------

Reading readController(const Data& data) {
  using namespace nvme::controller;
  return {true, introduction(field(data, kModelOffset, kModelLength),
                             field(data, kSerialNumberOffset, kSerialNumberLength),
                             field(data, kFirmwareOffset, kFirmwareLength))};
}

Reading readHealth(const Data& data) {
  using namespace nvme::health;
  return {true, std::to_string(data[kPercentageUsedOffset]) + " % used, " +
                    std::to_string(bytes::littleEndian(data.data(), kPowerOnHoursOffset,
                                                       kPowerOnHoursLength)) +
                    " hours powered on"};
}

std::string adviceForNvme(bool identified, bool healthy) {
  if (!identified) {
    return "The provider leaves this drive out: it does not identify itself.";
  }
  return healthy ? "There is one road to an NVMe drive, and it can be used."
                 : "The provider shows 0 % and 0 hours for this drive: there is no other road to "
                   "its health log.";
}

RoadsReport askNvme(const std::string& drive, const DriveNode& node) {
  RoadsReport report{drive, {}, "", {}, ""};
  report.roads.push_back(road("identify", node.nvmeIdentifyController(), readController));
  report.roads.push_back(road("health log", node.nvmeHealthLog(), readHealth));
  report.advice = adviceForNvme(report.roads[0].usable, report.roads[1].usable);
  return report;
}

std::string showCandidates(const RoadsReport& report) {
  if (report.candidates.empty()) {
    return "";
  }
  std::string text = "Its wear could stand in one of these attributes:\n";
  std::string rows;
  for (const WearCandidate& candidate : report.candidates) {
    text += "  " + std::to_string(candidate.id) + ", " + candidate.meaning + ": normalised " +
            std::to_string(candidate.normalised) + ", raw " + std::to_string(candidate.raw) + '\n';
    rows += candidate.row.empty() ? "" : "  " + printable(candidate.row) + '\n';
  }
  if (!report.row.empty()) {
    return text + "The table that comes with this command knows it, see vekssdprov-models(5):\n  " +
           report.row + '\n';
  }
  return rows.empty() ? text
                      : text +
                            "Once its maker says which, and what it counts, this is its line for a "
                            "models file, see vekssdprov-models(5):\n" +
                            rows;
}

}  // namespace

RoadsReport askRoads(const std::string& drive) {
  const DriveNode node("/dev/" + drive);
  return drive.compare(0, 4, "nvme") == 0 ? askNvme(drive, node) : askAta(drive, node);
}

std::string showRoads(const RoadsReport& report, Format format) {
  if (format == Format::kJson) {
    using Json = nlohmann::ordered_json;
    Json roads = Json::array();
    for (const Road& road : report.roads) {
      roads.push_back({{"road", road.name}, {"usable", road.usable}, {"says", road.says}});
    }
    Json all = {{"drive", report.drive}, {"roads", roads}, {"advice", report.advice}};
    if (!report.candidates.empty()) {
      all["wear"] = Json::array();
      for (const WearCandidate& candidate : report.candidates) {
        all["wear"].push_back({{"attribute", candidate.id},
                               {"meaning", candidate.meaning},
                               {"normalised", candidate.normalised},
                               {"raw", candidate.raw},
                               {"row", candidate.row.empty() ? Json() : Json(candidate.row)}});
      }
      all["shipped"] = report.row.empty() ? Json() : Json(report.row);
    }
    return all.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
  }
  std::size_t width = 0;
  for (const Road& road : report.roads) {
    width = std::max(width, road.name.size());
  }
  std::string text = "Roads to " + report.drive + ":\n";
  for (const Road& road : report.roads) {
    text += "  " + road.name + std::string(width - road.name.size(), ' ') +
            (road.usable ? "  usable    " : "  unusable  ") + printable(road.says) + '\n';
  }
  return text + report.advice + '\n' + showCandidates(report);
}

}  // namespace ssdlife
