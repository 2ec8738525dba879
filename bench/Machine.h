#pragma once

#include <cstdint>
#include <string>

/// The machine that measured code sees instead of the real one, in every program linked with this.
///
/// Its drives are null devices: open, fcntl, ioctl and close on them enter the kernel exactly as
/// they would for a drive and cost what a system call costs at least; an ioctl then copies a
/// prepared answer, always the same. Nothing about a node is cheaper, so what a reading costs
/// beyond these calls is what the code around them costs.
///
/// A process has `VEKSSD_BENCH_DRIVES` SATA drives (1 if unset), all with Device Statistics, and
/// any NVMe node can be opened. Its configuration and log file are private to the process.
namespace bench {

/// What the drives answer.
constexpr std::uint8_t kStatisticsPercentage = 42;
constexpr std::uint8_t kSanDiskPercentage = 37;
constexpr std::uint8_t kNvmePercentage = 17;
constexpr std::uint64_t kPowerOnHours = 12345;
constexpr char kModel[] = "Vantor VX210 SSD 256GB";
constexpr char kSerialNumber[] = "VX21C0FFEE0042";
constexpr char kFirmware[] = "2.1.7";

/// How many SATA drives the machine has.
[[nodiscard]] unsigned driveCount();

/// The kernel's name of the SATA drive at `index`: sda ... sdz, sdaa ...
[[nodiscard]] std::string driveName(unsigned index);

/// Where the library writes its log.
[[nodiscard]] const std::string& logPath();

/// How many requests drives have answered to this thread.
[[nodiscard]] std::uint64_t answeredRequests();

/// Ends the process at once: polling threads, which take up to a second each to stop, are not
/// waited for. Removes the machine's files.
[[noreturn]] void leave(int exitCode);

}  // namespace bench
