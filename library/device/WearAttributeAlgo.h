#pragma once

#include "device/SsdAlgorithm.h"
#include "device/WearAttribute.h"

/// Percentage from the SMART attribute that a row of the models file names, hours from attribute 9.
/// For one drive: it says once, and not at every reading, that the drive doesn't fit its row. One
/// thread at a time may read.
class WearAttributeAlgo : public SsdAlgorithm {
 public:
  explicit WearAttributeAlgo(const WearAttribute& wear) : wear_(wear) {}

  bool getSsdValues(const std::string& path, SsdValues& values) override;
  [[nodiscard]] std::uint8_t getPercentageUsedSource() override { return VENDOR_ATTRIBUTE; }

 private:
  void report(const std::string& path, const WearReading& reading);

  const WearAttribute wear_;
  bool reported_ = false;  ///< that the drive doesn't fit
};
