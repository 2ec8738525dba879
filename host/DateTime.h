#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace cmpihost {

// A moment (microseconds since 1970, UTC) or a length of time, as CIM writes them.
struct DateTime {
  std::uint64_t microseconds = 0;
  bool interval = false;

  static DateTime now();

  // From "yyyymmddhhmmss.mmmmmm+zzz" (zzz: minutes from UTC) or, an interval,
  // "ddddddddhhmmss.mmmmmm:000". Nothing when the text has neither form or names no real moment.
  static std::optional<DateTime> fromText(std::string_view text);

  // The same forms; a moment is always given in UTC ("+000").
  std::string text() const;

  friend bool operator==(const DateTime& a, const DateTime& b) {
    return a.microseconds == b.microseconds && a.interval == b.interval;
  }
  friend bool operator!=(const DateTime& a, const DateTime& b) { return !(a == b); }
};

}  // namespace cmpihost
