#include <glob.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>
#include <utility>

#include "simulator/MachineFile.h"

// The "faults" of a machine file.
namespace simulator {

namespace {

// Which calls can be made to fail, and what a pattern may say about each.
struct FaultyCall {
  std::string_view name;
  bool hasPath;
};

constexpr std::array<FaultyCall, 16> kCalls{{
    {"open", true},
    {"fopen", true},
    {"access", true},
    {"opendir", true},
    {"readdir", true},
    {"glob", true},
    {"ioctl", true},
    {"fcntl", true},
    {"close", true},
    {"fstat", true},
    {"fwrite", true},
    {"fflush", true},
    {"fgets", true},
    {"getline", true},
    {"pthread_create", false},
    {"usleep", false},
}};

constexpr std::array<std::pair<std::string_view, int>, 3> kGlobResults{{
    {"GLOB_NOSPACE", GLOB_NOSPACE},
    {"GLOB_ABORTED", GLOB_ABORTED},
    {"GLOB_NOMATCH", GLOB_NOMATCH},
}};

template <typename Integer>
void read(JsonObject& object, const std::string& key, std::optional<Integer>& into) {
  if (const auto value = object.find(key)) {
    into = value->integer<Integer>();
  }
}

const FaultyCall& parseCall(const JsonValue& value) {
  std::vector<std::string_view> names;
  std::transform(kCalls.begin(), kCalls.end(), std::back_inserter(names),
                 [](const FaultyCall& call) { return call.name; });
  return kCalls[value.oneOf(names)];
}

void parsePath(JsonObject& object, const MachineDescription& machine, FaultPattern& pattern) {
  if (const auto path = object.find("path")) {
    pattern.path = tidyPath(path->text());
    if (pattern.path.empty() || (pattern.path[0] != '/' && pattern.call != "glob")) {
      path->fail("a path that begins with \"/\" expected");
    }
  }
  const auto node = object.find("node");
  if (!node) {
    return;
  }
  const std::string name = node->text();
  const bool known =
      std::any_of(machine.drives.begin(), machine.drives.end(),
                  [&name](const DriveDescription& drive) { return nodeOf(drive.drive) == name; });
  if (!known) {
    node->fail("the machine has no drive \"" + name + "\"");
  }
  pattern.path = "/dev/" + name;
}

FaultPattern parsePattern(JsonObject& object, const MachineDescription& machine) {
  FaultPattern pattern;
  const FaultyCall& call = parseCall(object.need("call"));
  pattern.call = call.name;
  if (call.hasPath) {
    parsePath(object, machine, pattern);
  }
  if (call.name != "ioctl") {
    return pattern;
  }
  if (const auto request = object.find("request")) {
    pattern.request = parseRequestKind(*request);
  }
  read(object, "command", pattern.command);
  read(object, "feature", pattern.feature);
  read(object, "log", pattern.log);
  read(object, "page", pattern.page);
  read(object, "cns", pattern.cns);
  return pattern;
}

int parseReturn(const JsonValue& value, const std::string& call) {
  if (call == "glob") {
    std::vector<std::string_view> names;
    std::transform(kGlobResults.begin(), kGlobResults.end(), std::back_inserter(names),
                   [](const auto& result) { return result.first; });
    return kGlobResults[value.oneOf(names)].second;
  }
  return static_cast<int>(value.integer(0, 0x7fffffff));
}

DriveFault::AtaRegisters parseAtaRegisters(const JsonValue& value) {
  JsonObject object(value);
  DriveFault::AtaRegisters registers;
  registers.status = object.need("status").integer<std::uint8_t>();
  registers.error = object.need("error").integer<std::uint8_t>();
  object.finish();
  return registers;
}

// What only an ioctl on a drive can meet.
int parseDriveOutcome(JsonObject& object, FaultOutcome& outcome) {
  int given = 0;
  if (const auto sense = object.find("sense")) {
    outcome.sense = sense->bytes();
    ++given;
  }
  if (const auto registers = object.find("ata")) {
    outcome.drive.ata = parseAtaRegisters(*registers);
    ++given;
  }
  if (const auto result = object.find("result")) {
    outcome.drive.nvmeResult = result->integer<std::uint32_t>();
    ++given;
  }
  if (const auto hang = object.find("hang")) {
    if (!hang->boolean()) {
      hang->fail("true expected");
    }
    outcome.drive.hang = true;
    ++given;
  }
  if (const auto data = object.find("data")) {
    outcome.drive.data = data->bytes();
    ++given;
  }
  return given;
}

// Counts the outcomes given, besides a delay.
FaultOutcome parseOutcome(JsonObject& object, const std::string& call, int& given) {
  FaultOutcome outcome;
  if (call != "glob") {
    if (const auto error = object.find("errno")) {
      outcome.error = error->errnoName();
      ++given;
    }
  }
  if (call == "ioctl" || call == "glob") {
    if (const auto result = object.find("return")) {
      outcome.result = parseReturn(*result, call);
      ++given;
    }
  }
  if (call == "ioctl") {
    given += parseDriveOutcome(object, outcome);
  }
  if (const auto delay = object.find("delayMs")) {
    outcome.delay = std::chrono::milliseconds(delay->integer(0, 86'400'000));
  }
  return outcome;
}

}  // namespace

FaultDescription parseFault(const JsonValue& value, const MachineDescription& machine) {
  JsonObject object(value);
  object.find("comment");
  FaultDescription fault;
  int outcomes = 0;
  fault.pattern = parsePattern(object, machine);
  fault.outcome = parseOutcome(object, fault.pattern.call, outcomes);
  if (const auto nth = object.find("nth")) {
    fault.nth = nth->integer(1, FaultDescription::kForever);
  }
  if (const auto count = object.find("count"); count && count->json() != "forever") {
    fault.count = count->integer(1, FaultDescription::kForever);
  }
  object.finish();
  if (outcomes > 1 || (outcomes == 0 && !object.has("delayMs"))) {
    object.fail(
        "exactly one outcome expected (errno, return, sense, ata, result, hang, data), "
        "or delayMs");
  }
  return fault;
}

}  // namespace simulator
