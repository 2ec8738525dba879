// The log of the tests: every record becomes an event, whatever its level.

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cwchar>

#include "log/Log.h"
#include "tests/provider/Allocations.h"
#include "tests/provider/Events.h"

namespace {

void record(LOG_LEVEL level, const std::string& text) {
  events::add("log " + std::to_string(level) + ": " + text);
}

}  // namespace

void Log(LOG_LEVEL level, const char* format, ...) {
  const allocations::Exempt exempt;
  std::array<char, 4096> text{};
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  record(level, text.data());
}

void WLog(LOG_LEVEL level, const wchar_t* /*format*/, ...) {
  record(level, "WLog, which the provider doesn't use");
}

void LogQuick(LOG_LEVEL level, const char* text) {
  const allocations::Exempt exempt;
  record(level, text);
}
