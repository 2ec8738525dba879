#include "provider/KAV_SSDLifeMonitor.h"

#include <cmpi/cmpimacs.h>

#include "provider/CimNames.h"
#include "provider/CmpiUtils.h"

CMPIObjectPath* KAV_SSDLifeMonitor::getObjectPath(const CMPIBroker* broker) const {
  CMPIObjectPath* path = Utils::MakeNewObjectPath(broker, kCimNamespace, kInstanceClass);
  (void)CMAddKey(path, kDeviceIdProperty, reinterpret_cast<const CMPIValue*>(DeviceID.c_str()),
                 CMPI_chars);
  return path;
}

CMPIInstance* KAV_SSDLifeMonitor::getInstance(const CMPIBroker* broker) const {
  CMPIInstance* instance = Utils::MakeNewInstance(broker, getObjectPath(broker));
  Utils::SetCharsProperty(instance, "Caption", Caption.c_str());
  Utils::SetCharsProperty(instance, "CreationClassName", kInstanceClass);
  Utils::SetCharsProperty(instance, "Description", Description.c_str());
  Utils::SetCharsProperty(instance, kDeviceIdProperty, DeviceID.c_str());
  Utils::SetCharsProperty(instance, "DriveFirmwareVersion", DriveFirmwareVersion.c_str());
  Utils::SetCharsProperty(instance, "DriveModel", DriveModel.c_str());
  Utils::SetCharsProperty(instance, "DriveSerialNumber", DriveSerialNumber.c_str());
  Utils::SetCharsProperty(instance, "PhysicalDrive", PhysicalDrive.c_str());
  // Once more. kept: docs/compatibility.md
  Utils::SetCharsProperty(instance, kDeviceIdProperty, DeviceID.c_str());
  Utils::SetUint16Property(instance, "PoweredOnHours", PoweredOnHours);
  Utils::SetUint8Property(instance, "PercentageUsed", PercentageUsed);
  Utils::SetUint8Property(instance, "PercentageUsedSource", PercentageUsedSource);
  Utils::SetBooleanProperty(instance, "FailureImminent", FailureImminent);
  Utils::SetCharsProperty(instance, "SystemCreationClassName", "Computer System");
  Utils::SetCharsProperty(instance, "SystemName", "Norvane POS SSD Life Monitor Drivers");
  return instance;
}
