#include "simulator/MachineFile.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>
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

// A key=value file: an object of keys, or its text exactly as it stands.
std::optional<std::string> settingsFile(const std::optional<JsonValue>& value) {
  if (!value || value->json().is_null()) {
    return std::nullopt;
  }
  if (!value->json().is_object()) {
    return value->text();
  }
  std::string lines;
  for (const auto& [key, setting] : JsonObject(*value).members()) {
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
      const std::string name = call.text();
      if (name != "usleep" && name != "nanosleep" && name != "clock_nanosleep") {
        call.fail("usleep, nanosleep or clock_nanosleep expected");
      }
      machine.scaledCalls.push_back(name);
    }
  }
  object.finish();
}

void parseBlock(const JsonValue& value, MachineDescription& machine) {
  if (value.json().is_null()) {
    machine.hasBlockDirectory = false;
    return;
  }
  machine.blockOrder.emplace();
  for (const JsonValue& name : value.list()) {
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
  machine.config = settingsFile(object.find("config"));
  machine.logConfig = settingsFile(object.find("logConfig"));
  if (const auto directory = object.find("logDirectory")) {
    machine.logDirectory = directory->text();
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
  if (!file) {
    throw MachineFileError(path + ": cannot be opened");
  }
  const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  try {
    return parseMachine(text);
  } catch (const MachineFileError& error) {
    throw MachineFileError(path + ": " + error.what());
  }
}

}  // namespace simulator
