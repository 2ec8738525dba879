#pragma once

#include <cstdint>
#include <vector>

/// The percentage used of a drive that doesn't tell it.
constexpr std::uint8_t kPercentageUnknown = 255;

/// One SMART attribute.
struct SsdAttr {
  std::uint8_t index = 0;    ///< attribute id
  std::uint16_t flags = 0;   ///< status flags
  std::uint8_t current = 0;  ///< normalised value
  std::uint8_t worst = 0;    ///< the lowest normalised value so far
  std::uint64_t raw = 0;     ///< 48 bits
};

/// One reading of a drive.
struct SsdValues {
  std::uint8_t percentageUsed = 0;  ///< of the rated life; may exceed 100; 255: not available
  std::uint64_t poweredOnHours = 0;
  std::vector<SsdAttr> attributes;   ///< in the drive's order; readers append
  bool traceAttributes = false;      ///< log every attribute read
  bool isStandardStatistic = false;  ///< the percentage is one that the drive calls valid
};
