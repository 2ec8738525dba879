#include "log/LogRecord.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <string_view>
#include <utility>

#include <pthread.h>
#include <unistd.h>

#include "log/Digits.h"
#include "log/SecondText.h"

namespace {

constexpr std::size_t kUsualLineLength = 128;
constexpr std::size_t kPidWidth = 8;

/// Five characters each, so that the messages start in one column.
constexpr std::array<std::string_view, 5> kLevelNames = {"Off  ", "Error", "Info ", "Debug",
                                                         "Trace"};

}  // namespace

LogRecord::LogRecord(LOG_LEVEL recordLevel, std::string text)
    : level(recordLevel),
      message(std::move(text)),
      time(now()),
      tid(static_cast<std::uint32_t>(pthread_self())),
      pid(getpid()) {}

LogRecord::Time LogRecord::now() {
  timespec clock{};
  clock_gettime(CLOCK_REALTIME, &clock);
  return {clock.tv_sec, static_cast<std::uint16_t>(clock.tv_nsec / 1000000)};
}

void LogRecord::GetLogLine(std::string& line) const {
  line.clear();
  line.reserve(kUsualLineLength);
  GetTimeString(line);
  line += '\t';
  GetPidString(line);
  line += ' ';
  GetTidString(line);
  line += '\t';
  GetLevelString(line);
  line += '\t';
  line += message;
  line += '\n';
}

void LogRecord::GetTimeString(std::string& text) const {
  char column[] = "dd/mm/yyyy hh:mm:ss.iii";
  copySecondText(time.seconds, column);
  putDigits(column + kSecondTextLength, 3, time.milliseconds);
  text.append(column, sizeof(column) - 1);
}

void LogRecord::GetPidString(std::string& text) const {
  const std::string digits = std::to_string(pid);
  text += "P[";
  text.append(kPidWidth - std::min(kPidWidth, digits.size()), ' ');
  text += digits;
  text += ']';
}

void LogRecord::GetTidString(std::string& text) const {
  char column[] = "T[hhhhhhhh]";
  putDigits<16>(column + 2, 8, tid);
  text.append(column, sizeof(column) - 1);
}

void LogRecord::GetLevelString(std::string& text) const {
  const auto index = static_cast<std::uint32_t>(level);
  if (index < kLevelNames.size()) {
    text += kLevelNames[index];
  }
}
