// SmartIo: page 7 of the ATA Device Statistics, on either road.

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <new>

#include "config/Config.h"
#include "device/AtaFormat.h"
#include "device/Bytes.h"
#include "device/SmartIo.h"
#include "log/Log.h"

namespace {

using Buffer = std::unique_ptr<std::uint8_t[]>;

constexpr std::uint32_t kStatisticsPages = ata::statistics::kSolidStatePage + 1;

Buffer zeroedBuffer(std::size_t length) {
  return Buffer(new (std::nothrow) std::uint8_t[length]());
}

unsigned lastError() { return static_cast<unsigned>(errno); }

// What the two roads share. `operation` begins every line.

void logText(LOG_LEVEL level, const char* operation, const char* text) {
  if (isLogged(level)) {
    std::array<char, 192> line;
    std::snprintf(line.data(), line.size(), "%s - %s", operation, text);
    LogQuick(level, line.data());
  }
}

bool noDirectory(const char* operation) {
  Log(LOG_LEVEL_ERROR, "%s - failed to get log directory, err=0x%08x", operation, lastError());
  return false;
}

bool noStatistics(const char* operation) {
  Log(LOG_LEVEL_ERROR, "%s - failed to get device stats log, err=0x%08x, aborting read", operation,
      lastError());
  return false;
}

/// Null if there is no memory.
Buffer statisticsBuffer(const char* operation, std::size_t length) {
  Buffer buffer = zeroedBuffer(length);
  if (buffer == nullptr) {
    Log(LOG_LEVEL_ERROR,
        "%s - failed to allocate buffer for device stats log data, err=0x%08x, aborting read",
        operation, lastError());
  }
  return buffer;
}

/// Whether the log directory counts enough pages of the Device Statistics log.
bool listsSolidStatePage(const char* operation, const std::uint8_t* directory) {
  constexpr int kListedLogs = 15;
  Log(LOG_LEVEL_DEBUG, "%s - SMART Logging version = %hu", operation,
      bytes::littleEndian16(directory, 0));
  for (int address = 1; address <= kListedLogs; ++address) {
    Log(LOG_LEVEL_DEBUG, "num pages at addr %d is %d", address,
        directory[static_cast<std::size_t>(address) * ata::kDirectoryEntrySize]);
  }
  // The low byte alone. kept: docs/compatibility.md
  const unsigned count = directory[ata::kLogDeviceStatistics * ata::kDirectoryEntrySize];
  Log(LOG_LEVEL_DEBUG, "%s - Log pages for device statistics = %u", operation, count);
  if (count < kStatisticsPages) {
    logText(LOG_LEVEL_ERROR, operation,
            "Log pages for device statistics is less than 8, aborting read");
    return false;
  }
  return true;
}

/// Takes the percentage from the Solid State page, whatever its flags say.
bool takePercentage(const char* operation, const std::uint8_t* page, SsdValues& values) {
  using namespace ata::statistics;
  if (page[kPageNumberOffset] != kSolidStatePage) {
    Log(LOG_LEVEL_ERROR, "%s - SSD Device Statistics log page not 07, aborting read", operation);
    return false;
  }
  logText(LOG_LEVEL_TRACE, operation,
          "SSD Device Statistics log page is 07 - confidence good that it is populated correctly");
  const std::uint8_t flags = page[kPercentageUsedFlagsOffset];
  Log(LOG_LEVEL_TRACE, "%s - SSD Device Statistics Flags: %s %s %s", operation,
      (flags & kFlagSupported) != 0 ? "supported" : "", (flags & kFlagValid) != 0 ? "valid" : "",
      (flags & kFlagNormalized) != 0 ? "normalized" : "");
  values.percentageUsed = page[kPercentageUsedOffset];  // kept: docs/compatibility.md
  values.isStandardStatistic = (flags & kFlagSupported) != 0 && (flags & kFlagValid) != 0 &&
                               values.percentageUsed != kPercentageUnknown;
  return true;
}

}  // namespace

bool SmartIo::getSsdDeviceStatisticsLogDataAtaSmart(const std::string& path, SsdValues& values) {
  const char* const operation = "SmartIo::getSsdDeviceStatisticsLogDataAtaSmart";
  const Buffer directory = zeroedBuffer(ata::kSectorSize);
  if (directory == nullptr) {
    return false;
  }
  if (!getSmartLogDataAtaSmart(path, ata::kLogDirectory, directory.get(), 1)) {
    return noDirectory(operation);
  }
  if (!listsSolidStatePage(operation, directory.get())) {
    return false;
  }
  // SMART READ LOG always starts at page 0.
  const Buffer pages = statisticsBuffer(operation, kStatisticsPages * ata::kSectorSize);
  if (pages == nullptr) {
    return false;
  }
  if (!getSmartLogDataAtaSmart(path, ata::kLogDeviceStatistics, pages.get(), kStatisticsPages)) {
    return noStatistics(operation);
  }
  // Page 0 under the label of page 7. kept: docs/compatibility.md
  dumpSmartLogPage(pages.get(), ata::kLogDeviceStatistics, ata::statistics::kSolidStatePage);
  return takePercentage(operation,
                        pages.get() + ata::statistics::kSolidStatePage * ata::kSectorSize, values);
}

bool SmartIo::getSsdDeviceStatisticsLogDataSpt(const std::string& path, SsdValues& values) {
  const char* const operation = "SmartIo::getSsdDeviceStatisticsLogDataSpt";
  const Buffer directory = zeroedBuffer(ata::kSectorSize);
  if (directory == nullptr) {
    Log(LOG_LEVEL_ERROR, "%s - failed to allocate buffer err = 0x%08x", operation, lastError());
    return false;
  }
  if (!getSmartLogDataSpt(path, ata::kLogDirectory, directory.get(), 0)) {
    return noDirectory(operation);
  }
  if (!listsSolidStatePage(operation, directory.get())) {
    return false;
  }
  const Buffer page = statisticsBuffer(operation, ata::kSectorSize);
  if (page == nullptr) {
    return false;
  }
  if (!getSmartLogDataSpt(path, ata::kLogDeviceStatistics, page.get(),
                          ata::statistics::kSolidStatePage)) {
    return noStatistics(operation);
  }
  dumpSmartLogPage(page.get(), ata::kLogDeviceStatistics, ata::statistics::kSolidStatePage);
  return takePercentage(operation, page.get(), values);
}

bool SmartIo::getSsdDeviceStatisticsLogData(const std::string& path, SsdValues& values) {
  if (Config::GetInstance()->getSptLogAccess() != 0) {
    LogQuick(LOG_LEVEL_TRACE,
             "SmartIo::getSsdDeviceStatisticsLogData - selecting SCSI Pass Thru method");
    return getSsdDeviceStatisticsLogDataSpt(path, values);
  }
  LogQuick(LOG_LEVEL_TRACE,
           "SmartIo::getSsdDeviceStatisticsLogData - selecting ATA SMART Pass Thru method");
  return getSsdDeviceStatisticsLogDataAtaSmart(path, values);
}
