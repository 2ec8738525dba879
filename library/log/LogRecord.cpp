#include "log/LogRecord.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <ctime>
#include <string_view>
#include <utility>

#include <pthread.h>
#include <unistd.h>

namespace {

constexpr std::size_t kUsualLineLength = 128;

/// Five characters each, so that the messages start in one column.
constexpr std::array<std::string_view, 5> kLevelNames = {"Off  ", "Error", "Info ", "Debug",
                                                         "Trace"};

/// 0 until it is kept.
std::atomic<pid_t> keptProcess{0};

pid_t process() {
  const pid_t kept = keptProcess.load(std::memory_order_relaxed);
  return kept != 0 ? kept : getpid();
}

/// Appends `number`, filled up on its left to `width` characters.
void append(std::string& text, unsigned number, std::size_t width, char fill = '0', int base = 10) {
  std::array<char, 10> digits;
  const char* const end =
      std::to_chars(digits.data(), digits.data() + digits.size(), number, base).ptr;
  const auto length = static_cast<std::size_t>(end - digits.data());
  text.append(width - std::min(width, length), fill);
  text.append(digits.data(), length);
}

}  // namespace

LogRecord::LogRecord(LOG_LEVEL recordLevel, std::string text)
    : level(recordLevel),
      message(std::move(text)),
      time(now()),
      tid(static_cast<std::uint32_t>(pthread_self())),
      pid(process()) {}

void LogRecord::keepProcess() { keptProcess.store(getpid(), std::memory_order_relaxed); }

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
  std::tm local{};
  localtime_r(&time.seconds, &local);
  const auto put = [&text](int number, std::size_t width, char separator) {
    append(text, static_cast<unsigned>(number), width);
    text += separator;
  };
  put(local.tm_mday, 2, '/');
  put(local.tm_mon + 1, 2, '/');
  put(local.tm_year + 1900, 4, ' ');
  put(local.tm_hour, 2, ':');
  put(local.tm_min, 2, ':');
  put(local.tm_sec, 2, '.');
  append(text, time.milliseconds, 3);
}

void LogRecord::GetPidString(std::string& text) const {
  text += "P[";
  append(text, static_cast<unsigned>(pid), 8, ' ');
  text += ']';
}

void LogRecord::GetTidString(std::string& text) const {
  text += "T[";
  append(text, tid, 8, '0', 16);
  text += ']';
}

void LogRecord::GetLevelString(std::string& text) const {
  const auto index = static_cast<std::uint32_t>(level);
  if (index < kLevelNames.size()) {
    text += kLevelNames[index];
  }
}
