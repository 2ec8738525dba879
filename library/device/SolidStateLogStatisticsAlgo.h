#pragma once

#include "device/SsdAlgorithm.h"

/// Percentage from the ATA Device Statistics log, hours from SMART attribute 9. A drive whose
/// statistics can't be read still has hours; its percentage is 255.
class SolidStateLogStatisticsAlgo : public SsdAlgorithm {
 public:
  bool getSsdValues(const std::string& path, SsdValues& values) override;
  [[nodiscard]] std::uint8_t getPercentageUsedSource() override { return STANDARD_STATISTIC; }
};
