#include "log/LogRecord.h"

#include <array>
#include <cstdio>
#include <ctime>

#include <pthread.h>
#include <unistd.h>

namespace {

constexpr std::size_t kUsualLineLength = 128;
constexpr std::size_t kTimeTextSize = 256;

/// Five characters each, so that the messages start in one column.
constexpr std::array<const char*, 5> kLevelNames = {"Off  ", "Error", "Info ", "Debug", "Trace"};

template <typename Value>
void appendFormatted(std::string& text, const char* format, Value value) {
  std::array<char, 32> buffer;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  const int length = std::snprintf(buffer.data(), buffer.size(), format, value);
#pragma GCC diagnostic pop
  text.append(buffer.data(), static_cast<std::size_t>(length));
}

}  // namespace

LogRecord::LogRecord(LOG_LEVEL recordLevel, const std::string& text)
    : level(recordLevel),
      message(text),
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
  const std::time_t seconds = time.seconds;
  std::tm local{};
  localtime_r(&seconds, &local);
  std::array<char, kTimeTextSize> buffer;
  text.append(buffer.data(),
              std::strftime(buffer.data(), buffer.size(), "%d/%m/%Y %H:%M:%S.", &local));
  appendFormatted(text, "%03hu", time.milliseconds);
}

void LogRecord::GetPidString(std::string& text) const { appendFormatted(text, "P[%8d]", pid); }

void LogRecord::GetTidString(std::string& text) const { appendFormatted(text, "T[%08x]", tid); }

void LogRecord::GetLevelString(std::string& text) const {
  const auto index = static_cast<std::uint32_t>(level);
  if (index < kLevelNames.size()) {
    text += kLevelNames[index];
  }
}
