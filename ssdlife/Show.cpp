#include "ssdlife/Show.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <nlohmann/json.hpp>

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
  return {{"deviceId", drive.deviceId},
          {"model", drive.model},
          {"serialNumber", drive.serialNumber},
          {"firmware", drive.firmware},
          {"physicalDrive", drive.physicalDrive},
          {"caption", drive.caption},
          {"description", drive.description},
          {"poweredOnHours", orNull(drive.poweredOnHours)},
          {"percentageUsed", orNull(drive.percentageUsed)},
          {"percentageUsedSource", drive.percentageUsedSource},
          {"failureImminent", drive.failureImminent}};
}

// "20240229123456.000042+000" as "2024-02-29T12:34:56.000042Z".
std::string iso8601(const cmpihost::DateTime& time) {
  const std::string cim = time.text();
  return cim.substr(0, 4) + '-' + cim.substr(4, 2) + '-' + cim.substr(6, 2) + 'T' +
         cim.substr(8, 2) + ':' + cim.substr(10, 2) + ':' + cim.substr(12, 9) + 'Z';
}

// ---- Tables -----------------------------------------------------------------------------------

// Characters rather than bytes: a column is as wide as it looks.
std::size_t width(const std::string& text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
  }));
}

std::string padded(const std::string& text, std::size_t columns) {
  return text + std::string(columns - std::min(columns, width(text)), ' ');
}

constexpr std::size_t kColumns = 8;
using Row = std::array<std::string, kColumns>;

const Row kHeadings = {"MODEL", "SERIAL", "FIRMWARE", "DRIVE", "HOURS", "USED", "SOURCE", "STATE"};

std::string hoursOf(const Drive& drive) {
  return drive.poweredOnHours ? std::to_string(*drive.poweredOnHours) : "unknown";
}

std::string stateOf(const Drive& drive) { return drive.failureImminent ? "FAILING" : "ok"; }

Row rowOf(const Drive& drive) {
  return {printable(drive.model),
          printable(drive.serialNumber),
          printable(drive.firmware),
          printable(drive.physicalDrive),
          hoursOf(drive),
          wearBar(drive),
          drive.percentageUsed ? sourceInWords(drive.percentageUsedSource) : "-",
          stateOf(drive)};
}

std::string table(const std::vector<Row>& rows) {
  std::array<std::size_t, kColumns> widths{};
  for (const Row& row : rows) {
    for (std::size_t column = 0; column < kColumns; ++column) {
      widths[column] = std::max(widths[column], width(row[column]));
    }
  }
  std::string out;
  for (const Row& row : rows) {
    for (std::size_t column = 0; column + 1 < kColumns; ++column) {
      out += padded(row[column], widths[column]) + "  ";
    }
    out += row[kColumns - 1] + '\n';
  }
  return out;
}

// ---- Text of drives ---------------------------------------------------------------------------

// How many bytes the well-formed, visible character at the beginning has; 0 if there is none.
std::size_t visibleCharacter(std::string_view text) {
  const auto byte = [text](std::size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
  };
  const auto continues = [&](std::size_t first, std::size_t last) {
    for (std::size_t at = first; at <= last; ++at) {
      if ((byte(at) & 0xC0U) != 0x80U) {
        return false;
      }
    }
    return true;
  };
  const unsigned lead = byte(0);
  if (lead < 0x80U) {
    return lead >= 0x20U && lead != 0x7FU ? 1 : 0;
  }
  if (lead >= 0xC2U && lead <= 0xDFU) {
    // U+0080 to U+009F are control characters too.
    const bool control = lead == 0xC2U && byte(1) < 0xA0U;
    return continues(1, 1) && !control ? 2 : 0;
  }
  if (lead >= 0xE0U && lead <= 0xEFU) {
    const bool overlong = lead == 0xE0U && byte(1) < 0xA0U;
    const bool surrogate = lead == 0xEDU && byte(1) >= 0xA0U;
    return continues(1, 2) && !overlong && !surrogate ? 3 : 0;
  }
  if (lead >= 0xF0U && lead <= 0xF4U) {
    const bool outside = (lead == 0xF0U && byte(1) < 0x90U) || (lead == 0xF4U && byte(1) >= 0x90U);
    return continues(1, 3) && !outside ? 4 : 0;
  }
  return 0;
}

}  // namespace

std::string printable(const std::string& text) {
  std::string out;
  std::string_view rest = text;
  while (!rest.empty()) {
    const std::size_t length = visibleCharacter(rest);
    out += length > 0 ? std::string(rest.substr(0, length)) : "?";
    rest.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return out;
}

std::string wearBar(const Drive& drive) {
  if (!drive.percentageUsed) {
    return "unknown";
  }
  constexpr unsigned kLength = 20;
  const unsigned percentage = *drive.percentageUsed;
  const unsigned full = std::min(kLength, percentage * kLength / 100);
  std::string number = std::to_string(percentage);
  number.insert(0, 3 - std::min<std::size_t>(3, number.size()), ' ');
  return '[' + std::string(full, '#') + std::string(kLength - full, '.') + "] " + number + " %";
}

std::string showDrives(const std::vector<Drive>& drives, Format format) {
  if (format == Format::kJson) {
    Json all = Json::array();
    for (const Drive& drive : drives) {
      all.push_back(jsonOf(drive));
    }
    return dumped({{"drives", all}}, 2);
  }
  std::vector<Row> rows = {kHeadings};
  std::transform(drives.begin(), drives.end(), std::back_inserter(rows), rowOf);
  return table(rows);
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
      {"Life used", wearBar(drive)},
      {"Source", drive.percentageUsed ? sourceInWords(drive.percentageUsedSource) : "-"},
      {"State", stateOf(drive)},
  };
  std::string out;
  for (const auto& [name, value] : lines) {
    out += padded(name + ':', 15) + value + '\n';
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
