#pragma once

#include <cstdint>
#include <string>

#include "device/SsdValues.h"

/// Where a percentage used comes from; published with every reading.
enum PercentageUsedSource : std::uint8_t {
  STANDARD_STATISTIC = 2,  ///< ATA Device Statistics or the NVMe health log
  VENDOR_ATTRIBUTE = 3,    ///< a SMART attribute of the drive's maker
};

/// How the wear of one kind of drive is read. Has no state; any thread may call.
class SsdAlgorithm {
 public:
  virtual ~SsdAlgorithm() = default;

  /// Reads the drive at `path` into fresh `values`. True if their percentage used (255: not
  /// available) and powered-on hours are to be published.
  virtual bool getSsdValues(const std::string& path, SsdValues& values) = 0;

  /// Where this algorithm's percentage comes from.
  [[nodiscard]] virtual std::uint8_t getPercentageUsedSource() = 0;

 protected:
  SsdAlgorithm() = default;
  SsdAlgorithm(const SsdAlgorithm&) = default;
  SsdAlgorithm& operator=(const SsdAlgorithm&) = default;
};
