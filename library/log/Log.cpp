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

#include <pthread.h>

#include "base/NoCancellation.h"
#include "log/FileLogHandler.h"

namespace {

constexpr std::size_t kMessageSize = 4096;

/// Never destroyed, and constant-initialised: the first line is logged by another file's static
/// constructor, the last one while the library is being unloaded.
FileLogHandler* s_logHandler = nullptr;

void beforeFork() VEKSSD_NO_THREAD_SAFETY_ANALYSIS { s_logHandler->lockOfLog().lock(); }

void afterForkInParent() VEKSSD_NO_THREAD_SAFETY_ANALYSIS { s_logHandler->lockOfLog().unlock(); }

void afterForkInChild() {
  LogRecord::keepProcess();
  afterForkInParent();
}

/// Runs what makes the handler or outputs a record. Logging must never harm the caller: whatever
/// goes wrong costs this record and nothing more, and a thread is not cancelled within.
template <typename Action>
void withoutHarm(Action action) {
  const NoCancellation untilDone;
  const int error = errno;
  try {
    action();
  } catch (const std::exception&) {
  }
  errno = error;
}

/// Makes the one handler on the first call, which comes while the library is being loaded and no
/// thread of its own exists. Null if it can't be made; the next call tries again.
LogHandler* makeLogHandler() {
  withoutHarm([] {
    std::printf("Logger created");
    s_logHandler = new FileLogHandler;
    // The C library forgets the three again when this library is unloaded.
    if (pthread_atfork(beforeFork, afterForkInParent, afterForkInChild) == 0) {
      LogRecord::keepProcess();
    }
  });
  return s_logHandler;
}

/// The handler that wants this text at this level, or null. Asked before anything else is done.
inline LogHandler* handlerFor(LOG_LEVEL level, const void* text) {
  LogHandler* handler = s_logHandler != nullptr ? s_logHandler : makeLogHandler();
  const bool isWanted = handler != nullptr && level <= handler->GetLevel() && text != nullptr;
  return isWanted ? handler : nullptr;
}

template <typename Character>
std::unique_ptr<Character[]> messageBuffer() {
  return std::unique_ptr<Character[]>(new Character[kMessageSize]);
}

std::optional<std::string> formatted(const char* format, std::va_list arguments) {
  const auto buffer = messageBuffer<char>();
  // A message is kept up to a conversion that fails; newer C libraries may leave the buffer
  // untouched then.
  buffer[0] = '\0';
  (void)std::vsnprintf(buffer.get(), kMessageSize, format, arguments);
  return buffer.get();
}

/// Nothing if the host's locale can't represent a character.
std::optional<std::string> formatted(const wchar_t* format, std::va_list arguments) {
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

/// The one way of a record: `message` makes its text, or none. Apart from the functions below,
/// which a suppressed record is to leave quickly.
template <typename Message>
__attribute__((noinline)) void output(LogHandler& handler, LOG_LEVEL level, Message message) {
  withoutHarm([&] {
    if (std::optional<std::string> text = message()) {
      LogRecord record(level, std::move(*text));
      handler.Log(record);
    }
  });
}

}  // namespace

bool isLogged(LOG_LEVEL level) { return handlerFor(level, "") != nullptr; }

void Log(LOG_LEVEL level, const char* format, ...) {
  if (LogHandler* handler = handlerFor(level, format)) {
    std::va_list arguments;
    va_start(arguments, format);
    output(*handler, level, [&] { return formatted(format, arguments); });
    va_end(arguments);
  }
}

void WLog(LOG_LEVEL level, const wchar_t* format, ...) {
  if (LogHandler* handler = handlerFor(level, format)) {
    std::va_list arguments;
    va_start(arguments, format);
    output(*handler, level, [&] { return formatted(format, arguments); });
    va_end(arguments);
  }
}

void LogQuick(LOG_LEVEL level, const char* text) {
  if (LogHandler* handler = handlerFor(level, text)) {
    output(*handler, level, [text] { return std::optional<std::string>(text); });
  }
}
