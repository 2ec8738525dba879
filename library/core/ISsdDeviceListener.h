#pragma once

class SsdDevice;

/// Whom a device tells that it is about to fail.
class ISsdDeviceListener {
 public:
  virtual ~ISsdDeviceListener() = default;
  /// Called on the thread that read the drive.
  virtual void SsdDeviceFailureImminent(SsdDevice& device) = 0;
};
