#include "host/DateTime.h"

#include <cstdio>
#include <ctime>

#include <algorithm>
#include <array>
#include <chrono>

namespace cmpihost {
namespace {

constexpr std::size_t kLength = 25;
constexpr std::size_t kDot = 14;
constexpr std::size_t kSign = 21;
constexpr std::uint64_t kMicrosecondsPerSecond = 1'000'000;
constexpr std::uint64_t kSecondsPerDay = 86'400;

std::optional<std::uint64_t> digits(std::string_view text, std::size_t at, std::size_t count) {
  std::uint64_t value = 0;
  for (const char c : text.substr(at, count)) {
    if (c < '0' || c > '9') {
      return std::nullopt;
    }
    value = value * 10 + static_cast<std::uint64_t>(c - '0');
  }
  return value;
}

std::optional<DateTime> intervalFromText(std::string_view text, std::uint64_t fraction) {
  const std::uint64_t days = *digits(text, 0, 8);
  const std::uint64_t hours = *digits(text, 8, 2);
  const std::uint64_t minutes = *digits(text, 10, 2);
  const std::uint64_t seconds = *digits(text, 12, 2);
  if (hours > 23 || minutes > 59 || seconds > 59) {
    return std::nullopt;
  }
  const std::uint64_t total = days * kSecondsPerDay + hours * 3600 + minutes * 60 + seconds;
  return DateTime{total * kMicrosecondsPerSecond + fraction, true};
}

std::optional<DateTime> momentFromText(std::string_view text, std::uint64_t fraction) {
  std::tm fields{};
  fields.tm_year = static_cast<int>(*digits(text, 0, 4)) - 1900;
  fields.tm_mon = static_cast<int>(*digits(text, 4, 2)) - 1;
  fields.tm_mday = static_cast<int>(*digits(text, 6, 2));
  fields.tm_hour = static_cast<int>(*digits(text, 8, 2));
  fields.tm_min = static_cast<int>(*digits(text, 10, 2));
  fields.tm_sec = static_cast<int>(*digits(text, 12, 2));
  std::tm normalised = fields;
  const std::time_t local = timegm(&normalised);
  // timegm carries the 31st of June over into July; such a text names no moment.
  if (normalised.tm_mon != fields.tm_mon || normalised.tm_mday != fields.tm_mday ||
      normalised.tm_hour != fields.tm_hour || normalised.tm_min != fields.tm_min ||
      normalised.tm_sec != fields.tm_sec) {
    return std::nullopt;
  }
  const auto offset = static_cast<std::time_t>(*digits(text, kSign + 1, 3)) * 60;
  const std::time_t utc = text[kSign] == '+' ? local - offset : local + offset;
  if (utc < 0) {
    return std::nullopt;
  }
  return DateTime{static_cast<std::uint64_t>(utc) * kMicrosecondsPerSecond + fraction, false};
}

}  // namespace

DateTime DateTime::now() {
  const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(sinceEpoch);
  return DateTime{static_cast<std::uint64_t>(microseconds.count()), false};
}

std::optional<DateTime> DateTime::fromText(std::string_view text) {
  if (text.size() != kLength || text[kDot] != '.' || !digits(text, 0, kDot) ||
      !digits(text, kSign + 1, 3)) {
    return std::nullopt;
  }
  const auto fraction = digits(text, kDot + 1, 6);
  if (!fraction) {
    return std::nullopt;
  }
  switch (text[kSign]) {
    case ':':
      return text.substr(kSign) == ":000" ? intervalFromText(text, *fraction) : std::nullopt;
    case '+':
    case '-':
      return momentFromText(text, *fraction);
    default:
      return std::nullopt;
  }
}

std::string DateTime::text() const {
  const std::uint64_t fraction = microseconds % kMicrosecondsPerSecond;
  const std::uint64_t seconds = microseconds / kMicrosecondsPerSecond;
  std::array<char, 64> buffer{};
  if (interval) {
    const std::uint64_t days = std::min<std::uint64_t>(seconds / kSecondsPerDay, 99'999'999);
    const std::uint64_t rest = seconds % kSecondsPerDay;
    std::snprintf(buffer.data(), buffer.size(), "%08llu%02u%02u%02u.%06u:000",
                  static_cast<unsigned long long>(days), static_cast<unsigned>(rest / 3600),
                  static_cast<unsigned>(rest / 60 % 60), static_cast<unsigned>(rest % 60),
                  static_cast<unsigned>(fraction));
    return buffer.data();
  }
  // The last moment that four digits of a year can name.
  constexpr std::uint64_t kLastSecond = 253'402'300'799;
  const auto moment = static_cast<std::time_t>(std::min(seconds, kLastSecond));
  std::tm fields{};
  gmtime_r(&moment, &fields);
  std::snprintf(buffer.data(), buffer.size(), "%04d%02d%02d%02d%02d%02d.%06u+000",
                fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday, fields.tm_hour,
                fields.tm_min, fields.tm_sec, static_cast<unsigned>(fraction));
  return buffer.data();
}

}  // namespace cmpihost
