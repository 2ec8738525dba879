#pragma once

#include <cstdint>

/// The system calls of one reading and nothing else: what any program has to pay that reads such a
/// drive in this way. Requests are made ready, no buffer is cleared, nothing is locked or logged.
namespace bench {

struct Reading {
  std::uint8_t percentageUsed = 0;
  std::uint64_t poweredOnHours = 0;
};

/// Opens, marks and asks an NVMe controller for its health log.
[[nodiscard]] Reading readNvmeBare(const char* node);
/// Asks a SATA drive for its SMART data, in which SanDisk drives have both values.
[[nodiscard]] Reading readSanDiskBare(const char* node);
/// Asks a SATA drive for its log directory and its Solid State statistics page through SCSI/ATA
/// translation, then for its SMART data. The node is opened and closed for each.
[[nodiscard]] Reading readStatisticsBare(const char* node);

/// How many requests these make.
constexpr std::uint64_t kNvmeRequests = 1;
constexpr std::uint64_t kSanDiskRequests = 1;
constexpr std::uint64_t kStatisticsRequests = 3;

}  // namespace bench
