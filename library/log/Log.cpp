#include "log/Log.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "log/FileLogHandler.h"

namespace {

constexpr std::size_t kMessageSize = 4096;

/// Never destroyed, and constant-initialised: the first line is logged by another file's static
/// constructor, the last one while the library is being unloaded.
LogHandler* s_logHandler = nullptr;

/// Makes the one handler on the first call, which comes while the library is being loaded and no
/// thread of its own exists. Null if it can't be made; the next call tries again.
LogHandler* makeLogHandler() {
  const int error = errno;
  try {
    std::printf("Logger created");
    s_logHandler = new FileLogHandler;
  } catch (const std::exception&) {
  }
  errno = error;
  return s_logHandler;
}

/// The handler that wants records of this level, or null. Asked before anything else is done.
inline LogHandler* handlerFor(LOG_LEVEL level) {
  LogHandler* handler = s_logHandler != nullptr ? s_logHandler : makeLogHandler();
  return handler != nullptr && level <= handler->GetLevel() ? handler : nullptr;
}

template <typename Character>
std::unique_ptr<Character[]> messageBuffer() {
  return std::unique_ptr<Character[]>(new Character[kMessageSize]);
}

/// Runs what makes and outputs a record. Logging must never harm the caller: whatever goes wrong
/// costs this record and nothing more.
template <typename Output>
void withoutHarm(Output output) {
  const int error = errno;
  try {
    output();
  } catch (const std::exception&) {
  }
  errno = error;
}

void outputRecord(LogHandler& handler, LOG_LEVEL level, std::string message) {
  LogRecord record(level, std::move(message));
  handler.Log(record);
}

std::string formatMessage(const char* format, std::va_list arguments) {
  const auto buffer = messageBuffer<char>();
  // A message is kept up to a conversion that fails; newer C libraries may leave the buffer
  // untouched then.
  buffer[0] = '\0';
  (void)std::vsnprintf(buffer.get(), kMessageSize, format, arguments);
  return buffer.get();
}

/// Nothing if the host's locale can't represent a character.
std::optional<std::string> formatMessage(const wchar_t* format, std::va_list arguments) {
  const auto wide = messageBuffer<wchar_t>();
  const auto narrow = messageBuffer<char>();
  wide[0] = L'\0';
  wide[kMessageSize - 1] = L'\0';
  (void)std::vswprintf(wide.get(), kMessageSize, format, arguments);  // too long: cut
  const std::size_t length = std::wcstombs(narrow.get(), wide.get(), kMessageSize);
  if (length == static_cast<std::size_t>(-1)) {
    return std::nullopt;
  }
  return std::string(narrow.get(), std::min(length, kMessageSize - 1));
}

// What follows once a record is wanted, apart from the functions below: a suppressed one is to
// leave them quickly.

__attribute__((noinline)) void logFormatted(LogHandler& handler, LOG_LEVEL level,
                                            const char* format, std::va_list arguments) {
  withoutHarm([&] { outputRecord(handler, level, formatMessage(format, arguments)); });
}

__attribute__((noinline)) void logFormatted(LogHandler& handler, LOG_LEVEL level,
                                            const wchar_t* format, std::va_list arguments) {
  withoutHarm([&] {
    if (auto message = formatMessage(format, arguments)) {
      outputRecord(handler, level, std::move(*message));
    }
  });
}

__attribute__((noinline)) void logText(LogHandler& handler, LOG_LEVEL level, const char* text) {
  withoutHarm([&] { outputRecord(handler, level, text); });
}

}  // namespace

bool isLogged(LOG_LEVEL level) { return handlerFor(level) != nullptr; }

void Log(LOG_LEVEL level, const char* format, ...) {
  LogHandler* handler = handlerFor(level);
  if (handler == nullptr || format == nullptr) {
    return;
  }
  std::va_list arguments;
  va_start(arguments, format);
  logFormatted(*handler, level, format, arguments);
  va_end(arguments);
}

void WLog(LOG_LEVEL level, const wchar_t* format, ...) {
  LogHandler* handler = handlerFor(level);
  if (handler == nullptr || format == nullptr) {
    return;
  }
  std::va_list arguments;
  va_start(arguments, format);
  logFormatted(*handler, level, format, arguments);
  va_end(arguments);
}

void LogQuick(LOG_LEVEL level, const char* text) {
  LogHandler* handler = handlerFor(level);
  if (handler != nullptr && text != nullptr) {
    logText(*handler, level, text);
  }
}
