#include "log/LogRecord.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <ctime>
#include <string_view>
#include <utility>

#include <pthread.h>
#include <unistd.h>

namespace {

constexpr std::size_t kUsualLineLength = 128;
constexpr std::size_t kPidWidth = 8;

/// Five characters each, so that the messages start in one column.
constexpr std::array<std::string_view, 5> kLevelNames = {"Off  ", "Error", "Info ", "Debug",
                                                         "Trace"};

/// 0 until it is kept.
std::atomic<pid_t> keptProcess{0};

pid_t process() {
  const pid_t kept = keptProcess.load(std::memory_order_relaxed);
  return kept != 0 ? kept : getpid();
}

/// Puts the last `width` digits of `number` at `column`, with noughts before them. A line has ten
/// such columns: reading a format for each costs several times as much.
template <unsigned base = 10>
void putDigits(char* column, std::size_t width, unsigned number) {
  for (; width > 0; number /= base) {
    column[--width] = "0123456789abcdef"[number % base];
  }
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
  char column[] = "dd/mm/yyyy hh:mm:ss.iii";
  const auto put = [&column](std::size_t offset, std::size_t width, int number) {
    putDigits(column + offset, width, static_cast<unsigned>(number));
  };
  put(0, 2, local.tm_mday);
  put(3, 2, local.tm_mon + 1);
  put(6, 4, local.tm_year + 1900);
  put(11, 2, local.tm_hour);
  put(14, 2, local.tm_min);
  put(17, 2, local.tm_sec);
  put(20, 3, time.milliseconds);
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
