#include <cerrno>
#include <memory>
#include <new>
#include <optional>

#include "config/Config.h"
#include "device/AtaFormat.h"
#include "device/Bytes.h"
#include "device/SmartIo.h"
#include "log/Log.h"

namespace {

using Buffer = std::unique_ptr<std::uint8_t[]>;

/// What the two roads to the Device Statistics log don't share.
struct Road {
  const char* operation;    ///< begins every message
  const char* tooFewPages;  ///< the two messages without arguments, whole: logged as they stand
  const char* pageConfirmed;
  bool (*readDirectory)(const std::string& path, std::uint8_t* buffer);
  bool (*readStatistics)(const std::string& path, std::uint8_t* buffer);
  std::size_t statisticsLength;      ///< of what readStatistics fills
  std::size_t solidStatePageOffset;  ///< of page 7 in it
  bool reportsMissingDirectoryBuffer;
};

constexpr std::uint32_t kStatisticsPages = ata::statistics::kSolidStatePage + 1;
constexpr std::size_t kStatisticsLength = kStatisticsPages * ata::kSectorSize;
constexpr std::size_t kSolidStatePageOffset = ata::statistics::kSolidStatePage * ata::kSectorSize;

constexpr Road kDriveCommandRoad = {
    "SmartIo::getSsdDeviceStatisticsLogDataAtaSmart",
    "SmartIo::getSsdDeviceStatisticsLogDataAtaSmart - Log pages for device statistics is less "
    "than 8, aborting read",
    "SmartIo::getSsdDeviceStatisticsLogDataAtaSmart - SSD Device Statistics log page is 07 - "
    "confidence good that it is populated correctly",
    [](const std::string& path, std::uint8_t* buffer) {
      return SmartIo::getSmartLogDataAtaSmart(path, ata::kLogDirectory, buffer, 1);
    },
    // SMART READ LOG always starts at page 0.
    [](const std::string& path, std::uint8_t* buffer) {
      return SmartIo::getSmartLogDataAtaSmart(path, ata::kLogDeviceStatistics, buffer,
                                              kStatisticsPages);
    },
    kStatisticsLength,
    kSolidStatePageOffset,
    false,
};

constexpr Road kScsiRoad = {
    "SmartIo::getSsdDeviceStatisticsLogDataSpt",
    "SmartIo::getSsdDeviceStatisticsLogDataSpt - Log pages for device statistics is less "
    "than 8, aborting read",
    "SmartIo::getSsdDeviceStatisticsLogDataSpt - SSD Device Statistics log page is 07 - "
    "confidence good that it is populated correctly",
    [](const std::string& path, std::uint8_t* buffer) {
      return SmartIo::getSmartLogDataSpt(path, ata::kLogDirectory, buffer, 0);
    },
    [](const std::string& path, std::uint8_t* buffer) {
      return SmartIo::getSmartLogDataSpt(path, ata::kLogDeviceStatistics, buffer,
                                         ata::statistics::kSolidStatePage);
    },
    ata::kSectorSize,
    0,
    true,
};

Buffer zeroedBuffer(std::size_t length) {
  return Buffer(new (std::nothrow) std::uint8_t[length]());
}

unsigned lastError() { return static_cast<unsigned>(errno); }

/// Reads the log directory and gives the page count of the Device Statistics log. Only the
/// low byte of a directory word is taken as the count.
std::optional<unsigned> readPageCount(const Road& road, const std::string& path) {
  const Buffer directory = zeroedBuffer(ata::kSectorSize);
  if (directory == nullptr) {
    if (road.reportsMissingDirectoryBuffer) {
      Log(LOG_LEVEL_ERROR, "%s - failed to allocate buffer err = 0x%08x", road.operation,
          lastError());
    }
    return std::nullopt;
  }
  if (!road.readDirectory(path, directory.get())) {
    Log(LOG_LEVEL_ERROR, "%s - failed to get log directory, err=0x%08x", road.operation,
        lastError());
    return std::nullopt;
  }
  constexpr int kListedLogs = 15;
  Log(LOG_LEVEL_DEBUG, "%s - SMART Logging version = %hu", road.operation,
      bytes::littleEndian16(directory.get(), 0));
  for (int address = 1; address <= kListedLogs; ++address) {
    Log(LOG_LEVEL_DEBUG, "num pages at addr %d is %d", address,
        directory[static_cast<std::size_t>(address) * ata::kDirectoryEntrySize]);
  }
  const unsigned count = directory[ata::kLogDeviceStatistics * ata::kDirectoryEntrySize];
  Log(LOG_LEVEL_DEBUG, "%s - Log pages for device statistics = %u", road.operation, count);
  return count;
}

/// Takes the percentage from the Solid State page. The flags are only logged: drives are known that
/// leave "valid" clear on a good value.
bool takePercentage(const Road& road, const std::uint8_t* page, SsdValues& values) {
  using namespace ata::statistics;
  if (page[kPageNumberOffset] != kSolidStatePage) {
    Log(LOG_LEVEL_ERROR, "%s - SSD Device Statistics log page not 07, aborting read",
        road.operation);
    return false;
  }
  LogQuick(LOG_LEVEL_TRACE, road.pageConfirmed);
  const std::uint8_t flags = page[kPercentageUsedFlagsOffset];
  Log(LOG_LEVEL_TRACE, "%s - SSD Device Statistics Flags: %s %s %s", road.operation,
      (flags & kFlagSupported) != 0 ? "supported" : "", (flags & kFlagValid) != 0 ? "valid" : "",
      (flags & kFlagNormalized) != 0 ? "normalized" : "");
  values.percentageUsed = page[kPercentageUsedOffset];
  values.isStandardStatistic = (flags & kFlagSupported) != 0 && (flags & kFlagValid) != 0 &&
                               values.percentageUsed != kPercentageUnknown;
  return true;
}

bool readPercentage(const Road& road, const std::string& path, SsdValues& values) {
  const std::optional<unsigned> pageCount = readPageCount(road, path);
  if (!pageCount) {
    return false;
  }
  if (*pageCount < kStatisticsPages) {
    LogQuick(LOG_LEVEL_ERROR, road.tooFewPages);
    return false;
  }
  const Buffer statistics = zeroedBuffer(road.statisticsLength);
  if (statistics == nullptr) {
    Log(LOG_LEVEL_ERROR,
        "%s - failed to allocate buffer for device stats log data, err=0x%08x, aborting read",
        road.operation, lastError());
    return false;
  }
  if (!road.readStatistics(path, statistics.get())) {
    Log(LOG_LEVEL_ERROR, "%s - failed to get device stats log, err=0x%08x, aborting read",
        road.operation, lastError());
    return false;
  }
  // Shows the start of the buffer: on the drive-command road that is page 0, under page 7's label.
  SmartIo::dumpSmartLogPage(statistics.get(), ata::kLogDeviceStatistics,
                            ata::statistics::kSolidStatePage);
  return takePercentage(road, statistics.get() + road.solidStatePageOffset, values);
}

}  // namespace

bool SmartIo::getSsdDeviceStatisticsLogDataAtaSmart(const std::string& path, SsdValues& values) {
  return readPercentage(kDriveCommandRoad, path, values);
}

bool SmartIo::getSsdDeviceStatisticsLogDataSpt(const std::string& path, SsdValues& values) {
  return readPercentage(kScsiRoad, path, values);
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
