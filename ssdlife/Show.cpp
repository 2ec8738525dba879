#include "ssdlife/Show.h"

#include <utf8.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>

#include "ssdlife/service/Clock.h"

namespace ssdlife {
namespace {

using Json = nlohmann::ordered_json;

// Bytes of drives that are not UTF-8 become replacement characters instead of an error.
std::string dumped(const Json& json, int indent) {
  return json.dump(indent, ' ', false, Json::error_handler_t::replace) + '\n';
}

template <typename T>
Json orNull(const std::optional<T>& value) {
  return value ? Json(*value) : Json(nullptr);
}

Json jsonOf(const Drive& drive) {
  Json json = {{"deviceId", drive.deviceId},
               {"model", drive.model},
               {"serialNumber", drive.serialNumber},
               {"firmware", drive.firmware},
               {"physicalDrive", drive.physicalDrive},
               {"caption", drive.caption},
               {"description", drive.description},
               {"poweredOnHours", orNull(drive.poweredOnHours)},
               {"percentageUsed", orNull(drive.percentageUsed)},
               {"percentageUsedSource", drive.percentageUsedSource},
               {"failureImminent", drive.failureImminent},
               {"read", !drive.readError},
               {"readError", orNull(drive.readError)}};
  if (drive.overThreshold) {
    json["overThreshold"] = {{"early", dateText(drive.overThreshold->early)},
                             {"likely", dateText(drive.overThreshold->likely)},
                             {"late", dateText(drive.overThreshold->late)}};
  }
  return json;
}

// "20240229123456.000042+000" as "2024-02-29T12:34:56.000042Z".
std::string iso8601(const cmpihost::DateTime& time) {
  const std::string cim = time.text();
  return cim.substr(0, 4) + '-' + cim.substr(4, 2) + '-' + cim.substr(6, 2) + 'T' +
         cim.substr(8, 2) + ':' + cim.substr(10, 2) + ':' + cim.substr(12, 9) + 'Z';
}

std::string hoursOf(const Drive& drive) {
  return drive.poweredOnHours ? std::to_string(*drive.poweredOnHours) : "unknown";
}

std::string stateOf(const Drive& drive) {
  if (drive.failureImminent) {
    return "FAILING";
  }
  return drive.readError ? "not read: " + printable(*drive.readError) : "ok";
}

std::string lifeOf(const Drive& drive) {
  if (!drive.percentageUsed) {
    return "unknown";
  }
  return wearBar(drive) + ' ' + std::to_string(*drive.percentageUsed) + " %" +
         (drive.readError ? ", not read" : "");
}

}  // namespace

std::string printable(const std::string& text) {
  std::string out;
  for (auto at = text.begin(); at != text.end();) {
    auto next = at;
    try {
      const std::uint32_t character = utf8::next(next, text.end());
      const bool control = character < 0x20 || (character >= 0x7F && character < 0xA0);
      out +=
          control ? std::string(static_cast<std::size_t>(next - at), '?') : std::string(at, next);
    } catch (const utf8::exception&) {
      out += '?';
      next = at + 1;
    }
    at = next;
  }
  return out;
}

std::string wearBar(const Drive& drive) {
  if (!drive.percentageUsed) {
    return "-";
  }
  constexpr unsigned kLength = 20;
  const unsigned full = std::min(kLength, *drive.percentageUsed * kLength / 100);
  return '[' + std::string(full, '#') + std::string(kLength - full, '.') + ']';
}

std::string showDrives(const std::vector<Drive>& drives) {
  Json all = Json::array();
  for (const Drive& drive : drives) {
    all.push_back(jsonOf(drive));
  }
  return dumped({{"drives", all}}, 2);
}

std::string showNames(const std::vector<std::string>& names, Format format) {
  if (format == Format::kJson) {
    return dumped({{"deviceIds", names}}, 2);
  }
  std::string out;
  for (const std::string& name : names) {
    out += printable(name) + '\n';
  }
  return out;
}

std::string showDrive(const Drive& drive, Format format) {
  if (format == Format::kJson) {
    return dumped(jsonOf(drive), 2);
  }
  const std::vector<std::pair<std::string, std::string>> lines = {
      {"DeviceID", printable(drive.deviceId)},
      {"Caption", printable(drive.caption)},
      {"Description", printable(drive.description)},
      {"Model", printable(drive.model)},
      {"Serial number", printable(drive.serialNumber)},
      {"Firmware", printable(drive.firmware)},
      {"Drive", printable(drive.physicalDrive)},
      {"Powered on", hoursOf(drive) + " hours"},
      {"Life used", lifeOf(drive)},
      {"Source", drive.percentageUsed ? sourceInWords(drive.percentageUsedSource) : "-"},
      {"State", stateOf(drive)},
  };
  std::string out;
  for (const auto& [name, value] : lines) {
    out += name + ':' + std::string(14 - name.size(), ' ') + value + '\n';
  }
  return out;
}

std::string showEvent(const FailureEvent& event, Format format) {
  const auto time = event.time ? std::optional(iso8601(*event.time)) : std::nullopt;
  if (format == Format::kJson) {
    return dumped({{"event", "failureImminent"},
                   {"deviceId", event.deviceId},
                   {"physicalDrive", event.physicalDrive},
                   {"time", orNull(time)}},
                  -1);
  }
  return time.value_or("(no time)") + "  failure imminent: " + printable(event.physicalDrive) +
         "  " + printable(event.deviceId) + '\n';
}

}  // namespace ssdlife
