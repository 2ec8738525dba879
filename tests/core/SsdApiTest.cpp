#include "core/SsdApi.h"

#include <algorithm>
#include <cstdlib>

#include <sys/wait.h>
#include <unistd.h>

#include "config/Config.h"
#include "log/Log.h"
#include "tests/core/CoreTest.h"

using namespace testkit;

namespace {

class NotingListener : public ISsdListener {
 public:
  void SsdFailureImminent(std::string model, std::string serialNumber, std::string physicalDrive,
                          std::uint8_t percentageUsed) override {
    Log(LOG_LEVEL_INFO, "listener: %s, %s, %s, %d", model.c_str(), serialNumber.c_str(),
        physicalDrive.c_str(), percentageUsed);
  }
};

class Api : public CoreTest {
 protected:
  explicit Api(const std::string& settings = "") : CoreTest(settings) {}

  static void willFindP4(const std::string& name, std::uint8_t percentage) {
    root().addFixedDisk(name);
    willIdentifyAta("/dev/" + name, {kP4, "123456789012", "10.52.01"});
    willEnableSmart("/dev/" + name);
    willReadP4("/dev/" + name, percentage);
  }

  SSD_CODE initialise() {
    const SSD_CODE code = api_.initialiseSsdDriver();
    threads().waitUntilAllSleep();
    return code;
  }

  /// The records of a fresh list, with what was logged.
  SsdInformationList list() {
    SsdInformationList list;
    code_ = api_.getSsdInformationList(list);
    return list;
  }

  SsdApi api_;
  SSD_CODE code_ = SSD_SUCCESS;
  NotingListener listener_;
};

class DebuggedApi : public Api {
 protected:
  DebuggedApi() : Api("DebugIndications=1\n") {}

  /// The last line of an event, which every reading is here.
  std::string event() {
    willReadP4("/dev/sda", 1);
    list();
    const Lines log = takeLog();
    return log[log.size() - 2];
  }
};

std::string entered(const std::string& operation, int init) {
  return "Trace: API: SsdApi::" + operation + ", init=" + std::to_string(init);
}

std::string left(const std::string& operation) {
  return "Trace: API: SsdApi::" + operation + " exit";
}

std::string left(const std::string& operation, int code) {
  return left(operation) + ", ssdcode=0x" + std::to_string(code);
}

const std::string kInitialise = "initialiseSsdDriver";
const std::string kList = "getSsdInformationList";
const std::string kRegister = "registerSsdListener";
const std::string kUnregister = "unregisterSsdListener";
const Lines kBiosLines = {"Trace: BiosVersion::getBiosVersion",
                          "Debug: BiosVersion::getBiosVersion - returning 1.02.3\n"};
const std::string kNobodyListens =
    "Debug: SsdManager::SsdDeviceFailureImminent - No registered ISsdListener - exiting";
const std::string kTold = "Info: listener: SanDisk SSD P4 64GB, 123456789012, sda, 1";

Lines configLines() {
  return {"Trace: Config::initialise", "Debug: Config constructed",
          "Debug: Config::GetInstance - new instance = " + low32(Config::GetInstance())};
}

}  // namespace

TEST(Library, HasItsManagerFromItsLoadingOn) {
  EXPECT_EQ(takeLog(),
            (Lines{"Debug: SsdDeviceList constructed", "Debug: SsdManager Constructed"}));
}

TEST_F(Api, HasNoListBeforeItIsInitialised) {
  SsdInformationList list(1);
  EXPECT_EQ(api_.getSsdInformationList(list), SSD_NOT_INITIALISED);
  EXPECT_EQ(list.size(), 1U);
  EXPECT_EQ(takeLog(), (Lines{entered(kList, 0), left(kList, 1)}));
}

TEST_F(Api, ReadsTheConfigurationAndThenFindsTheDrives) {
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_EQ(takeLog(), Lines{entered(kInitialise, 0)} + configLines() + kBiosLines +
                           Lines({"Debug: SsdManager::initialise - found 0 SSD devices",
                                  left(kInitialise, 0)}));
  EXPECT_EQ(list().size(), 0U);
  EXPECT_EQ(code_, SSD_SUCCESS);
  EXPECT_EQ(takeLog(), (Lines{entered(kList, 1),
                              "Debug: SsdManager::getSsdInformationList - found 0 SSD devices",
                              left(kList, 0)}));
}

TEST_F(Api, IsInitialisedOnceForAllItsObjects) {
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  takeLog();
  root().takeCalls();
  EXPECT_EQ(SsdApi().initialiseSsdDriver(), SSD_SUCCESS);
  EXPECT_EQ(takeLog(), (Lines{entered(kInitialise, 1), left(kInitialise, 0)}));
  EXPECT_EQ(root().takeCalls(), Lines{});
}

TEST_F(Api, TriesAgainAfterAFailure) {
  root().remove(kBiosVersion);
  EXPECT_EQ(initialise(), SSD_NO_BIOS_VERSION);
  EXPECT_EQ(takeLog().back(), left(kInitialise, 3));
  root().write(kBiosVersion, "1.02.3\n");
  root().refuse("opendir", "/sys/block/", EACCES);
  EXPECT_EQ(initialise(), SSD_NO_SYSFS_BLOCK);
  EXPECT_EQ(takeLog(), (Lines{entered(kInitialise, 0)} + kBiosLines + Lines{left(kInitialise, 4)}));
  list();
  EXPECT_EQ(code_, SSD_NOT_INITIALISED);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
}

TEST_F(Api, ListsTheDrivesReadAfresh) {
  willFindP4("sda", 1);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  takeLog();
  willReadP4("/dev/sda", 2);
  const SsdInformationList drives = list();
  ASSERT_EQ(drives.size(), 1U);
  EXPECT_EQ(drives[0].percentageUsed, 2);
  EXPECT_EQ(
      takeLog(),
      (Lines{entered(kList, 1), "Debug: SsdManager::getSsdInformationList - found 1 SSD devices",
             "Trace: SsdDevice::getSsdData", readingLine(8760, 2), left(kList, 0)}));
}

TEST_F(DebuggedApi, RemembersNoListenerFromBeforeItsInitialisation) {
  api_.registerSsdListener(&listener_);
  EXPECT_EQ(takeLog(), (Lines{entered(kRegister, 0), left(kRegister)}));
  willFindP4("sda", 1);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_EQ(event(), kNobodyListens);
}

TEST_F(DebuggedApi, HandsEventsToTheRegisteredListenerUntilItIsUnregistered) {
  willFindP4("sda", 1);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  takeLog();
  api_.registerSsdListener(&listener_);
  EXPECT_EQ(takeLog(), (Lines{entered(kRegister, 1), left(kRegister)}));
  EXPECT_EQ(event(), kTold);
  api_.unregisterSsdListener();
  EXPECT_EQ(takeLog(), (Lines{entered(kUnregister, 1), left(kUnregister)}));
  EXPECT_EQ(event(), kNobodyListens);
}

TEST_F(Api, UnregistersNothingBeforeItsInitialisation) {
  api_.unregisterSsdListener();
  EXPECT_EQ(takeLog(), (Lines{entered(kUnregister, 0), left(kUnregister)}));
}

TEST_F(DebuggedApi, WithdrawsAListenerSilently) {
  willFindP4("sda", 1);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  api_.registerSsdListener(&listener_);
  takeLog();
  NotingListener other;
  SsdApi::withdrawSsdListener(&other);
  EXPECT_EQ(takeLog(), Lines{});
  EXPECT_EQ(event(), kTold);
  SsdApi::withdrawSsdListener(&listener_);
  EXPECT_EQ(takeLog(), Lines{});
  EXPECT_EQ(event(), kNobodyListens);
}

// The manager is destroyed with the library, here at the process's end: seen from outside.
TEST_F(Api, StopsItsThreadsWhenTheLibraryGoes) {
  const pid_t child = fork();
  if (child == 0) {
    willFindP4("sda", 1);
    initialise();
    LogQuick(LOG_LEVEL_INFO, "the end: " /* of main */);
    std::exit(EXIT_SUCCESS);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  const Lines log = takeLog();
  const auto end = std::find(log.begin(), log.end(), "Info: the end: ");
  ASSERT_EQ(log.end() - end, 9);
  EXPECT_EQ(end[1], "Debug: SsdManager Destroyed");
  EXPECT_EQ(end[2], "Trace: PollingThread::terminate entered");
  EXPECT_EQ(end[3], "Debug: readThread - exited");
  EXPECT_EQ(end[5], "Debug: PollingThread::Terminate - thread terminated");
  EXPECT_EQ(end[6], "Debug: SsdDevice destroyed");
  EXPECT_EQ(end[7], "Debug: PollingThread Destroyed");
  EXPECT_EQ(end[8], "Debug: SsdDeviceList destroyed");
}

namespace {

class WholeStory : public Api {
 protected:
  WholeStory() : Api("PollRate=2\n") {}
};

}  // namespace

TEST_F(WholeStory, OfADriveThatWearsOut) {
  willFindP4("sda", 94);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  api_.registerSsdListener(&listener_);
  takeLog();
  willReadP4("/dev/sda", 95);
  threads().tick();  // the second tick
  EXPECT_EQ(takeLog(), (Lines{"Trace: SsdDevice::getSsdData", readingLine(8760, 95)}));
  threads().tick();
  willReadP4("/dev/sda", 96);
  threads().tick();
  EXPECT_EQ(takeLog(), (Lines{"Trace: SsdDevice::getSsdData", readingLine(8760, 96),
                              "Debug: SsdManager::SsdDeviceFailureImminent: Model=",
                              "Info: listener: SanDisk SSD P4 64GB, 123456789012, sda, 96"}));
  willReadP4("/dev/sda", 97);
  EXPECT_TRUE(list().at(0).failureImminent);
  EXPECT_EQ(takeLog()[4],
            "Trace: SsdDevice::fireSsdFailureImminent - already fired one Failure Imminent event - "
            "exiting");
}
