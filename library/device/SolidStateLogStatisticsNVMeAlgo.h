#pragma once

#include "device/SsdAlgorithm.h"

/// Percentage and hours from the NVMe health log. Always gives a reading: a drive that can't be
/// read shows the values that it was given, 0 and 0.
class SolidStateLogStatisticsNVMeAlgo : public SsdAlgorithm {
 public:
  bool getSsdValues(const std::string& path, SsdValues& values) override;
  [[nodiscard]] std::uint8_t getPercentageUsedSource() override { return STANDARD_STATISTIC; }
};
