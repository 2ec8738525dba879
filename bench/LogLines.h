#pragma once

#include <spdlog/common.h>

#include "log/Log.h"

/// The library's most frequent message, as the library logs it and as spdlog does.
namespace bench {

constexpr unsigned long kHours = 12345;
constexpr int kPercentage = 42;
constexpr char kMessage[] = "SsdDevice::getSsdData - POH = 12345, Percentage Used = 42";

/// Into the machine's log file, at the level Info.
void logLine(LOG_LEVEL level);

/// Into the same file with the same columns, flushed at each line; below Info it is suppressed.
void spdlogLine(spdlog::level::level_enum level);

}  // namespace bench
