// Which block devices a manager takes for SSDs.

#include <algorithm>

#include "config/Config.h"
#include "core/SsdDevice.h"
#include "core/SsdManager.h"
#include "tests/core/SsdManagerTest.h"
#include "tests/support/Allocations.h"
#include "tests/support/CapturedStream.h"

using namespace testkit;

namespace {

const std::string kNoMemory = "Error: SsdManager::addSsdDevice - alloc new SsdDevice failed";

}  // namespace

TEST_F(Manager, FindsNothingOnAMachineWithoutDrives) {
  const CapturedStream output(stdout);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_EQ(log_, (kBiosLines + Lines{foundDevices(0)}));
  EXPECT_EQ(root().takeCalls(),
            (Lines{"fopen /sys/devices/virtual/dmi/id/bios_version r",
                   "fclose /sys/devices/virtual/dmi/id/bios_version", "opendir /sys/block/",
                   "closedir /sys/block/", "glob /dev/nvme[0-9] 1", "globfree"}));
  EXPECT_EQ(listed(), Lines{});
  EXPECT_EQ(takeLog(), Lines{"Debug: SsdManager::getSsdInformationList - found 0 SSD devices"});
  EXPECT_EQ(output.text(), "");
}

TEST_F(Manager, LooksForNothingWithoutABiosVersion) {
  root().remove(kBiosVersion);
  root().addFixedDisk("sda");
  root().setNodes({"/dev/nvme0"});
  EXPECT_EQ(initialise(), SSD_NO_BIOS_VERSION);
  EXPECT_EQ(SSD_NO_BIOS_VERSION, 3U);
  EXPECT_EQ(root().takeCalls(), Lines{"fopen /sys/devices/virtual/dmi/id/bios_version r"});
  SsdInformationList list;
  EXPECT_EQ(manager_->getSsdInformationList(list), SSD_NOT_INITIALISED);
}

TEST_F(Manager, LooksForNoNvmeDriveWithoutTheBlockDevices) {
  root().refuse("opendir", "/sys/block/", EACCES);
  root().setNodes({"/dev/nvme0"});
  EXPECT_EQ(initialise(), SSD_NO_SYSFS_BLOCK);
  EXPECT_EQ(SSD_NO_SYSFS_BLOCK, 4U);
  EXPECT_EQ(log_, kBiosLines);
  EXPECT_EQ(root().takeCalls().back(), "opendir /sys/block/");
  SsdInformationList list;
  EXPECT_EQ(manager_->getSsdInformationList(list), SSD_NOT_INITIALISED);
}

TEST_F(Manager, MayBeInitialisedAgainAfterAFailure) {
  root().refuse("opendir", "/sys/block/", EACCES);
  EXPECT_EQ(initialise(), SSD_NO_SYSFS_BLOCK);
  willFindP4("sda", 1);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_EQ(log_[2], foundDisk("sda"));
}

TEST_F(Manager, EndsTheProcessWhenInitialisedTwice) {
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_DEATH((void)manager_->initialise(),
               "core/SsdManager\\.cpp:[0-9]+: .*SsdManager::initialise\\(\\): "
               "Assertion `init==false' failed\\.");
}

TEST_F(Manager, FindsFixedDisksInTheOrderOfTheDirectory) {
  root().setBlockDevices({".", ".."});
  willFindP4("sdc", 3);
  willFindP4("sda", 1);
  willFindP4("sdaa", 2);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  Lines expected = kBiosLines;
  int index = 0;
  for (const char* name : {"sdc", "sda", "sdaa"}) {
    expected.push_back(foundDisk(name));
    EXPECT_TRUE(hasLogged(foundDisk(name)));
    EXPECT_TRUE(hasLogged(startedLine(static_cast<std::size_t>(index++))));
  }
  for (const char* name : {"sdc", "sda", "sdaa"}) {
    willReadP4(std::string("/dev/") + name, 4);
  }
  EXPECT_EQ(listed(), (Lines{"sdc 4", "sda 4", "sdaa 4"}));
}

TEST_F(Manager, LogsTheFindingOfADriveInThisOrder) {
  willFindP4("sda", 42);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  const std::string device = withoutAddresses();
  EXPECT_EQ(log_, (kBiosLines + Lines{
                                    foundDisk("sda"),
                                    "Debug: ATA Major version = 000003f0",
                                    "Debug: model: SanDisk SSD P4 64GB",
                                    "Debug: serial no: 123456789012",
                                    "Debug: fw rev: 10.52.01",
                                    "Debug: Rotation word: 0x0001",
                                    "Debug: SSD Heuristics: ' SSD ' in model - Yes",
                                    "Debug: Non-rotating SSD Yes",
                                    "Debug: PollingThread constructed - pollingRate=10",
                                    "Debug: SsdDevice constructed",
                                    "Trace: SsdDevice::initialise - drive sda devPath /dev/sda, "
                                    "listener=0x",
                                    "Debug: SsdDevice::initialise - found supported model ",
                                    "Trace: SsdDevice::getSsdData",
                                    readingLine(8760, 42),
                                    "Debug: PollingThread::initialise - _ssdDevice=" + device,
                                    startedLine(),
                                    foundDevices(1),
                                }));
}

TEST_F(Manager, LooksAtNoOtherBlockDevices) {
  for (const char* name :
       {"s", "hda", "mmcblk0", "nvme0n1", "loop0", "SDA", "asda", " sda", "dm-0"}) {
    root().addFixedDisk(name);
  }
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  const Lines calls = root().takeCalls();
  EXPECT_EQ(
      std::count_if(calls.begin(), calls.end(),
                    [](const std::string& call) { return call.compare(0, 6, "access") == 0; }),
      0);
}

TEST_F(Manager, LooksAtADiskNamedByTheTwoLettersAlone) {
  root().addFixedDisk("sd");
  kernel().willRefuseOpen("/dev/sd", O_RDONLY, ENXIO);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_TRUE(hasLogged(foundDisk("sd")));
}

TEST_F(Manager, TakesADiskForFixedByOneCharacter) {
  for (const char* text : {"0\n", "0", "00\n", "01\n", "0 1"}) {
    root().addFixedDisk("sda");
    root().write("/sys/block/sda/removable", text);
    root().setBlockDevices({"sda"});
    kernel().willRefuseOpen("/dev/sda", O_RDONLY, ENXIO);
    SsdManager manager;
    EXPECT_EQ(manager.initialise(), SSD_SUCCESS) << text;
  }
}

TEST_F(Manager, PassesOverADiskThatIsNotFixed) {
  for (const char* text : {"1\n", " 0\n", "\n", "", "10\n", "x", "-0"}) {
    root().write("/sys/block/sda/removable", text);
    root().setBlockDevices({"sda"});
    SsdManager manager;
    takeLog();
    EXPECT_EQ(manager.initialise(), SSD_SUCCESS) << text;
    EXPECT_EQ(takeLog(), (kBiosLines + Lines{foundDevices(0)}));
  }
}

TEST_F(Manager, PassesOverADiskWhoseFileCannotBeRead) {
  root().setBlockDevices({"sda"});  // has no file
  root().addFixedDisk("sdb");
  root().refuse("access", "/sys/block/sdb/removable", EACCES);
  root().addFixedDisk("sdc");
  root().refuse("fopen", "/sys/block/sdc/removable", EACCES);
  root().addFixedDisk("sdd");
  root().remove("/sys/block/sdd/removable");
  root().write("/sys/block/sdd/removable/directory", "");
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_EQ(log_, (kBiosLines + Lines{foundDevices(0)}));
  Lines calls = root().takeCalls();
  calls.erase(calls.begin(), calls.begin() + 3);
  EXPECT_EQ(calls,
            (Lines{"access /sys/block/sda/removable read", "access /sys/block/sdb/removable read",
                   "access /sys/block/sdc/removable read", "fopen /sys/block/sdc/removable r",
                   "access /sys/block/sdd/removable read", "fopen /sys/block/sdd/removable r",
                   "fclose /sys/block/sdd/removable", "closedir /sys/block/",
                   "glob /dev/nvme[0-9] 1", "globfree"}));
}

TEST_F(Manager, PassesOverADiskThatDoesNotIdentifyItselfOrRotates) {
  root().addFixedDisk("sda");
  kernel().willRefuseOpen("/dev/sda", O_RDONLY, ENXIO);
  root().addFixedDisk("sdb");
  willIdentifyAta("/dev/sdb", {"Disk SSD hybrid", "1", "1", 7200});
  willFindP4("sdc", 1);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_EQ(log_.back(), foundDevices(1));
  for (const std::string& line : log_) {
    EXPECT_EQ(line.find("failed to add"), std::string::npos);
  }
}

TEST_F(Manager, GivesEveryDiskAFreshRecord) {
  willFindP4("sda", 1);
  root().addFixedDisk("sdb");
  willIdentifyAta("/dev/sdb", {"Disk", "1", "1", 7200});  // non-rotating was true of sda
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_EQ(log_.back(), foundDevices(1));
  EXPECT_TRUE(hasLogged("Debug: Non-rotating SSD No"));
}

TEST_F(Manager, GoesOnAfterADiskThatCannotBeAdded) {
  root().addFixedDisk("sda");
  willIdentifyAta("/dev/sda", {kP4});
  kernel().willRefuseOpen("/dev/sda", O_RDONLY, EIO);  // SMART can't be enabled
  willFindP4("sdb", 1);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_TRUE(hasLogged(failedToAdd("sda")));
  EXPECT_EQ(log_.back(), foundDevices(1));
  willReadP4("/dev/sdb", 2);
  EXPECT_EQ(listed(), Lines{"sdb 2"});
}

TEST_F(Manager, NeitherListsNorDeletesADeviceThatWasNotSetUp) {
  root().addFixedDisk("sda");
  willIdentifyAta("/dev/sda", {kP4});
  kernel().willRefuseOpen("/dev/sda", O_RDONLY, EIO);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  manager_.reset();
  for (const std::string& line : takeLog()) {
    EXPECT_NE(line, "Debug: SsdDevice destroyed");
  }
}

TEST_F(Manager, ReportsADeviceForWhichThereIsNoMemory) {
  root().addFixedDisk("sda");
  willIdentifyAta("/dev/sda", {kP4});
  root().setNodes({"/dev/nvme0"});
  willIdentifyNvme("/dev/nvme0", {});
  allocations::refuseNothrow(sizeof(SsdDevice));
  const CapturedStream output(stdout);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  allocations::refuseNone();
  EXPECT_EQ(std::count(log_.begin(), log_.end(), kNoMemory), 2);
  EXPECT_EQ(*(std::find(log_.begin(), log_.end(), kNoMemory) + 1), failedToAdd("sda"));
  EXPECT_EQ(output.text(), "Indentified: /dev/nvme0\n");
  EXPECT_EQ(log_.back(), foundDevices(0));
}

TEST_F(Manager, MakesNoDeviceThatItCouldNotList) {
  willFindP4("sda", 1);
  root().addFixedDisk("sdb");
  willIdentifyAta("/dev/sdb", {kP4});
  kernel().meanwhile([] { allocations::refuse(2 * sizeof(SsdDevice*)); });
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  allocations::refuseNone();
  EXPECT_EQ(std::count(log_.begin(), log_.end(), "Debug: SsdDevice constructed"), 1);
  EXPECT_EQ(std::count(log_.begin(), log_.end(), kNoMemory), 1);
  EXPECT_EQ(log_.back(), foundDevices(1));
}

TEST_F(CoreTest, AManagerLeavesOutADriveWhoseDeviceFindsNoMemory) {
  SsdManager manager;
  root().addFixedDisk("sda");
  willIdentifyAta("/dev/sda", {kP4});
  kernel().meanwhile([] { allocations::refuse(sizeof(Config)); });
  EXPECT_EQ(manager.initialise(), SSD_SUCCESS);
  allocations::refuseNone();
  const Lines log = takeLog();
  EXPECT_EQ(std::count(log.begin(), log.end(), kNoMemory), 1);
  EXPECT_EQ(log.back(), "Debug: SsdManager::initialise - found 0 SSD devices");
}

TEST_F(Manager, LeavesOutADriveWhoseTextsFindNoMemory) {
  root().addFixedDisk("sda");
  willIdentifyAta("/dev/sda", {kP4});
  kernel().meanwhile([] { allocations::refuseAfter(0); });
  willFindP4("sdb", 1);
  root().setNodes({"/dev/nvme0", "/dev/nvme1"});
  const int fd = kernel().willOpen("/dev/nvme0", O_RDONLY | O_NONBLOCK);
  kernel().willSetCloseOnExec(fd);
  kernel().willAskNamespace(fd, fails(ENOTTY));
  kernel().willAdmin(fd, kIdentifyController, {controllerData({}), 0, kGood});
  kernel().willAdmin(fd, identifyNamespace(1), {{}, 0, kGood});
  kernel().meanwhile([] { allocations::refuseAfter(0); });
  kernel().willClose(fd);
  willFindNvme("nvme1", 2);
  const CapturedStream output(stdout);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  allocations::refuseNone();
  EXPECT_EQ(std::count(log_.begin(), log_.end(), kNoMemory), 2);
  EXPECT_EQ(log_.back(), foundDevices(2));
  EXPECT_EQ(output.text(), "Indentified: /dev/nvme1\n");
}
