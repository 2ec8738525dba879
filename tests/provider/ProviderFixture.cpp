#include "tests/provider/ProviderFixture.h"

#include "provider/FunctionTables.h"
#include "provider/ProviderState.h"

using events::format;

void ProviderTest::SetUp() {
  core() = FakeCore();
  core().drives = {drive('A', "sda"), drive('B', "sdb"), drive('C', "nvme0")};
}

void ProviderTest::TearDown() {
  broker.clearFailures();
  events::onEach({});
  (void)events::during([this] {
    while (broker.waitingThreads() != 0) {
      broker.runThread();
    }
    __drv_synch();
    use_count = 1;
    __drv_cleanup();
    __drv_unsynch();
  });
  instanceMI.hdl = nullptr;
  indicationMI.hdl = nullptr;
  for (const std::string& violation : broker.violations()) {
    ADD_FAILURE() << violation;
  }
}

void ModuleTest::SetUp() {
  ProviderTest::SetUp();
  context = broker.context();
  result = broker.result();
  ssds = broker.path("root/cimv2", "KAV_SSDLifeMonitor");
  failures = broker.path("root/cimv2", "KAV_SSDLifeMonitorFailureImminent");
}

void InitialisedProvider::SetUp() {
  ProviderTest::SetUp();
  (void)events::during([this] {
    provider = std::make_unique<SsdProvider>();
    provider->setBroker(broker.cmpi());
    provider->initialise(broker.context());
  });
}

void InitialisedProvider::TearDown() {
  (void)events::during([this] { provider.reset(); });
  ProviderTest::TearDown();
}

std::string lines(std::initializer_list<std::string> texts) {
  std::string all;
  for (const std::string& text : texts) {
    all += text + '\n';
  }
  return all;
}

std::string pathCalls(const SsdInformation& drive, unsigned n) {
  return format(
      "broker: newObjectPath(root/cimv2, KAV_SSDLifeMonitor) = path%u\n"
      "broker: path%u.addKey(DeviceID, chars \"%s___%s___%s\")\n",
      n, n, drive.model.c_str(), drive.serialNumber.c_str(), drive.physicalDrive.c_str());
}

std::string instanceCalls(const SsdInformation& drive, unsigned n) {
  const std::string id = drive.model + "___" + drive.serialNumber + "___" + drive.physicalDrive;
  const auto set = [n](const char* property, const std::string& value) {
    return format("broker: instance%u.setProperty(%s, %s)", n, property, value.c_str());
  };
  const auto chars = [](const std::string& text) { return "chars \"" + text + '"'; };
  return pathCalls(drive, n) +
         lines({
             format("broker: newInstance(path%u) = instance%u", n, n),
             set("Caption", chars("SSD Life Monitor (" + id + ")")),
             set("CreationClassName", chars("KAV_SSDLifeMonitor")),
             set("Description", chars("Lifecycle information for Solid State Disk: " + drive.model +
                                      " with Serial Number " + drive.serialNumber +
                                      " on Linux Physical Drive " + drive.physicalDrive)),
             set("DeviceID", chars(id)),
             set("DriveFirmwareVersion", chars(drive.firmwareVersion)),
             set("DriveModel", chars(drive.model)),
             set("DriveSerialNumber", chars(drive.serialNumber)),
             set("PhysicalDrive", chars(drive.physicalDrive)),
             set("DeviceID", chars(id)),
             set("PoweredOnHours", "uint64 " + std::to_string(drive.poweredOnHours)),
             set("PercentageUsed", "uint8 " + std::to_string(drive.percentageUsed)),
             set("PercentageUsedSource", "uint8 " + std::to_string(drive.percentageUsedSource)),
             set("FailureImminent", drive.failureImminent ? "boolean 1" : "boolean 0"),
             set("SystemCreationClassName", chars("Computer System")),
             set("SystemName", chars("Norvane POS SSD Life Monitor Drivers")),
         });
}

std::string instanceCallsUpTo(const SsdInformation& drive, unsigned n, const std::string& last,
                              unsigned times) {
  const std::string all = instanceCalls(drive, n);
  std::size_t at = 0;
  for (unsigned i = 0; i < times; ++i) {
    at = all.find("setProperty(" + last + ",", at + 1);
  }
  return all.substr(0, all.find('\n', at) + 1);
}
