#pragma once

#include <cstdint>
#include <string>

/// Whoever wants to know that an SSD is about to fail.
class ISsdListener {
 public:
  /// Called on the thread that read the drive: a polling thread, or one that asked the core for its
  /// list. Must not call back into the registration of listeners.
  virtual void SsdFailureImminent(std::string model, std::string serialNumber,
                                  std::string physicalDrive, std::uint8_t percentageUsed) = 0;
  virtual ~ISsdListener() = default;
};
