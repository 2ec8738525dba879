#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// What the core tells of one SSD.
struct SsdInformation {
  std::string model;
  std::string serialNumber;
  std::string physicalDrive;  ///< the kernel's name: "sda", "nvme0"
  std::string firmwareVersion;
  std::uint64_t poweredOnHours = 0;
  std::uint8_t percentageUsed = 0;        ///< of the rated life; may exceed 100; 255: unknown
  std::uint8_t percentageUsedSource = 0;  ///< a PercentageUsedSource
  bool failureImminent = false;           ///< the percentage is known and above the threshold
};

/// One record per SSD, in the order of discovery. The core appends and never clears.
using SsdInformationList = std::vector<SsdInformation>;
