#include "simulator/recorder/MachineWriter.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "simulator/ErrnoNames.h"

namespace simulator {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kLine = 32;

// Machine files know errnos by their names; the few without one are errors in any case.
std::string knownErrno(int error) {
  const std::string name = errnoName(error);
  return errnoOf(name) ? name : "EIO";
}

std::string offsetText(std::size_t offset) {
  char text[2 * sizeof offset + sizeof "0x"];
  std::snprintf(text, sizeof text, "0x%03zx", offset);
  return text;
}

// Short bytes as they are, long ones by the lines that are not all zeros.
Json bytesJson(const Bytes& bytes) {
  if (bytes.size() <= kLine) {
    return toHex(bytes);
  }
  Json at = Json::object();
  for (std::size_t offset = 0; offset < bytes.size(); offset += kLine) {
    const std::size_t length = std::min(kLine, bytes.size() - offset);
    const std::uint8_t* const line = bytes.data() + offset;
    if (std::any_of(line, line + length, [](std::uint8_t byte) { return byte != 0; })) {
      at[offsetText(offset)] = toHex(line, length);
    }
  }
  Json sparse = {{"size", bytes.size()}};
  if (!at.empty()) {
    sparse["at"] = at;
  }
  return sparse;
}

bool isPlainText(const std::string& text) {
  try {
    static_cast<void>(Json(text).dump());  // throws for what is not UTF-8
    return true;
  } catch (const Json::exception&) {
    return false;
  }
}

Json exactText(const std::string& text) {
  return isPlainText(text) ? Json(text) : Json{{"hex", toHex(Bytes(text.begin(), text.end()))}};
}

Json biosJson(const FileContent& bios) {
  if (const int* error = std::get_if<int>(&bios)) {
    return *error == ENOENT ? Json(nullptr) : Json{{"errno", knownErrno(*error)}};
  }
  const auto& text = std::get<std::string>(bios);
  const bool isLine = text.size() > 1 && text.find('\n') == text.size() - 1 && isPlainText(text);
  return isLine ? Json(text.substr(0, text.size() - 1)) : Json{{"content", exactText(text)}};
}

Json removableJson(const FileContent& removable) {
  if (const int* error = std::get_if<int>(&removable)) {
    return *error == ENOENT ? Json(nullptr) : Json{{"errno", knownErrno(*error)}};
  }
  return std::get<std::string>(removable);
}

Json answerJson(const RecordedAnswer& answer) {
  if (answer.result == -1) {
    return {{"errno", knownErrno(answer.error)}};
  }
  Json json = Json::object();
  const auto number = [&json](const char* key, std::uint32_t value) {
    if (value != 0) {
      json[key] = value;
    }
  };
  const auto bytes = [&json](const char* key, const Bytes& value) {
    if (!value.empty()) {
      json[key] = bytesJson(value);
    }
  };
  number("return", static_cast<std::uint32_t>(answer.result));
  bytes("header", answer.header);
  number("status", answer.status);
  number("hostStatus", answer.hostStatus);
  number("driverStatus", answer.driverStatus);
  bytes("sense", answer.sense);
  number("result", answer.nvmeResult);
  bytes("data", answer.data);
  return json;
}

Json requestJson(const RecordedRequest& request) {
  Json json = {{"request", name(request.kind)}};
  if (!request.sent.empty()) {
    json["sent"] = toHex(request.sent);
  }
  Json answers = Json::array();
  for (const RecordedAnswer& answer : request.answers) {
    answers.push_back(answerJson(answer));
  }
  json["answers"] = answers;
  return json;
}

Json driveJson(const DriveDescription& description) {
  const auto* drive = std::get_if<RecordedDescription>(&description.drive);
  if (drive == nullptr) {
    throw std::invalid_argument("drive " + nodeOf(description.drive) + " is not a recorded one");
  }
  Json json = {{"kind", "recorded"}, {"node", drive->node}};
  if (description.removable) {
    json["removable"] = removableJson(*description.removable);
  }
  Json requests = Json::array();
  for (const RecordedRequest& request : drive->requests) {
    requests.push_back(requestJson(request));
  }
  json["requests"] = requests;
  return json;
}

Json faultJson(const FaultDescription& fault) {
  Json json = {{"call", fault.pattern.call}, {"path", fault.pattern.path}};
  if (fault.nth != 1) {
    json["nth"] = fault.nth;
  }
  if (fault.count != FaultDescription::kForever) {
    json["count"] = fault.count;
  }
  json["errno"] = knownErrno(fault.outcome.error.value_or(EIO));
  return json;
}

template <typename Items, typename Maker>
Json listJson(const Items& items, Maker make) {
  Json list = Json::array();
  for (const auto& item : items) {
    list.push_back(make(item));
  }
  return list;
}

}  // namespace

std::string writeMachine(const MachineDescription& machine, const std::string& comment) {
  Json json = {{"name", machine.name}, {"comment", comment}, {"bios", biosJson(machine.bios)}};
  if (machine.config) {
    json["config"] = *machine.config;
  }
  if (machine.logConfig) {
    json["logConfig"] = *machine.logConfig;
  }
  json["block"] = machine.hasBlockDirectory
                      ? Json(machine.blockOrder.value_or(std::vector<std::string>{}))
                      : Json(nullptr);
  json["drives"] = listJson(machine.drives, driveJson);
  if (!machine.faults.empty()) {
    json["faults"] = listJson(machine.faults, faultJson);
  }
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace simulator
