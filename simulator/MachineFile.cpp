#include "simulator/MachineFile.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <set>
#include <sstream>
#include <system_error>
#include <utility>

namespace simulator {

namespace {

// Text as a line of a file in /sys: with a line feed at its end. {"content": ...} is taken exactly,
// {"errno": ...} is a file that can't be reached, null one that isn't there.
FileContent systemFile(const JsonValue& value) {
  if (value.json().is_null()) {
    return ENOENT;
  }
  if (!value.json().is_object()) {
    const std::string line = value.text();
    return line.empty() || line.find('\n') != std::string::npos ? line : line + "\n";
  }
  JsonObject object(value);
  FileContent content;
  if (const auto exact = object.find("content")) {
    content = exact->deviceText(std::string::npos);
  } else {
    content = object.need("errno").errnoName();
  }
  object.finish();
  return content;
}

std::string scalarText(const JsonValue& value) {
  return value.json().is_string() ? value.text() : value.json().dump();
}

// The keys that the library knows. Others are tried by the file's exact text.
constexpr std::string_view kConfigKeys[] = {
    "PollRate",         "PercentUsedThreshold", "SptLogAccess",
    "DebugIndications", "DebugTraceAttributes", "DebugTraceLogs",
    "ModelsFile"};
constexpr std::string_view kLogConfigKeys[] = {"Level", "FileName", "MaxLength", "IsConsole"};

// A key=value file: an object of keys, or its text exactly as it stands.
template <std::size_t count>
std::optional<std::string> settingsFile(const std::optional<JsonValue>& value,
                                        const std::string_view (&keys)[count]) {
  if (!value || value->json().is_null()) {
    return std::nullopt;
  }
  if (!value->json().is_object()) {
    return value->text();
  }
  std::string lines;
  JsonObject object(*value);
  for (const std::string_view key : keys) {
    object.find(std::string(key));
  }
  object.finish();
  for (const auto& [key, setting] : object.members()) {
    if (setting.json().is_structured() || setting.json().is_null()) {
      setting.fail("text, number, true or false expected");
    }
    lines += key + "=" + scalarText(setting) + "\n";
  }
  return lines;
}

void parseTime(const JsonValue& value, MachineDescription& machine) {
  JsonObject object(value);
  if (const auto scale = object.find("scale")) {
    machine.timeScale = scale->real(0.001, 1e9);
  }
  if (const auto calls = object.find("calls")) {
    machine.scaledCalls.clear();
    for (const JsonValue& call : calls->list()) {
      static_cast<void>(call.oneOf({"usleep", "nanosleep", "clock_nanosleep"}));
      machine.scaledCalls.push_back(call.text());
    }
  }
  object.finish();
}

bool isBlockNameOf(const AnyDrive& drive, const std::string& name) {
  const auto* const nvme = std::get_if<NvmeDescription>(&drive);
  if (nvme == nullptr) {
    return nodeOf(drive) == name;
  }
  return std::any_of(
      nvme->activeNamespaces.begin(), nvme->activeNamespaces.end(),
      [&](std::uint32_t id) { return nvme->node + 'n' + std::to_string(id) == name; });
}

// Whether a name in /sys/block is that of a drive of the machine, or of a block device of another
// sort. The names of a recorded machine are those that were there, drives or not.
bool isBlockName(const std::string& name, const MachineDescription& machine) {
  const bool drive = name.compare(0, 2, "sd") == 0 || name.compare(0, 4, "nvme") == 0;
  return !drive ||
         std::any_of(machine.drives.begin(), machine.drives.end(),
                     [&name](const DriveDescription& description) {
                       return std::holds_alternative<RecordedDescription>(description.drive) ||
                              isBlockNameOf(description.drive, name);
                     });
}

void parseBlock(const JsonValue& value, MachineDescription& machine) {
  if (value.json().is_null()) {
    machine.hasBlockDirectory = false;
    return;
  }
  machine.blockOrder.emplace();
  for (const JsonValue& name : value.list()) {
    if (!isBlockName(name.text(), machine)) {
      name.fail("the machine has no drive \"" + name.text() + "\"");
    }
    machine.blockOrder->push_back(name.text());
  }
}

void parseDrives(const JsonValue& value, MachineDescription& machine) {
  std::set<std::string> nodes;
  for (const JsonValue& entry : value.list()) {
    machine.drives.push_back(parseDrive(entry));
    const std::string& node = nodeOf(machine.drives.back().drive);
    if (!nodes.insert(node).second) {
      entry.fail("a second drive with the node \"" + node + "\"");
    }
  }
}

}  // namespace

MachineDescription parseMachine(std::string_view text) {
  const nlohmann::json json = parseJson(text);
  JsonObject object{JsonValue(json, "")};
  MachineDescription machine;
  machine.name = object.need("name").text();
  object.find("comment");
  if (const auto bios = object.find("bios")) {
    machine.bios = systemFile(*bios);
  }
  machine.config = settingsFile(object.find("config"), kConfigKeys);
  machine.logConfig = settingsFile(object.find("logConfig"), kLogConfigKeys);
  if (const auto directory = object.find("logDirectory")) {
    machine.logDirectory = directory->text();
    if (machine.logDirectory.compare(0, 1, "/") != 0) {
      directory->fail("a path that begins with \"/\" expected, found \"" + machine.logDirectory +
                      '"');
    }
  }
  if (const auto time = object.find("time")) {
    parseTime(*time, machine);
  }
  if (const auto privileged = object.find("privileged")) {
    machine.privileged = privileged->boolean();
  }
  if (const auto drives = object.find("drives")) {
    parseDrives(*drives, machine);
  }
  if (const auto block = object.find("block")) {
    parseBlock(*block, machine);
  }
  if (const auto faults = object.find("faults")) {
    for (const JsonValue& fault : faults->list()) {
      machine.faults.push_back(parseFault(fault, machine));
    }
  }
  object.finish();
  return machine;
}

MachineDescription loadMachine(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  // Opening a directory succeeds, reading it does not.
  if (!file || !(text << file.rdbuf())) {
    throw MachineFileError(path + " can't be read: " + std::generic_category().message(errno));
  }
  try {
    return parseMachine(text.str());
  } catch (const MachineFileError& error) {
    throw MachineFileError(path + ": " + error.what());
  }
}

}  // namespace simulator
