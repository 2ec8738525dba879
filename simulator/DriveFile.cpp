#include <cerrno>

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

#include "simulator/AtaFormat.h"
#include "simulator/MachineFile.h"
#include "simulator/NvmeFormat.h"

// The "drives" of a machine file.
namespace simulator {

namespace {

constexpr std::uint64_t kMax48 = 0xffffffffffff;

template <typename Integer>
void read(JsonObject& object, const std::string& key, Integer& into) {
  if (const auto value = object.find(key)) {
    into = value->integer<Integer>();
  }
}

void read(JsonObject& object, const std::string& key, bool& into) {
  if (const auto value = object.find(key)) {
    into = value->boolean();
  }
}

void readText(JsonObject& object, const std::string& key, std::size_t width, std::string& into) {
  if (const auto value = object.find(key)) {
    into = value->deviceText(width);
  }
}

void readBytes(JsonObject& object, const std::string& key, std::size_t size, Bytes& into) {
  if (const auto value = object.find(key)) {
    into = value->bytes(size);
  }
}

// How the kernel names nodes: under other names nobody finds a drive.
struct NodeNames {
  std::string_view start;
  std::string_view rest;  // of these characters is what follows
  const char* words;
};
constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz";
constexpr std::string_view kBoth = "0123456789abcdefghijklmnopqrstuvwxyz";
constexpr NodeNames kDisks = {"sd", kLetters, "sda to sdz, sdaa and so on"};
constexpr NodeNames kControllers = {"nvme", kDigits, "nvme0, nvme1 and so on"};
constexpr NodeNames kRecordedDisks = {"sd", kBoth, "sda, nvme0, nvme0n1 and so on"};
constexpr NodeNames kRecordedNvme = {"nvme", kBoth, "sda, nvme0, nvme0n1 and so on"};

std::string readNode(JsonObject& object, const NodeNames& names) {
  const JsonValue value = object.need("node");
  const std::string node = value.text();
  const bool started = node.compare(0, names.start.size(), names.start) == 0;
  const std::string rest = started ? node.substr(names.start.size()) : "";
  const bool leadingZero = names.rest == kDigits && rest.size() > 1 && rest[0] == '0';
  if (rest.empty() || leadingZero || rest.find_first_not_of(names.rest) != std::string::npos) {
    value.fail(std::string(names.words) + " expected, found \"" + node + '"');
  }
  return node;
}

Wear parseSchedule(const JsonValue& value) {
  std::vector<std::pair<double, std::uint8_t>> steps;
  for (const JsonValue& step : value.list()) {
    const std::vector<JsonValue> pair = step.list();
    if (pair.size() != 2) {
      step.fail("[seconds, percent] expected");
    }
    const double seconds = pair[0].real(0, 1e12);
    if (!steps.empty() && seconds <= steps.back().first) {
      pair[0].fail("later than the step before expected");
    }
    steps.emplace_back(seconds, pair[1].integer<std::uint8_t>());
  }
  if (steps.empty()) {
    value.fail("at least one step expected");
  }
  return Wear::schedule(std::move(steps));
}

Wear parseWear(const JsonValue& value) {
  if (!value.json().is_object()) {
    return Wear::constant(value.integer<std::uint8_t>());
  }
  JsonObject object(value);
  std::optional<Wear> wear;
  if (const auto readings = object.find("readings")) {
    std::vector<std::uint8_t> values;
    for (const JsonValue& reading : readings->list()) {
      values.push_back(reading.integer<std::uint8_t>());
    }
    if (values.empty()) {
      readings->fail("at least one reading expected");
    }
    wear = Wear::readings(std::move(values));
  } else if (const auto schedule = object.find("schedule")) {
    wear = parseSchedule(*schedule);
  } else {
    const double start = object.need("start").real(0, 255);
    wear = Wear::growing(start, object.need("perSecond").real(-1e6, 1e6));
  }
  object.finish();
  return *std::move(wear);
}

std::optional<FileContent> parseRemovable(JsonObject& object) {
  const auto value = object.find("removable");
  if (!value) {
    return FileContent(std::string("0\n"));
  }
  if (value->json().is_null()) {
    return FileContent(ENOENT);
  }
  if (value->json().is_boolean()) {
    return FileContent(std::string(value->boolean() ? "1\n" : "0\n"));
  }
  if (value->json().is_object()) {
    JsonObject file(*value);
    const int error = file.need("errno").errnoName();
    file.finish();
    return FileContent(error);
  }
  if (!value->json().is_string()) {
    value->fail("true, false, null, the file's text or {\"errno\": ...} expected, found " +
                value->json().dump());
  }
  return FileContent(value->text());
}

SmartAttribute parseAttribute(const JsonValue& value) {
  JsonObject object(value);
  SmartAttribute attribute;
  attribute.id = object.need("id").integer<std::uint8_t>();
  object.find("name");  // for the reader of the file only
  read(object, "flags", attribute.flags);
  if (const auto current = object.find("current")) {
    attribute.currentIsWear = current->json() == "wear";
    if (!attribute.currentIsWear) {
      attribute.current = current->integer<std::uint8_t>();
    }
  }
  read(object, "worst", attribute.worst);
  if (const auto raw = object.find("raw")) {
    attribute.raw = raw->integer(0, kMax48);
  }
  read(object, "reserved", attribute.reserved);
  object.finish();
  return attribute;
}

void parseSmart(const JsonValue& value, AtaDescription& drive) {
  if (value.json().is_boolean()) {
    drive.smart = value.boolean();
    return;
  }
  JsonObject object(value);
  if (const auto attributes = object.find("attributes")) {
    for (const JsonValue& attribute : attributes->list()) {
      drive.attributes.push_back(parseAttribute(attribute));
    }
  }
  read(object, "logs", drive.smartLogs);
  object.finish();
}

std::uint8_t parseFlags(const JsonValue& value) {
  std::uint8_t flags = 0;
  for (const JsonValue& flag : value.list()) {
    constexpr std::uint8_t kFlags[] = {ata::kFlagSupported, ata::kFlagValid, ata::kFlagNormalized};
    flags |= kFlags[flag.oneOf({"supported", "valid", "normalized"})];
  }
  return flags;
}

void parseStatistics(const JsonValue& value, AtaDescription& drive, JsonObject& driveObject) {
  if (value.json().is_boolean()) {
    if (value.boolean()) {
      drive.statistics.emplace();
    }
    return;
  }
  JsonObject object(value);
  drive.statistics.emplace();
  read(object, "pages", drive.statistics->pages);
  read(object, "pageNumber", drive.statistics->pageNumber);
  if (const auto flags = object.find("flags")) {
    drive.statistics->flags = parseFlags(*flags);
  }
  if (const auto percent = object.find("percentageUsed")) {
    if (driveObject.has("wear")) {
      percent->fail("the drive's \"wear\" says this already");
    }
    drive.wear = Wear::constant(percent->integer<std::uint8_t>());
  }
  object.finish();
}

void readRawLogs(JsonObject& object, const std::string& key, std::map<std::uint8_t, Bytes>& into) {
  const auto logs = object.find(key);
  if (!logs) {
    return;
  }
  for (const auto& [address, value] : JsonObject(*logs).members()) {
    const nlohmann::json text = address;
    const auto log = JsonValue(text, value.place()).integer<std::uint8_t>();
    Bytes bytes = value.bytes();
    if (bytes.empty() || bytes.size() % ata::kSectorSize != 0) {
      value.fail("whole sectors of 512 bytes expected");
    }
    into[log] = std::move(bytes);
  }
}

void parseAtaRaw(const JsonValue& value, AtaDescription& drive) {
  JsonObject object(value);
  readBytes(object, "identify", ata::kSectorSize, drive.rawIdentify);
  readBytes(object, "smartData", ata::kSectorSize, drive.rawSmartData);
  readRawLogs(object, "generalPurposeLogs", drive.rawGeneralPurposeLogs);
  readRawLogs(object, "smartLogs", drive.rawSmartLogs);
  object.finish();
}

// "hours" is short for attribute 9.
void addHours(const JsonValue& value, AtaDescription& drive) {
  const bool present =
      std::any_of(drive.attributes.begin(), drive.attributes.end(),
                  [](const SmartAttribute& a) { return a.id == ata::kAttributePowerOnHours; });
  if (present) {
    value.fail("attribute 9 says this already");
  }
  SmartAttribute hours;
  hours.id = ata::kAttributePowerOnHours;
  hours.raw = drive.hours = value.integer(0, kMax48);
  drive.attributes.push_back(hours);
}

AtaDescription parseAta(JsonObject& object) {
  AtaDescription drive;
  drive.node = readNode(object, kDisks);
  readText(object, "model", ata::kModelWidth, drive.model);
  readText(object, "serial", ata::kSerialNumberWidth, drive.serial);
  readText(object, "firmware", ata::kFirmwareWidth, drive.firmware);
  read(object, "rotation", drive.rotation);
  read(object, "majorVersion", drive.majorVersion);
  read(object, "gigabytes", drive.gigabytes);
  read(object, "generalPurposeLogs", drive.generalPurposeLogs);
  if (const auto smart = object.find("smart")) {
    parseSmart(*smart, drive);
  }
  if (const auto wear = object.find("wear")) {
    drive.wear = parseWear(*wear);
  }
  if (const auto statistics = object.find("statistics")) {
    parseStatistics(*statistics, drive, object);
  }
  if (const auto hours = object.find("hours")) {
    addHours(*hours, drive);
  }
  if (drive.attributes.size() > ata::kAttributeCount) {
    object.fail("more than the 30 SMART attributes that a drive can have");
  }
  if (const auto raw = object.find("raw")) {
    parseAtaRaw(*raw, drive);
  }
  return drive;
}

void parseNvmeRaw(const JsonValue& value, NvmeDescription& drive) {
  JsonObject object(value);
  readBytes(object, "controller", nvme::kIdentifySize, drive.rawController);
  readBytes(object, "health", nvme::kHealthSize, drive.rawHealth);
  if (const auto namespaces = object.find("namespaces")) {
    for (const auto& [key, bytes] : JsonObject(*namespaces).members()) {
      const nlohmann::json text = key;
      const auto id = JsonValue(text, bytes.place()).integer<std::uint32_t>();
      drive.rawNamespaces[id] = bytes.bytes(nvme::kIdentifySize);
    }
  }
  object.finish();
}

void parseNamespaces(JsonObject& object, NvmeDescription& drive) {
  read(object, "namespaces", drive.namespaces);
  if (drive.namespaces == 0) {
    drive.activeNamespaces.clear();
  }
  if (const auto active = object.find("activeNamespaces")) {
    drive.activeNamespaces.clear();
    for (const JsonValue& id : active->list()) {
      drive.activeNamespaces.push_back(static_cast<std::uint32_t>(id.integer(1, drive.namespaces)));
    }
  }
  // -1 in a machine file stands for "no answer", as the caller of the ioctl sees it.
  if (const auto id = object.find("namespaceId"); id && id->json() != -1) {
    drive.namespaceId = static_cast<std::int32_t>(id->integer(0, 0x7fffffff));
  }
}

NvmeDescription parseNvme(JsonObject& object) {
  NvmeDescription drive;
  drive.node = readNode(object, kControllers);
  readText(object, "model", nvme::kModelWidth, drive.model);
  readText(object, "serial", nvme::kSerialNumberWidth, drive.serial);
  readText(object, "firmware", nvme::kFirmwareWidth, drive.firmware);
  parseNamespaces(object, drive);
  if (const auto hours = object.find("hours")) {
    drive.hours = hours->wide();
  }
  if (const auto wear = object.find("wear")) {
    drive.wear = parseWear(*wear);
  }
  if (const auto percent = object.find("percentageUsed")) {
    if (object.has("wear")) {
      percent->fail("the drive's \"wear\" says this already");
    }
    drive.wear = Wear::constant(percent->integer<std::uint8_t>());
  }
  read(object, "criticalWarning", drive.criticalWarning);
  read(object, "temperature", drive.temperature);
  read(object, "spare", drive.spare);
  read(object, "spareThreshold", drive.spareThreshold);
  read(object, "gigabytes", drive.gigabytes);
  if (const auto raw = object.find("raw")) {
    parseNvmeRaw(*raw, drive);
  }
  return drive;
}

}  // namespace

DriveDescription parseDrive(const JsonValue& value) {
  JsonObject object(value);
  object.find("comment");
  DriveDescription description;
  switch (object.need("kind").oneOf({"sata", "nvme", "scsi", "recorded"})) {
    case 0:
      description = {parseAta(object), parseRemovable(object)};
      break;
    case 1:
      description = {parseNvme(object), std::nullopt};
      break;
    case 2:
      description = {ScsiDescription{readNode(object, kDisks)}, parseRemovable(object)};
      break;
    default: {
      const bool disk = object.need("node").text().compare(0, 2, "sd") == 0;
      description.drive =
          parseRecorded(object, readNode(object, disk ? kRecordedDisks : kRecordedNvme));
      description.removable = disk ? parseRemovable(object) : std::nullopt;
    }
  }
  object.finish();
  return description;
}

}  // namespace simulator
