#pragma once

#include "device/SsdAlgorithm.h"

/// Percentage from the normalised value of SMART attribute 230, hours from attribute 9.
class SanDiskAlgo : public SsdAlgorithm {
 public:
  bool getSsdValues(const std::string& path, SsdValues& values) override;
  [[nodiscard]] std::uint8_t getPercentageUsedSource() override { return VENDOR_ATTRIBUTE; }
};
