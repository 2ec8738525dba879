#include "log/Log.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <exception>
#include <memory>
#include <string>

#include "log/FileLogHandler.h"

namespace {

constexpr std::size_t kMessageSize = 4096;

/// Never destroyed, and constant-initialised: the first line is logged by another file's static
/// constructor, the last one while the library is being unloaded.
LogHandler* s_logHandler = nullptr;

/// The one handler; made on the first call, which comes while the library is being loaded and no
/// thread of its own exists.
LogHandler& logHandler() {
  if (s_logHandler == nullptr) {
    std::printf("Logger created");
    s_logHandler = new FileLogHandler;
  }
  return *s_logHandler;
}

template <typename Character>
std::unique_ptr<Character[]> messageBuffer() {
  return std::unique_ptr<Character[]>(new Character[kMessageSize]);
}

/// The frame of all three functions: the level is asked before anything else is done; `makeMessage`
/// gives the text, or fails, which drops the record. Logging must never harm the caller: whatever
/// goes wrong costs this record and nothing more.
template <typename Character, typename MakeMessage>
void logMessage(LOG_LEVEL level, const Character* text, MakeMessage makeMessage) {
  const int error = errno;
  try {
    LogHandler& handler = logHandler();
    std::string message;
    if (level <= handler.GetLevel() && text != nullptr && makeMessage(message)) {
      LogRecord record(level, message);
      handler.Log(record);
    }
  } catch (const std::exception&) {
  }
  errno = error;
}

}  // namespace

void Log(LOG_LEVEL level, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  logMessage(level, format, [&](std::string& message) {
    const auto buffer = messageBuffer<char>();
    // A message is kept up to a conversion that fails; newer C libraries may leave the buffer
    // untouched then.
    buffer[0] = '\0';
    (void)std::vsnprintf(buffer.get(), kMessageSize, format, arguments);
    message = buffer.get();
    return true;
  });
  va_end(arguments);
}

void WLog(LOG_LEVEL level, const wchar_t* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  logMessage(level, format, [&](std::string& message) {
    const auto wide = messageBuffer<wchar_t>();
    const auto narrow = messageBuffer<char>();
    wide[0] = L'\0';
    wide[kMessageSize - 1] = L'\0';
    (void)std::vswprintf(wide.get(), kMessageSize, format, arguments);  // too long: cut
    const std::size_t length = std::wcstombs(narrow.get(), wide.get(), kMessageSize);
    if (length == static_cast<std::size_t>(-1)) {
      return false;
    }
    message.assign(narrow.get(), std::min(length, kMessageSize - 1));
    return true;
  });
  va_end(arguments);
}

void LogQuick(LOG_LEVEL level, const char* text) {
  logMessage(level, text, [text](std::string& message) {
    message = text;
    return true;
  });
}
