#include "provider/KAV_SSDLifeMonitor.h"

#include <memory>
#include <type_traits>

#include "tests/provider/ProviderFixture.h"

namespace {

class LifeMonitor : public ProviderTest {
 protected:
  /// The monitor that shows `drive`.
  static KAV_SSDLifeMonitor of(const SsdInformation& drive) {
    const std::string id = drive.model + "___" + drive.serialNumber + "___" + drive.physicalDrive;
    KAV_SSDLifeMonitor monitor;
    monitor.setCaption("SSD Life Monitor (" + id + ")");
    monitor.setDescription("Lifecycle information for Solid State Disk: " + drive.model +
                           " with Serial Number " + drive.serialNumber +
                           " on Linux Physical Drive " + drive.physicalDrive);
    monitor.setDeviceID(id);
    monitor.setDriveFirmwareVersion(drive.firmwareVersion);
    monitor.setDriveModel(drive.model);
    monitor.setDriveSerialNumber(drive.serialNumber);
    monitor.setPhysicalDrive(drive.physicalDrive);
    monitor.setPoweredOnHours(drive.poweredOnHours);
    monitor.setPercentageUsed(drive.percentageUsed);
    monitor.setPercentageUsedSource(drive.percentageUsedSource);
    monitor.setFailureImminent(drive.failureImminent);
    return monitor;
  }
};

TEST_F(LifeMonitor, IsAPlainValueWithAVirtualDestructor) {
  EXPECT_TRUE(std::has_virtual_destructor_v<KAV_SSDLifeMonitor>);
  EXPECT_TRUE(std::is_copy_constructible_v<KAV_SSDLifeMonitor>);
  EXPECT_TRUE(std::is_copy_assignable_v<KAV_SSDLifeMonitor>);

  KAV_SSDLifeMonitor original = of(drive('A', "sda"));
  const KAV_SSDLifeMonitor copy = original;
  original.setDeviceID("changed");
  EXPECT_STREQ(copy.getDeviceID(), kModelAId);
  EXPECT_STREQ(original.getDeviceID(), "changed");
}

TEST_F(LifeMonitor, MakesItsPathInTheNamespaceWithTheIdentifierAsItsOnlyKey) {
  const KAV_SSDLifeMonitor monitor = of(drive('A', "sda"));
  const CMPIObjectPath* path = nullptr;
  EXPECT_EQ(events::during([&] { path = monitor.getObjectPath(broker.cmpi()); }),
            lines({"broker: newObjectPath(root/cimv2, KAV_SSDLifeMonitor) = path1",
                   "broker: path1.addKey(DeviceID, chars \"Model A___Serial A___sda\")"}));
  EXPECT_EQ(path, broker.address("path1"));
}

TEST_F(LifeMonitor, MakesAPathWithAnEmptyKeyWhenItHasNoIdentifier) {
  const KAV_SSDLifeMonitor monitor;
  EXPECT_STREQ(monitor.getDeviceID(), "");
  EXPECT_EQ(events::during([&] { (void)monitor.getObjectPath(broker.cmpi()); }),
            lines({"broker: newObjectPath(root/cimv2, KAV_SSDLifeMonitor) = path1",
                   "broker: path1.addKey(DeviceID, chars \"\")"}));
}

TEST_F(LifeMonitor, DoesNotMindAKeyThatCantBeAdded) {
  const KAV_SSDLifeMonitor monitor = of(drive('A', "sda"));
  broker.fail("addKey", 1, CMPI_RC_ERR_FAILED, "no");
  const CMPIObjectPath* path = nullptr;
  EXPECT_EQ(events::during([&] { path = monitor.getObjectPath(broker.cmpi()); }),
            pathCalls(drive('A', "sda"), 1));
  EXPECT_EQ(path, broker.address("path1"));
}

TEST_F(LifeMonitor, SetsItsFifteenPropertiesInOrderTheIdentifierTwice) {
  SsdInformation worn = drive('A', "sda");
  worn.poweredOnHours = 0x8000000000000001U;
  worn.percentageUsed = 255;
  worn.percentageUsedSource = 3;
  worn.failureImminent = true;
  const KAV_SSDLifeMonitor monitor = of(worn);
  const CMPIInstance* instance = nullptr;
  EXPECT_EQ(events::during([&] { instance = monitor.getInstance(broker.cmpi()); }),
            lines({
                "broker: newObjectPath(root/cimv2, KAV_SSDLifeMonitor) = path1",
                "broker: path1.addKey(DeviceID, chars \"Model A___Serial A___sda\")",
                "broker: newInstance(path1) = instance1",
                "broker: instance1.setProperty(Caption, chars \"SSD Life Monitor (Model "
                "A___Serial A___sda)\")",
                "broker: instance1.setProperty(CreationClassName, chars \"KAV_SSDLifeMonitor\")",
                "broker: instance1.setProperty(Description, chars \"Lifecycle information for "
                "Solid State Disk: Model A with Serial Number Serial A on Linux Physical Drive "
                "sda\")",
                "broker: instance1.setProperty(DeviceID, chars \"Model A___Serial A___sda\")",
                "broker: instance1.setProperty(DriveFirmwareVersion, chars \"Firmware A\")",
                "broker: instance1.setProperty(DriveModel, chars \"Model A\")",
                "broker: instance1.setProperty(DriveSerialNumber, chars \"Serial A\")",
                "broker: instance1.setProperty(PhysicalDrive, chars \"sda\")",
                "broker: instance1.setProperty(DeviceID, chars \"Model A___Serial A___sda\")",
                "broker: instance1.setProperty(PoweredOnHours, uint64 9223372036854775809)",
                "broker: instance1.setProperty(PercentageUsed, uint8 255)",
                "broker: instance1.setProperty(PercentageUsedSource, uint8 3)",
                "broker: instance1.setProperty(FailureImminent, boolean 1)",
                "broker: instance1.setProperty(SystemCreationClassName, chars \"Computer "
                "System\")",
                "broker: instance1.setProperty(SystemName, chars \"Norvane POS SSD Life Monitor "
                "Drivers\")",
            }));
  EXPECT_EQ(instance, broker.address("instance1"));
}

TEST_F(LifeMonitor, BeginsEmpty) {
  const KAV_SSDLifeMonitor monitor;
  std::string expected = lines({"broker: newObjectPath(root/cimv2, KAV_SSDLifeMonitor) = path1",
                                "broker: path1.addKey(DeviceID, chars \"\")",
                                "broker: newInstance(path1) = instance1"});
  for (const char* property :
       {"Caption, chars \"\"", "CreationClassName, chars \"KAV_SSDLifeMonitor\"",
        "Description, chars \"\"", "DeviceID, chars \"\"", "DriveFirmwareVersion, chars \"\"",
        "DriveModel, chars \"\"", "DriveSerialNumber, chars \"\"", "PhysicalDrive, chars \"\"",
        "DeviceID, chars \"\"", "PoweredOnHours, uint64 0", "PercentageUsed, uint8 0",
        "PercentageUsedSource, uint8 0", "FailureImminent, boolean 0",
        "SystemCreationClassName, chars \"Computer System\"",
        "SystemName, chars \"Norvane POS SSD Life Monitor Drivers\""}) {
    expected += events::format("broker: instance1.setProperty(%s)\n", property);
  }
  EXPECT_EQ(events::during([&] { (void)monitor.getInstance(broker.cmpi()); }), expected);
}

/// A failure at each step names the routine of that step and leaves out the rest.
TEST_F(LifeMonitor, StopsAtTheFirstPropertyThatCantBeSet) {
  const struct {
    const char* property;
    unsigned times;
    const char* routine;
  } steps[] = {
      {"Caption", 1, "SetCharsProperty"},
      {"CreationClassName", 1, "SetCharsProperty"},
      {"Description", 1, "SetCharsProperty"},
      {"DeviceID", 1, "SetCharsProperty"},
      {"DriveFirmwareVersion", 1, "SetCharsProperty"},
      {"DriveModel", 1, "SetCharsProperty"},
      {"DriveSerialNumber", 1, "SetCharsProperty"},
      {"PhysicalDrive", 1, "SetCharsProperty"},
      {"DeviceID", 2, "SetCharsProperty"},
      {"PoweredOnHours", 1, "SetUint16Property"},
      {"PercentageUsed", 1, "SetUint8Property"},
      {"PercentageUsedSource", 1, "SetUint8Property"},
      {"FailureImminent", 1, "SetBooleanProperty"},
      {"SystemCreationClassName", 1, "SetCharsProperty"},
      {"SystemName", 1, "SetCharsProperty"},
  };
  const KAV_SSDLifeMonitor monitor = of(drive('A', "sda"));
  unsigned step = 0;
  for (const auto& [property, times, routine] : steps) {
    SCOPED_TRACE(property);
    ++step;
    broker.clearFailures();
    broker.fail("setProperty", step, CMPI_RC_ERR_INVALID_DATA_TYPE);
    bool thrown = false;
    EXPECT_EQ(events::during([&] {
                try {
                  (void)monitor.getInstance(broker.cmpi());
                } catch (const CMPIStatus& status) {
                  thrown = status.rc == CMPI_RC_ERR_INVALID_DATA_TYPE && status.msg == nullptr;
                }
              }),
              instanceCallsUpTo(drive('A', "sda"), step, property, times) +
                  "out: Utils::" + routine + " - bad status 61\n");
    EXPECT_TRUE(thrown);
  }
}

TEST_F(LifeMonitor, MakesNoInstanceWithoutAPath) {
  const KAV_SSDLifeMonitor monitor = of(drive('A', "sda"));
  broker.fail("newObjectPath", 1, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(
      events::during([&] { EXPECT_THROW((void)monitor.getInstance(broker.cmpi()), CMPIStatus); }),
      lines({"broker: newObjectPath(root/cimv2, KAV_SSDLifeMonitor) = path1",
             "out: Utils::MakeNewObjectPath - bad status 1"}));
}

}  // namespace
