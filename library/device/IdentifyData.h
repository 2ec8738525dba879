#pragma once

#include <cstdint>
#include <string>

/// Who filled an IdentifyData; the values are bits.
enum IdentifySource : std::uint32_t {
  IDENTIFIED_BY_NVME = 1,
  IDENTIFIED_BY_ATA = 2,
};

/// What a drive says of itself.
struct IdentifyData {
  bool nonRotating = false;           ///< the medium doesn't rotate; asked of ATA drives only
  std::uint32_t ataMajorVersion = 0;  ///< ATA identify word 80
  std::string serialNumber;           ///< blanks at the ends trimmed, as in the next two
  std::string model;
  std::string firmwareVersion;
  std::int32_t namespaceId = -1;     ///< NVMe namespace of the node; -1: none, a controller
  std::uint32_t identifySource = 0;  ///< bits of IdentifySource
};
