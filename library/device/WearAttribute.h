#pragma once

#include <cstdint>
#include <optional>

#include "device/SsdValues.h"

/// How one value of a SMART attribute tells the wear.
struct WearValue {
  enum class Field : std::uint8_t { kCurrent, kRaw };
  enum class Counts : std::uint8_t { kUsed, kLeft };

  Field field = Field::kCurrent;
  Counts counts = Counts::kUsed;
  std::uint8_t firstByte = 0;  ///< of a raw value: these bytes, the first one least significant
  std::uint8_t lastByte = 5;
  std::uint32_t multiplier = 1;  ///< times this and
  std::uint32_t divisor = 1;     ///< over this, it is a percentage; neither is 0
};

/// Where the drives of one model keep their wear.
struct WearAttribute {
  std::uint8_t id = 0;
  WearValue value;
  std::optional<WearValue> twin;  ///< tells the same; believed only as long as both agree
  bool beforeStatistics = false;  ///< counts even if the drive has the standard statistic
};

/// What an attribute tells of the wear, or why nothing.
struct WearReading {
  enum class Outcome : std::uint8_t { kTold, kMissing, kOutOfRange, kDisagreeing };

  Outcome outcome = Outcome::kMissing;
  std::uint8_t percentageUsed = kPercentageUnknown;  ///< 0 to 100 when told
  SsdAttr attribute;                                 ///< as read, unless missing
};

/// The first attribute with this id, or null.
[[nodiscard]] const SsdAttr* findAttribute(const SsdValues& values, std::uint8_t id);

/// Reads the wear from the attributes of `values`. A percentage is never guessed: what lies outside
/// 0 to 100 is out of range, and so is a normalised value of 0 that counts what is left, unless the
/// twin says the same: normalised values begin at 1 (SFF-8035i), and 0 is what some drives put into
/// an attribute that they don't keep.
[[nodiscard]] WearReading readWear(const WearAttribute& wear, const SsdValues& values);
