#pragma once

#include <cstdint>
#include <string>

#include "device/IdentifyData.h"
#include "device/SsdValues.h"

/// Asks a drive one question each. Every operation that takes a path opens that node, issues its
/// commands and closes the node; nothing is kept between calls, so any thread may call any of them.
/// A false result means that the drive gave no usable answer: the reason has been logged, `errno`
/// holds it, and what was to be filled is as it was, unless said otherwise.
class SmartIo {
 public:
  SmartIo() = delete;

  // ATA identify (AtaIdentify.cpp)

  /// Fills `identify` from IDENTIFY DEVICE data as the kernel keeps it.
  static bool getIdentifyData(const std::string& path, IdentifyData& identify);
  /// Whether " SSD " stands in the model text, whatever the letter case. Only ever logged.
  static bool isSsdHeuristic(const std::string& model);

  // ATA SMART by drive command (AtaSmart.cpp)

  /// SMART ENABLE OPERATIONS.
  static bool smartEnable(const std::string& path);
  /// SMART READ DATA: copies the 512-byte sector to `buffer`. False for a `length` below 512.
  static bool getSsdSmartValues(const std::string& path, std::uint8_t* buffer,
                                std::uint32_t length);
  /// SMART READ DATA: appends the attributes to `values` and takes its powered-on hours from
  /// attribute 9.
  static bool getSsdSmartValues(const std::string& path, SsdValues& values);
  /// SMART READ LOG: copies `sectorCount` sectors, 8 at most, of 512 bytes to `buffer`.
  static bool getSmartLogDataAtaSmart(const std::string& path, std::uint8_t logAddress,
                                      std::uint8_t* buffer, std::uint32_t sectorCount);

  // ATA log pages through SCSI/ATA translation (SatPassThrough.cpp)

  /// READ LOG EXT: copies page `pageNumber` (its low byte is sent) to `buffer` of 512 bytes.
  static bool getSmartLogDataSpt(const std::string& path, std::uint8_t logAddress,
                                 std::uint8_t* buffer, std::uint32_t pageNumber);

  // ATA Device Statistics, page 7 (DeviceStatistics.cpp)

  /// Sets the percentage used, read on the road that the configuration chooses.
  static bool getSsdDeviceStatisticsLogData(const std::string& path, SsdValues& values);
  /// The same, read by drive command.
  static bool getSsdDeviceStatisticsLogDataAtaSmart(const std::string& path, SsdValues& values);
  /// The same, read through SCSI/ATA translation.
  static bool getSsdDeviceStatisticsLogDataSpt(const std::string& path, SsdValues& values);

  // NVMe admin commands (NvmeAdmin.cpp)

  /// Identify with the given CNS into `buffer` of `length` bytes, cleared first. Leaves `fd` open.
  static bool nvme_read_identify(int fd, std::uint32_t namespaceId, std::uint8_t cns,
                                 std::uint8_t* buffer, std::uint32_t length);
  /// Get Log Page into `buffer` of `length` bytes (a multiple of 4), cleared first. Closes `fd` on
  /// success, and only then.
  static bool nvme_read_log_page(int fd, std::uint8_t logIdentifier, std::uint8_t* buffer,
                                 std::uint32_t length);
  /// Sets percentage used and powered-on hours from the health log. A node that fails stays open.
  static bool nvme_read_smart_log(const std::string& path, SsdValues& values);
  /// Fills `identify` from Identify Controller data; its namespace id even when that fails later. A
  /// node that fails stays open.
  static bool getIdentifyNVMeData(const std::string& path, IdentifyData& identify);

  // Log page dumps, for the drive makers' support (LogPageDump.cpp)

  /// Dumps the 512 bytes at `buffer` when the configuration asks for it.
  static void dumpSmartLogPage(const std::uint8_t* buffer, std::uint32_t logNumber,
                               std::uint32_t pageNumber);
  /// Logs the 512 bytes at `buffer` in hexadecimal.
  static void dumpSector(const std::uint8_t* buffer);
};
