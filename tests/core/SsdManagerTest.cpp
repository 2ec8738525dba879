#include "core/SsdManager.h"

#include <algorithm>
#include <atomic>
#include <clocale>
#include <functional>
#include <future>
#include <memory>
#include <thread>

#include <glob.h>

#include "config/Config.h"
#include "core/SsdDevice.h"
#include "log/Log.h"
#include "tests/core/CoreTest.h"
#include "tests/support/Allocations.h"
#include "tests/support/CapturedStream.h"

using namespace testkit;

namespace {

/// Notes every event in the log, so that its place among the other lines can be seen.
class NotingListener : public ISsdListener {
 public:
  explicit NotingListener(std::string name = "listener") : name_(std::move(name)) {}

  void SsdFailureImminent(std::string model, std::string serialNumber, std::string physicalDrive,
                          std::uint8_t percentageUsed) override {
    Log(LOG_LEVEL_INFO, "%s: %s, %s, %s, %d", name_.c_str(), model.c_str(), serialNumber.c_str(),
        physicalDrive.c_str(), percentageUsed);
    if (then) {
      then();
    }
  }

  std::function<void()> then;

 private:
  std::string name_;
};

class Manager : public CoreTest {
 protected:
  explicit Manager(const std::string& settings = "") : CoreTest(settings) {
    Config::GetInstance();
    takeLog();
    manager_ = std::make_unique<SsdManager>();
    takeLog();
    root().takeCalls();
  }

  /// A P4 at "/dev/`name`" that is found and set up.
  static void willFindP4(const std::string& name, std::uint8_t percentage) {
    root().addFixedDisk(name);
    willIdentifyAta("/dev/" + name, {kP4, "123456789012", "10.52.01"});
    willEnableSmart("/dev/" + name);
    willReadP4("/dev/" + name, percentage);
  }

  static void willFindNvme(const std::string& name, std::uint8_t percentage) {
    willIdentifyNvme("/dev/" + name, {});
    willReadHealth("/dev/" + name, percentage, 100);
  }

  SSD_CODE initialise() {
    threads().holdStarts();
    const SSD_CODE code = manager_->initialise();
    log_ = takeLog();
    threads().releaseStarts();
    threads().waitUntilAllSleep();
    takeLog();
    return code;
  }

  /// The drives of a fresh list, as "sda 42".
  Lines listed() {
    SsdInformationList list;
    EXPECT_EQ(manager_->getSsdInformationList(list), SSD_SUCCESS);
    Lines drives;
    for (const SsdInformation& drive : list) {
      drives.push_back(drive.physicalDrive + " " + std::to_string(drive.percentageUsed));
    }
    return drives;
  }

  [[nodiscard]] bool hasLogged(const std::string& line) const {
    return std::find(log_.begin(), log_.end(), line) != log_.end();
  }

  /// Takes the listener's address, which is that of a part of the manager, out of the log of one
  /// drive, and gives the device's.
  std::string withoutAddresses() {
    std::string device;
    for (std::string& line : log_) {
      if (const auto at = line.find("listener=0x0x"); at != std::string::npos) {
        line.erase(at + 11);
      }
      if (const auto at = line.find("_ssdDevice="); at != std::string::npos) {
        device = line.substr(at + 11);
      }
    }
    return device;
  }

  std::unique_ptr<SsdManager> manager_;
  Lines log_;  ///< of `initialise`
};

std::string foundDisk(const std::string& name) {
  return "Debug: SsdManager::initialise - Found fixed scsi disk " + name;
}

std::string foundDevices(int count) {
  return "Debug: SsdManager::initialise - found " + std::to_string(count) + " SSD devices";
}

std::string failedToAdd(const std::string& name) {
  return "Error: SsdManager::initialise - failed to add SSD Device " + name + " to list";
}

const Lines kBiosLines = {"Trace: BiosVersion::getBiosVersion",
                          "Debug: BiosVersion::getBiosVersion - returning 1.02.3\n"};
const std::string kEventLine = "Debug: SsdManager::SsdDeviceFailureImminent: Model=";
const std::string kNobodyListens =
    "Debug: SsdManager::SsdDeviceFailureImminent - No registered ISsdListener - exiting";
const std::string kTold96 = "Info: listener: SanDisk SSD P4 64GB, 123456789012, sda, 96";
const std::string kNoMemory = "Error: SsdManager::addSsdDevice - alloc new SsdDevice failed";

}  // namespace

// Life

TEST_F(CoreTest, AManagerLogsItsComingAndGoing) {
  { const SsdManager manager; }
  EXPECT_EQ(takeLog(), (Lines{"Debug: SsdDeviceList constructed", "Debug: SsdManager Constructed",
                              "Debug: SsdManager Destroyed", "Debug: SsdDeviceList destroyed"}));
}

TEST_F(Manager, StopsEveryThreadWhenItGoes) {
  willFindP4("sda", 1);
  willFindP4("sdb", 2);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  manager_.reset();
  const Lines gone = {"Debug: SsdDevice destroyed", "Debug: PollingThread Destroyed"};
  EXPECT_EQ(takeLog(), (Lines{"Debug: SsdManager Destroyed"} + stopLines(0) + gone + stopLines(1) +
                        gone + Lines{"Debug: SsdDeviceList destroyed"}));
  EXPECT_EQ(threads().alive(), 0U);
}

// Discovery

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

// NVMe controllers

TEST_F(Manager, FindsTenNvmeControllersInTheirOrderAndNoNamespace) {
  std::vector<std::string> nodes = {"/dev/nvme10", "/dev/nvme0n1", "/dev/nvme",
                                    "/dev/nvme-fabrics"};
  std::string identified;
  for (int i = 9; i >= 0; --i) {
    nodes.push_back("/dev/nvme" + std::to_string(i));
  }
  for (int i = 0; i < 10; ++i) {
    const std::string name = "nvme" + std::to_string(i);
    willFindNvme(name, static_cast<std::uint8_t>(i));
    identified += "Indentified: /dev/" + name + "\n";
  }
  root().setNodes(nodes);
  const CapturedStream output(stdout);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_EQ(output.text(), identified);
  EXPECT_EQ(log_.back(), foundDevices(10));
  const Lines calls = root().takeCalls();
  EXPECT_EQ(calls.back(), "glob /dev/nvme[0-9] 1");  // the result is kept
}

TEST_F(Manager, LogsTheFindingOfAnNvmeDriveInThisOrder) {
  root().setNodes({"/dev/nvme0"});
  willFindNvme("nvme0", 42);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  const std::string device = withoutAddresses();
  EXPECT_EQ(log_,
            (kBiosLines + Lines{
                              "Debug: Model Number: KINGSTON SNVS250G",
                              "Debug: Serial Number: 50026B7684A1B2C3",
                              "Debug: Firmware Version: S8442101",
                              "Debug: PollingThread constructed - pollingRate=10",
                              "Debug: SsdDevice constructed",
                              "Trace: SsdDevice::initialise - drive nvme0 devPath /dev/nvme0, "
                              "listener=0x",
                              "Debug: using defult DEF_SSDNVME_LOG_ALGO Statistics Log algo",
                              "Trace: SsdDevice::getSsdData",
                              readingLine(100, 42),
                              "Debug: PollingThread::initialise - _ssdDevice=" + device,
                              startedLine(),
                              foundDevices(1),
                          }));
  SsdInformationList list;
  willReadHealth("/dev/nvme0", 43, 101);
  EXPECT_EQ(manager_->getSsdInformationList(list), SSD_SUCCESS);
  EXPECT_EQ(list.at(0).physicalDrive, "nvme0");
  EXPECT_EQ(list.at(0).percentageUsedSource, 2);
}

TEST_F(Manager, SaysIndentifiedEvenOfAControllerThatCannotBeAdded) {
  root().setNodes({"/dev/nvme0", "/dev/nvme1"});
  willFindNvme("nvme0", 1);
  threads().refuseNext(EAGAIN);
  willFindNvme("nvme1", 1);
  const CapturedStream output(stdout);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_EQ(output.text(), "Indentified: /dev/nvme0\nIndentified: /dev/nvme1\n");
  EXPECT_EQ(log_.back(), foundDevices(1));
  EXPECT_FALSE(hasLogged(failedToAdd("nvme0")));
}

TEST_F(Manager, SaysIndentifiedOnlyAfterAddingTheController) {
  root().setNodes({"/dev/nvme0"});
  willFindNvme("nvme0", 1);
  const CapturedStream output(stdout);
  std::string before = "never read";
  kernel().meanwhile([&] { before = output.text(); });  // when the first reading ends
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_EQ(before, "");
  EXPECT_EQ(output.text(), "Indentified: /dev/nvme0\n");
}

TEST_F(Manager, SaysNothingOfAControllerThatDoesNotIdentifyItself) {
  root().setNodes({"/dev/nvme0", "/dev/nvme1"});
  kernel().willRefuseOpen("/dev/nvme0", O_RDONLY | O_NONBLOCK, ENODEV);
  willFindNvme("nvme1", 1);
  const CapturedStream output(stdout);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_EQ(output.text(), "Indentified: /dev/nvme1\n");
}

TEST_F(Manager, ReportsThatGlobHasNoMemory) {
  root().failGlob(GLOB_NOSPACE);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_EQ(log_, (kBiosLines +
                   Lines{"Error: SsdManager::scanNVMeDevice - GLOB_NOSPACE", foundDevices(0)}));
  EXPECT_EQ(root().takeCalls().back(), "globfree");
}

TEST_F(Manager, IsSilentWhenGlobCannotRead) {
  root().failGlob(GLOB_ABORTED);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_EQ(log_, (kBiosLines + Lines{foundDevices(0)}));
  EXPECT_EQ(root().takeCalls().back(), "globfree");
}

TEST_F(Manager, FindsBlockDevicesBeforeNvmeControllers) {
  root().setNodes({"/dev/nvme0"});
  willFindP4("sda", 1);
  willFindNvme("nvme0", 2);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  willReadP4("/dev/sda", 3);
  willReadHealth("/dev/nvme0", 4, 1);
  EXPECT_EQ(listed(), (Lines{"sda 3", "nvme0 4"}));
}

// The list

TEST_F(Manager, HasNoListBeforeItIsInitialised) {
  SsdInformationList list(1);
  EXPECT_EQ(manager_->getSsdInformationList(list), SSD_NOT_INITIALISED);
  EXPECT_EQ(SSD_NOT_INITIALISED, 1U);
  EXPECT_EQ(list.size(), 1U);
  EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(Manager, ReadsEveryDriveForEveryListAndAppendsToIt) {
  willFindP4("sda", 1);
  willFindP4("sdb", 2);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  SsdInformationList list;
  for (std::uint8_t round = 0; round < 2; ++round) {
    willReadP4("/dev/sda", static_cast<std::uint8_t>(10 + round));
    willReadP4("/dev/sdb", static_cast<std::uint8_t>(20 + round));
    EXPECT_EQ(manager_->getSsdInformationList(list), SSD_SUCCESS);
    EXPECT_EQ(takeLog(), (Lines{"Debug: SsdManager::getSsdInformationList - found 2 SSD devices",
                                "Trace: SsdDevice::getSsdData", readingLine(8760, 10 + round),
                                "Trace: SsdDevice::getSsdData", readingLine(8760, 20 + round)}));
  }
  ASSERT_EQ(list.size(), 4U);
  EXPECT_EQ(list[0].percentageUsed, 10);
  EXPECT_EQ(list[1].percentageUsed, 20);
  EXPECT_EQ(list[2].percentageUsed, 11);
  EXPECT_EQ(list[3].percentageUsed, 21);
  EXPECT_EQ(list[3].physicalDrive, "sdb");
}

TEST_F(Manager, ListsTheLastGoodReadingOfADriveThatFails) {
  willFindP4("sda", 42);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  willFailAttributes("/dev/sda");
  EXPECT_EQ(listed(), Lines{"sda 42"});
}

// Events

TEST_F(Manager, HandsAnEventToItsListenerWithTheDrivesTexts) {
  NotingListener listener;
  willFindP4("sda", 95);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  manager_->registerSsdListener(&listener);
  EXPECT_EQ(takeLog(), Lines{});
  willReadP4("/dev/sda", 96);
  EXPECT_EQ(listed(), Lines{"sda 96"});
  EXPECT_EQ(takeLog(),
            (Lines{"Debug: SsdManager::getSsdInformationList - found 1 SSD devices",
                   "Trace: SsdDevice::getSsdData", readingLine(8760, 96), kEventLine, kTold96}));
}

TEST_F(Manager, ShowsAllOfAnEventWhoseTextsTheLocaleConverts) {
  ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
  root().addFixedDisk("sd");
  willIdentifyAta("/dev/sd", {"M", "S", "F"});
  willEnableSmart("/dev/sd");
  willReadStatistics("/dev/sd", 96, 1);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  // "sd" is one wide character, U+6473.
  EXPECT_TRUE(hasLogged(kEventLine + "M, SerialNo=S, PhysicalDrive=\xE6\x91\xB3, 96sed=96"));
}

TEST_F(Manager, LosesTheEventOfADriveThatBeginsAboveTheThreshold) {
  NotingListener listener;
  willFindP4("sda", 96);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  const auto event = std::find(log_.begin(), log_.end(), kEventLine);
  ASSERT_NE(event, log_.end());
  EXPECT_EQ(*(event - 1), readingLine(8760, 96));
  EXPECT_EQ(*(event + 1), kNobodyListens);
  manager_->registerSsdListener(&listener);
  SsdInformationList list;
  willReadP4("/dev/sda", 97);
  EXPECT_EQ(manager_->getSsdInformationList(list), SSD_SUCCESS);
  EXPECT_TRUE(list.at(0).failureImminent);
  EXPECT_EQ(takeLog().back(),
            "Trace: SsdDevice::fireSsdFailureImminent - already fired one Failure Imminent event - "
            "exiting");
}

TEST_F(Manager, RegistersNobodyBeforeItIsInitialised) {
  NotingListener listener;
  manager_->registerSsdListener(&listener);
  willFindP4("sda", 96);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_TRUE(hasLogged(kNobodyListens));
}

namespace {

/// Every reading is an event.
class DebuggedManager : public Manager {
 protected:
  DebuggedManager() : Manager("DebugIndications=1\n") {
    willFindP4("sda", 1);
    EXPECT_EQ(initialise(), SSD_SUCCESS);
  }

  /// The last line of an event.
  std::string event() {
    willReadP4("/dev/sda", 1);
    listed();
    return takeLog().back();
  }

  static std::string told(const std::string& name) {
    return "Info: " + name + ": SanDisk SSD P4 64GB, 123456789012, sda, 1";
  }

  NotingListener first_{"first"};
  NotingListener second_{"second"};
};

}  // namespace

TEST_F(DebuggedManager, ReplacesOneListenerByAnother) {
  EXPECT_EQ(event(), kNobodyListens);
  manager_->registerSsdListener(&first_);
  EXPECT_EQ(event(), told("first"));
  manager_->registerSsdListener(&second_);
  EXPECT_EQ(event(), told("second"));
}

TEST_F(DebuggedManager, ForgetsItsListener) {
  manager_->registerSsdListener(&first_);
  manager_->unregisterSsdListener();
  EXPECT_EQ(event(), kNobodyListens);
}

TEST_F(DebuggedManager, WithdrawsAListenerOnlyIfItIsTheOne) {
  manager_->registerSsdListener(&first_);
  manager_->withdrawSsdListener(&second_);
  EXPECT_EQ(event(), told("first"));
  manager_->withdrawSsdListener(&first_);
  EXPECT_EQ(event(), kNobodyListens);
}

TEST_F(DebuggedManager, TellsNobodyAfterAListenerWasTakenAway) {
  const std::function<void()> takings[] = {
      [this] { manager_->registerSsdListener(&second_); },
      [this] { manager_->unregisterSsdListener(); },
      [this] { manager_->withdrawSsdListener(&first_); },
  };
  FakeThreads::watchMutexes(manager_.get(), sizeof(SsdManager));
  for (const auto& take : takings) {
    manager_->registerSsdListener(&first_);
    const std::size_t before = FakeThreads::contended();
    std::atomic<bool> taken{false};
    std::thread taker;
    first_.then = [&] {  // in the middle of an event
      taker = std::thread([&] {
        take();
        taken = true;
      });
      while (FakeThreads::contended() == before && !taken) {
        std::this_thread::yield();
      }
      EXPECT_FALSE(taken);
    };
    event();
    taker.join();
    first_.then = nullptr;
    EXPECT_NE(event(), told("first"));
  }
}

TEST_F(DebuggedManager, TellsOfTwoReadingsAtTheSameTime) {
  manager_->registerSsdListener(&first_);
  std::promise<void> secondIsIn;
  std::atomic<int> inside{0};
  first_.then = [&] {
    if (++inside == 1) {
      willReadP4("/dev/sda", 2);
      std::thread other([this] { listed(); });
      secondIsIn.get_future().wait();
      other.join();
    } else {
      secondIsIn.set_value();
    }
  };
  willReadP4("/dev/sda", 1);
  listed();
  EXPECT_EQ(inside, 2);
}
