#pragma once

// The C library's own; <cassert> declares it only where NDEBUG is not defined. Its arguments are
// those of the Linux Standard Base, Core 5.0, __assert_fail.
extern "C" void __assert_fail(const char* assertion, const char* file, unsigned line,
                              const char* function) noexcept __attribute__((noreturn));

/// Ends the process as a failed assert does, with the same message, unless `holds`: an assertion
/// that no compiler flag removes. The message shows the caller's place, or the one given.
inline void require(bool holds, const char* assertion, const char* file = __builtin_FILE(),
                    unsigned line = __builtin_LINE(),
                    const char* function = __builtin_FUNCTION()) noexcept {
  if (__builtin_expect(!holds, 0)) {
    __assert_fail(assertion, file, line, function);
  }
}
