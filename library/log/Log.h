#pragma once

#include <cstdint>

#include "base/Export.h"

/// How much a record matters. As the configured level it is the last one that is written; the
/// numbers are those of log.conf.
enum LOG_LEVEL : std::int32_t {
  LOG_LEVEL_OFF = 0,
  LOG_LEVEL_ERROR = 1,
  LOG_LEVEL_INFO = 2,
  LOG_LEVEL_DEBUG = 3,
  LOG_LEVEL_TRACE = 4,
};

// The three functions may be called on any thread. A record above the configured level costs one
// virtual call and allocates nothing. No failure reaches the caller, and `errno` is left as it was.

/// Logs a text formatted as by printf, cut at 4095 characters. What was formatted before a
/// conversion that fails is logged all the same.
VEKSSD_EXPORT void Log(LOG_LEVEL level, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

/// Logs a text formatted as by wprintf and converted under the host's locale, cut at 4095 bytes.
/// The record is dropped when it can't be converted.
VEKSSD_EXPORT void WLog(LOG_LEVEL level, const wchar_t* format, ...);

/// Logs `text` as it stands, at any length; a "%" in it is just a character.
VEKSSD_EXPORT void LogQuick(LOG_LEVEL level, const char* text);

/// Whether a record of this level would be written: for texts that are dear to make.
[[nodiscard]] bool isLogged(LOG_LEVEL level);
