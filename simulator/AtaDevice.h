#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "simulator/Bytes.h"
#include "simulator/SatSense.h"
#include "simulator/Wear.h"

namespace simulator {

// One entry of the SMART attribute table.
struct SmartAttribute {
  std::uint8_t id = 0;
  std::uint16_t flags = 0x0032;
  std::uint8_t current = 100;
  bool currentIsWear = false;  // the current value is the percentage of life used
  std::uint8_t worst = 100;
  std::uint64_t raw = 0;  // 48 bits
  std::uint8_t reserved = 0;
};

struct DeviceStatistics {
  std::uint16_t pages = 8;      // as the log directories say
  std::uint8_t pageNumber = 7;  // what page 7 calls itself
  std::uint8_t flags = 0xe0;
};

// What there is to know about an ATA drive. Bytes under raw... replace what would be made up.
struct AtaDescription {
  std::string node;
  std::string model;
  std::string serial;
  std::string firmware;
  std::uint16_t rotation = 1;
  std::uint16_t majorVersion = 0x0ff0;
  std::uint32_t gigabytes = 64;

  bool smart = true;
  bool generalPurposeLogs = true;  // READ LOG EXT
  bool smartLogs = true;           // SMART READ LOG
  std::vector<SmartAttribute> attributes;
  std::optional<DeviceStatistics> statistics;
  std::uint64_t hours = 0;
  Wear wear = Wear::constant(0);

  Bytes rawIdentify;  // texts in reading order
  Bytes rawSmartData;
  std::map<std::uint8_t, Bytes> rawGeneralPurposeLogs;  // by log address
  std::map<std::uint8_t, Bytes> rawSmartLogs;
};

// The registers that a command sets.
struct AtaCommand {
  std::uint8_t command = 0;
  std::uint8_t feature = 0;
  std::uint16_t count = 0;
  std::uint64_t lba = 0;
};

struct AtaAnswer {
  AtaResult result;
  Bytes data;
};

// The drive's own side of the cable: takes commands, moves data, leaves registers. Any number of
// threads may execute commands at once.
class AtaDevice {
 public:
  explicit AtaDevice(AtaDescription description);

  // seconds: simulated time, which may move the drive's wear.
  AtaAnswer execute(const AtaCommand& command, double seconds);

  // The identify data as the drive sends it: in texts the two bytes of each word are exchanged.
  [[nodiscard]] const Bytes& identify() const { return identify_; }

 private:
  [[nodiscard]] Bytes makeIdentify() const;
  [[nodiscard]] Bytes makeLogDirectory(bool generalPurpose) const;
  [[nodiscard]] Bytes makeStatisticsPage(std::uint16_t page, std::uint8_t percent) const;
  Bytes makeSmartData(double seconds);
  std::optional<Bytes> smart(const AtaCommand& command, double seconds, AtaResult& result);
  std::optional<Bytes> readSmartLog(std::uint8_t log, std::uint16_t count, double seconds);
  std::optional<Bytes> readLogExt(const AtaCommand& command, double seconds);
  std::optional<Bytes> statistics(std::uint16_t page, std::uint16_t count, double seconds);

  const AtaDescription description_;
  const Bytes identify_;
  std::atomic<std::uint64_t> statisticsReadings_{0};
  std::atomic<std::uint64_t> smartReadings_{0};
};

}  // namespace simulator
