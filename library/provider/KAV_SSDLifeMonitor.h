#pragma once

#include <cstdint>
#include <string>

#include <cmpi/cmpidt.h>
#include <cmpi/cmpift.h>

/// One instance of the CIM class of this name: an SSD as clients see it. A plain value; the fields
/// bear the names of the CIM properties that they feed.
class KAV_SSDLifeMonitor {
 public:
  virtual ~KAV_SSDLifeMonitor() = default;
  KAV_SSDLifeMonitor() = default;
  KAV_SSDLifeMonitor(const KAV_SSDLifeMonitor&) = default;
  KAV_SSDLifeMonitor(KAV_SSDLifeMonitor&&) = default;
  KAV_SSDLifeMonitor& operator=(const KAV_SSDLifeMonitor&) = default;
  KAV_SSDLifeMonitor& operator=(KAV_SSDLifeMonitor&&) = default;

  void setCaption(const std::string& value) { Caption = value; }
  void setDescription(const std::string& value) { Description = value; }
  void setDeviceID(const std::string& value) { DeviceID = value; }
  void setDriveFirmwareVersion(const std::string& value) { DriveFirmwareVersion = value; }
  void setDriveModel(const std::string& value) { DriveModel = value; }
  void setDriveSerialNumber(const std::string& value) { DriveSerialNumber = value; }
  void setPhysicalDrive(const std::string& value) { PhysicalDrive = value; }
  void setPoweredOnHours(std::uint64_t value) { PoweredOnHours = value; }
  void setPercentageUsed(std::uint8_t value) { PercentageUsed = value; }
  void setPercentageUsedSource(std::uint8_t value) { PercentageUsedSource = value; }
  void setFailureImminent(bool value) { FailureImminent = value; }

  /// The key; valid until the object changes or goes.
  [[nodiscard]] const char* getDeviceID() const { return DeviceID.c_str(); }

  /// Whether this is exactly the key, byte for byte; a drive's texts may hold zero bytes.
  [[nodiscard]] bool hasDeviceID(const std::string& value) const { return DeviceID == value; }

  /// A new object path with the key. Throws CMPIStatus when the broker fails.
  [[nodiscard]] CMPIObjectPath* getObjectPath(const CMPIBroker* broker) const;

  /// A new instance with all properties. Throws CMPIStatus when the broker fails.
  [[nodiscard]] CMPIInstance* getInstance(const CMPIBroker* broker) const;

 private:
  std::string Caption;
  std::string Description;
  std::string DeviceID;
  std::string DriveFirmwareVersion;
  std::string DriveModel;
  std::string DriveSerialNumber;
  std::string PhysicalDrive;
  std::uint64_t PoweredOnHours = 0;
  std::uint8_t PercentageUsed = 0;
  std::uint8_t PercentageUsedSource = 0;
  bool FailureImminent = false;
};
