// Printing, formatting and the clock of the library under test. The names that end in "_chk" are
// what a hardened build calls.

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <cwchar>

#include "tests/fault/Calls.h"
#include "tests/fault/System.h"

namespace {

using fault::Call;
using fault::Failure;
using fault::Injector;
using fault::next;

struct System {
  decltype(&::vsnprintf) vsnprintf = next<decltype(&::vsnprintf)>("vsnprintf");
  decltype(&::vswprintf) vswprintf = next<decltype(&::vswprintf)>("vswprintf");
  decltype(&::wcstombs) wcstombs = next<decltype(&::wcstombs)>("wcstombs");
  decltype(&::clock_gettime) clock_gettime = next<decltype(&::clock_gettime)>("clock_gettime");
  decltype(&::localtime_r) localtime_r = next<decltype(&::localtime_r)>("localtime_r");
};

const System& theSystem() { return fault::lookedUp<System>(); }
[[maybe_unused]] const System& lookedUpEarly = theSystem();

/// Whether the call fails, which leaves `errno` behind.
bool fails(Call call) {
  const auto failure = Injector::instance().meet(call, "");
  if (failure) {
    errno = failure->number;
  }
  return failure.has_value();
}

int print(bool isLibrary, std::FILE* stream, const char* format, std::va_list arguments) {
  return isLibrary && fails(Call::kPrint) ? -1 : std::vfprintf(stream, format, arguments);
}

/// Out of memory before anything is written; at a character that can't be converted, in the middle.
int format(bool isLibrary, char* buffer, std::size_t size, const char* format,
           std::va_list arguments) {
  const bool hasFailed = isLibrary && fails(Call::kFormat);
  if (hasFailed && errno == ENOMEM) {
    return -1;
  }
  const int result = theSystem().vsnprintf(buffer, size, format, arguments);
  if (hasFailed) {
    buffer[std::strlen(buffer) / 2] = '\0';
    errno = EILSEQ;
  }
  return hasFailed ? -1 : result;
}

int format(bool isLibrary, wchar_t* buffer, std::size_t size, const wchar_t* format,
           std::va_list arguments) {
  return isLibrary && fails(Call::kFormat) ? -1
                                           : theSystem().vswprintf(buffer, size, format, arguments);
}

}  // namespace

/// Hands the arguments behind `last` to `call`, which sees them as `arguments`.
#define FAULT_VARIADIC(last, call)   \
  do {                               \
    std::va_list arguments;          \
    va_start(arguments, last);       \
    const int variadicResult = call; \
    va_end(arguments);               \
    return variadicResult;           \
  } while (false)

extern "C" {

FAULT_VISIBLE int printf(const char* text, ...) {
  FAULT_VARIADIC(text, print(FAULT_CALLED_BY_LIBRARY(), stdout, text, arguments));
}

FAULT_VISIBLE int __printf_chk(int /*level*/, const char* text, ...) {
  FAULT_VARIADIC(text, print(FAULT_CALLED_BY_LIBRARY(), stdout, text, arguments));
}

FAULT_VISIBLE int fprintf(std::FILE* stream, const char* text, ...) {
  FAULT_VARIADIC(text, print(FAULT_CALLED_BY_LIBRARY(), stream, text, arguments));
}

FAULT_VISIBLE int __fprintf_chk(std::FILE* stream, int /*level*/, const char* text, ...) {
  FAULT_VARIADIC(text, print(FAULT_CALLED_BY_LIBRARY(), stream, text, arguments));
}

FAULT_VISIBLE int snprintf(char* buffer, std::size_t size, const char* text, ...) {
  FAULT_VARIADIC(text, format(FAULT_CALLED_BY_LIBRARY(), buffer, size, text, arguments));
}

FAULT_VISIBLE int __snprintf_chk(char* buffer, std::size_t size, int /*level*/,
                                 std::size_t /*room*/, const char* text, ...) {
  FAULT_VARIADIC(text, format(FAULT_CALLED_BY_LIBRARY(), buffer, size, text, arguments));
}

FAULT_VISIBLE int vsnprintf(char* buffer, std::size_t size, const char* text,
                            std::va_list arguments) {
  return format(FAULT_CALLED_BY_LIBRARY(), buffer, size, text, arguments);
}

FAULT_VISIBLE int __vsnprintf_chk(char* buffer, std::size_t size, int /*level*/,
                                  std::size_t /*room*/, const char* text, std::va_list arguments) {
  return format(FAULT_CALLED_BY_LIBRARY(), buffer, size, text, arguments);
}

FAULT_VISIBLE int vswprintf(wchar_t* buffer, std::size_t size, const wchar_t* text,
                            std::va_list arguments) {
  return format(FAULT_CALLED_BY_LIBRARY(), buffer, size, text, arguments);
}

FAULT_VISIBLE int __vswprintf_chk(wchar_t* buffer, std::size_t size, int /*level*/,
                                  std::size_t /*room*/, const wchar_t* text,
                                  std::va_list arguments) {
  return format(FAULT_CALLED_BY_LIBRARY(), buffer, size, text, arguments);
}

FAULT_VISIBLE std::size_t wcstombs(char* to, const wchar_t* from, std::size_t size) {
  return FAULT_CALLED_BY_LIBRARY() && fails(Call::kNarrow) ? static_cast<std::size_t>(-1)
                                                           : theSystem().wcstombs(to, from, size);
}

/// The library's time stands still too: the text of a second is made once, and records compare.
FAULT_VISIBLE int clock_gettime(clockid_t clock, timespec* time) noexcept {
  if (!FAULT_CALLED_BY_LIBRARY()) {
    return theSystem().clock_gettime(clock, time);
  }
  if (fails(Call::kTime)) {
    return -1;
  }
  *time = {1000000000, 123000000};
  return 0;
}

FAULT_VISIBLE std::tm* localtime_r(const std::time_t* seconds, std::tm* local) noexcept {
  return FAULT_CALLED_BY_LIBRARY() && fails(Call::kLocalTime)
             ? nullptr
             : theSystem().localtime_r(seconds, local);
}

}  // extern "C"
