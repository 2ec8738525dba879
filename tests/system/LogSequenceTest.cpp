// What the library's log says, whole and in order, at its most talkative level.

#include <gtest/gtest.h>

#include <regex>

#include "tests/system/TillRun.h"

namespace {

/// What one reading of the till's SATA SSD says.
std::vector<std::string> sataReading(int percentage) {
  std::vector<std::string> texts = {
      "Trace SsdDevice::getSsdData",
      "Trace SmartIo::getSsdDeviceStatisticsLogData - selecting SCSI Pass Thru method",
      "Debug SmartIo::getSmartLogDataSpt \n\nSense: 0x72 0x01 0x00 0x1d 0x00 0x00 0x00 0x0e 0x09 "
      "0x0c 0x01 0x00 0x00 0x01 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x50 ",
      "Debug SmartIo::getSmartLogDataSpt - error=0x00, status=0x50",
      "Debug SmartIo::getSsdDeviceStatisticsLogDataSpt - SMART Logging version = 1",
  };
  for (int address = 1; address <= 15; ++address) {
    texts.push_back("Debug num pages at addr " + std::to_string(address) + " is " +
                    (address == 4 ? "8" : "0"));
  }
  for (const char* text : {
           "Debug SmartIo::getSsdDeviceStatisticsLogDataSpt - Log pages for device statistics = 8",
           "Debug SmartIo::getSmartLogDataSpt \n\nSense: 0x72 0x01 0x00 0x1d 0x00 0x00 0x00 0x0e "
           "0x09 0x0c 0x01 0x00 0x00 0x01 0x00 0x04 0x00 0x07 0x00 0x00 0x00 0x50 ",
           "Debug SmartIo::getSmartLogDataSpt - error=0x00, status=0x50",
           "Trace SmartIo::getSsdDeviceStatisticsLogDataSpt - SSD Device Statistics log page is 07 "
           "- confidence good that it is populated correctly",
           "Trace SmartIo::getSsdDeviceStatisticsLogDataSpt - SSD Device Statistics Flags: "
           "supported valid normalized",
       }) {
    texts.emplace_back(text);
  }
  texts.push_back("Debug SsdDevice::getSsdData - POH = 18422, Percentage Used = " +
                  std::to_string(percentage));
  return texts;
}

std::vector<std::string> nvmeReading() {
  return {"Trace SsdDevice::getSsdData",
          "Debug SsdDevice::getSsdData - POH = 7310, Percentage Used = 12"};
}

/// What a request says that reads the till's two drives.
std::vector<std::string> update() {
  std::vector<std::string> texts = {
      "Debug SsdProvider::update", "Trace API: SsdApi::getSsdInformationList, init=1",
      "Debug SsdManager::getSsdInformationList - found 2 SSD devices"};
  for (const auto& reading : {sataReading(33), nvmeReading()}) {
    texts.insert(texts.end(), reading.begin(), reading.end());
  }
  texts.emplace_back("Trace API: SsdApi::getSsdInformationList exit, ssdcode=0x0");
  return texts;
}

std::string lines(std::initializer_list<std::vector<std::string>> parts) {
  std::string all;
  for (const auto& part : parts) {
    all += ::lines(part);
  }
  return all;
}

/// The lines of the thread that made the requests: it wrote the first one.
std::string requestLines(const TillRun& till, const Step& step) {
  return textsOf(step.log, till.log().front().thread);
}

class LogSequences : public ::testing::Test {
 protected:
  LogSequences() : till("till") { till.setting(kNoPolls); }

  /// Loads the library and has both MIs made.
  TillRun& runAfterStart(const std::vector<std::string>& steps) {
    std::vector<std::string> all = {"load", "instance-mi", "indication-mi"};
    all.insert(all.end(), steps.begin(), steps.end());
    return till.run(all);
  }

  TillRun till;
};

TEST_F(LogSequences, LoadingMakesTheManagerAndNothingElse) {
  till.run({"load", "unload"});
  EXPECT_EQ(textsOf(till.step("load").log),
            lines({{"Debug SsdDeviceList constructed", "Debug SsdManager Constructed"}}));
  EXPECT_EQ(textsOf(till.step("unload").log),
            lines({{"Debug SsdManager Destroyed", "Debug SsdDeviceList destroyed"}}));
}

TEST_F(LogSequences, StartingFindsTheDrivesReadsThemAndFillsTheCache) {
  till.run({"load", "instance-mi", "cleanup-instance", "unload"});
  const std::string seen = requestLines(till, till.step("instance-mi"));
  const std::size_t banner = seen.find("Debug Zarn");
  ASSERT_NE(banner, std::string::npos);
  const std::size_t afterBanner = seen.find('\n', banner) + 1;
  EXPECT_EQ(seen.substr(0, banner),
            "Debug SsdProvider_Create_InstanceMI, broker = (ptr), version = 100\n");
  EXPECT_TRUE(std::regex_match(
      seen.substr(banner, afterBanner - banner),
      std::regex("Debug Zarn SSD Life Monitor for Linux release v1\\.2\\.0 dated "
                 "[A-Z][a-z]{2} [ 123][0-9] [0-9]{4} at [0-9]{2}:[0-9]{2}:[0-9]{2}\n")));
  EXPECT_EQ(
      seen.substr(afterBanner),
      lines({
          {"Debug SsdProvider::constructor", "Debug SsdProvider::initialise",
           "Trace API: SsdApi::initialiseSsdDriver, init=0", "Trace Config::initialise",
           "Debug Config constructed", "Debug Config::GetInstance - new instance = (id)",
           "Trace BiosVersion::getBiosVersion",
           "Debug BiosVersion::getBiosVersion - returning 1.02.3\n",
           "Debug SsdManager::initialise - Found fixed scsi disk sda",
           "Debug ATA Major version = 00000ff0", "Debug model: TS64GHSD630",
           "Debug serial no: E214870391", "Debug fw rev: 20180526", "Debug Rotation word: 0x0001",
           "Debug SSD Heuristics: ' SSD ' in model - No", "Debug Non-rotating SSD Yes",
           "Debug PollingThread constructed - pollingRate=1000000", "Debug SsdDevice constructed",
           "Trace SsdDevice::initialise - drive sda devPath /dev/sda, listener=0x(ptr)",
           // The line ends where a wide text would stand.
           "Debug SsdDevice::initialise - found supported model "},
          sataReading(33),
          {"Debug PollingThread::initialise - _ssdDevice=(id)",
           "Debug PollingThread::Start - Thread started id=(id)",
           // The wide line that the list adds is dropped.
           "Debug Model Number: KINGSTON SNV2S250G", "Debug Serial Number: 50026B7686C1F0A2",
           "Debug Firmware Version: SBM02103",
           "Debug PollingThread constructed - pollingRate=1000000", "Debug SsdDevice constructed",
           "Trace SsdDevice::initialise - drive nvme0 devPath /dev/nvme0, listener=0x(ptr)",
           "Debug using defult DEF_SSDNVME_LOG_ALGO Statistics Log algo"},
          nvmeReading(),
          {"Debug PollingThread::initialise - _ssdDevice=(id)",
           "Debug PollingThread::Start - Thread started id=(id)",
           "Debug SsdManager::initialise - found 2 SSD devices",
           "Trace API: SsdApi::initialiseSsdDriver exit, ssdcode=0x0",
           "Debug SsdProvider::initSensorProvider"},
          update(),
          {"Info SsdProvider created and initialised"},
      }));
}

TEST_F(LogSequences, StartingFindsSeveralDrivesInTheOrderOfTheirDirectory) {
  TillRun mixed("mixed-disks");
  mixed.setting(kNoPolls);
  mixed.run({"load", "instance-mi", "cleanup-instance", "unload"});
  std::string found;
  for (const LogLine& line : mixed.step("instance-mi").log) {
    for (const char* begin : {"Debug SsdManager::initialise", "Debug SmartIo::getIdentifyData",
                              "Debug model:", "Debug SSD Heuristics", "Debug Non-rotating",
                              "Trace SsdDevice::initialise", "Debug SsdDevice::initialise",
                              "Debug using", "Debug Model Number"}) {
      if (line.text.find(begin) == 0) {
        found += withoutAddresses(line.text) + '\n';
      }
    }
  }
  EXPECT_EQ(found,
            lines({{
                "Debug SsdManager::initialise - Found fixed scsi disk sdb",
                "Debug model: WDC WD2500AAKX SSD cache",
                "Debug SSD Heuristics: ' SSD ' in model - Yes",
                "Debug Non-rotating SSD No",
                "Debug SsdManager::initialise - Found fixed scsi disk sdc",
                "Debug model: TS64GHSD630",
                "Debug SSD Heuristics: ' SSD ' in model - No",
                "Debug Non-rotating SSD Yes",
                "Trace SsdDevice::initialise - drive sdc devPath /dev/sdc, listener=0x(ptr)",
                "Debug SsdDevice::initialise - found supported model ",
                "Debug SsdManager::initialise - Found fixed scsi disk sda",
                "Debug model: ST500DM002-1BD142",
                "Debug SSD Heuristics: ' SSD ' in model - No",
                "Debug Non-rotating SSD No",
                "Debug SsdManager::initialise - Found fixed scsi disk sdf",
                "Debug model: Samsung SSD 860 EVO 250GB",
                "Debug SSD Heuristics: ' SSD ' in model - Yes",
                "Debug Non-rotating SSD Yes",
                "Trace SsdDevice::initialise - drive sdf devPath /dev/sdf, listener=0x(ptr)",
                "Debug SsdDevice::initialise - cannot find model ",
                "Debug using defult ata spec SSD Statistics Log algo as backup",
                "Debug SsdManager::initialise - Found fixed scsi disk sde",
                "Debug SmartIo::getIdentifyData - Ioctl failed, 0x00000016",
                "Debug Model Number: KINGSTON SNV2S250G",
                "Trace SsdDevice::initialise - drive nvme0 devPath /dev/nvme0, listener=0x(ptr)",
                "Debug using defult DEF_SSDNVME_LOG_ALGO Statistics Log algo",
                "Debug SsdManager::initialise - found 3 SSD devices",
            }}));
}

TEST_F(LogSequences, TheSecondFactorySaysOneLine) {
  runAfterStart({"cleanup-instance", "cleanup-indication", "unload"});
  EXPECT_EQ(requestLines(till, till.step("indication-mi")),
            "Debug SsdProvider_Create_IndicationMI, broker=(ptr), version=100\n");
}

TEST_F(LogSequences, ARequestReadsEveryDriveAgain) {
  runAfterStart({"list", "names", "get:TS64", "cleanup-instance", "cleanup-indication", "unload"});
  EXPECT_EQ(requestLines(till, till.step("list")),
            lines({{"Debug drvEnumInstances - provider=(ptr)",
                    "Debug SsdProvider::enumInstances - Reference object path: class = "
                    "KAV_SSDLifeMonitor, namespace = root/cimv2\n"},
                   update()}));
  EXPECT_EQ(requestLines(till, till.step("names")),
            lines({{"Debug drvEnumInstanceNames - provider=(ptr)",
                    "Debug SsdProvider::enumInstanceNames - Reference object path: class = "
                    "KAV_SSDLifeMonitor, namespace = root/cimv2\n"},
                   update()}));
  EXPECT_EQ(requestLines(till, till.step("get")),
            lines({{"Debug drvGetInstance - provider=(ptr)",
                    "Debug SsdProvider::getInstance - Object path: class = KAV_SSDLifeMonitor, "
                    "namespace = root/cimv2"},
                   update()}));
}

TEST_F(LogSequences, ASubscriptionSaysWhatItCameTo) {
  runAfterStart({"authorize", "must-poll", "activate", "enable", "disable", "deactivate",
                 "cleanup-indication", "cleanup-instance", "unload"});
  const auto texts = [this](const char* step) { return requestLines(till, till.step(step)); };
  const std::string path = "Object path: class = KAV_SSDLifeMonitorFailureImminent";
  EXPECT_EQ(texts("authorize"), lines({{"Debug drvAuthorizeFilter - provider = (ptr)",
                                        "Debug SsdProvider::authorizeFilter - " + path}}));
  EXPECT_EQ(texts("must-poll"), lines({{"Debug drvMustPoll - provider=(ptr)",
                                        "Debug SsdProvider::mustPoll - not supported"}}));
  EXPECT_EQ(texts("activate"),
            lines({{"Debug drvActivateFilter - provider = (ptr)",
                    "Debug SsdProvider::activateFilter - " + path,
                    "Debug SsdProvider::activateFilter - First activiation",
                    "Debug SsdProvider::activateFilter - current activeIndSubscriptions=0",
                    "Debug Indication Thread Context: indCtx = (ptr)",
                    "Trace API: SsdApi::registerSsdListener, init=1",
                    "Trace API: SsdApi::registerSsdListener exit"}}));
  EXPECT_EQ(texts("enable"), lines({{"Debug enableIndications - provider = (ptr)",
                                     "Debug SsdProvider::enableIndications((ptr),(ptr))"}}));
  EXPECT_EQ(texts("disable"), lines({{"Debug drvDisableIndications - provider = (ptr)",
                                      "Debug SsdProvider::disableIndications((ptr),(ptr))"}}));
  EXPECT_EQ(texts("deactivate"),
            lines({{"Debug drvDeActivateFilter - provider = (ptr)",
                    "Debug SsdProvider::deActivateFilter - " + path,
                    "Debug SsdProvider::deActivateFilter - Last deActiviation",
                    "Debug SsdProvider::deActivateFilter - current activeIndSubscriptions=1",
                    "Trace API: SsdApi::registerSsdListener, init=1",
                    "Trace API: SsdApi::registerSsdListener exit"}}));
  EXPECT_EQ(texts("cleanup-indication"),
            lines({{"Debug drvIndicationCleanup - provider=(ptr), terminating=1",
                    "Debug SsdProvider::indicationCleanup",
                    "Trace API: SsdApi::unregisterSsdListener, init=1",
                    "Trace API: SsdApi::unregisterSsdListener exit",
                    "Debug __drv_cleanup - provider=(ptr), use_count=2"}}));
  EXPECT_EQ(texts("cleanup-instance"),
            lines({{"Debug drvInstanceCleanup - provider = (ptr), terminating=1",
                    "Debug __drv_cleanup - provider=(ptr), use_count=1",
                    "Debug SsdProvider::destructor - service=0x(ptr)",
                    "Debug deleting service object", "Debug deleting indication context object",
                    "Info SsdProvider - provider destroyed"}}));
}

TEST_F(LogSequences, UnloadingJoinsThePollingThreadsOneByOne) {
  runAfterStart({"cleanup-instance", "cleanup-indication", "unload"});
  std::vector<std::string> texts = {"Debug SsdManager Destroyed"};
  for (int i = 0; i < 2; ++i) {
    for (const char* text :
         {"Trace PollingThread::terminate entered",
          "Debug PollingThread::Terminate - pthread_join((id), 0)...done rc=0x00000000",
          "Debug PollingThread::Terminate - thread terminated", "Debug SsdDevice destroyed",
          "Debug PollingThread Destroyed"}) {
      texts.emplace_back(text);
    }
  }
  texts.emplace_back("Debug SsdDeviceList destroyed");
  EXPECT_EQ(requestLines(till, till.step("unload")), lines({texts}));
}

TEST_F(LogSequences, APollingThreadThatHasNothingToDoSaysOnlyThatItRan) {
  runAfterStart({"sleep:50", "cleanup-instance", "cleanup-indication", "unload"});
  const std::vector<unsigned long> threads = threadsOf(till.log());
  ASSERT_EQ(threads.size(), 3U);
  for (std::size_t i = 1; i < threads.size(); ++i) {
    EXPECT_EQ(textsOf(till.log(), threads[i]),
              lines({{"Debug readThread - entered", "Debug readThread - exited"}}));
  }
}

TEST_F(LogSequences, TerminatingReturnsOnlyAfterTheThreadHasSaidThatItLeft) {
  runAfterStart({"cleanup-instance", "cleanup-indication", "unload"});
  const std::string all = textsOf(till.step("unload").log);
  const std::size_t exited = all.find("readThread - exited");
  EXPECT_LT(all.find("PollingThread::terminate entered"), exited);
  EXPECT_LT(exited, all.find("pthread_join"));
}

/// The thread ids that the messages show are those that the lines of these threads bear.
TEST_F(LogSequences, TheIdsOfPollingThreadsAreThoseOfTheirLines) {
  runAfterStart({"cleanup-instance", "cleanup-indication", "unload"});
  const std::vector<unsigned long> threads = threadsOf(till.log());
  ASSERT_EQ(threads.size(), 3U);
  for (std::size_t i = 1; i < threads.size(); ++i) {
    char id[16];
    std::snprintf(id, sizeof id, "0x%08lx", threads[i]);
    EXPECT_EQ(countOf(till.logText(), std::string("Thread started id=") + id + "\n"), 1U);
    EXPECT_EQ(countOf(till.logText(), std::string("pthread_join(") + id + ", 0)...done"), 1U);
  }
}

TEST_F(LogSequences, APollSaysWhatARequestSaysOfTheDrive) {
  TillRun polled(machineWith(sataDrive("sda", "S1", "33")));
  polled.setting("PollRate=2");
  polled.run({"load", "instance-mi", "sleep:120", "cleanup-instance", "unload"});
  const std::vector<unsigned long> threads = threadsOf(polled.log());
  ASSERT_EQ(threads.size(), 2U);
  std::string seen = textsOf(polled.log(), threads[1]);
  const std::string entered = "Debug readThread - entered\n";
  const std::string exited = "Debug readThread - exited\n";
  ASSERT_EQ(seen.substr(0, entered.size()), entered);
  ASSERT_EQ(seen.substr(seen.size() - exited.size()), exited);
  seen = seen.substr(entered.size(), seen.size() - entered.size() - exited.size());
  const std::string reading = ::lines(sataReading(33));
  ASSERT_GE(seen.size(), reading.size());
  while (!seen.empty()) {
    ASSERT_EQ(seen.substr(0, reading.size()), reading);
    seen.erase(0, reading.size());
  }
}

TEST_F(LogSequences, AnEventOfAPollIsSaidOnceAndRememberedAfterwards) {
  TillRun worn(machineWith(sataDrive("sda", "S1", R"({"readings": [95, 95, 96, 97]})")));
  worn.setting("PollRate=60");
  worn.run({"load", "indication-mi", "activate", "enable", "indication:20000", "sleep:6000",
            "threads:20000", "cleanup-indication", "unload"});
  const std::vector<unsigned long> threads = threadsOf(worn.log());
  ASSERT_GE(threads.size(), 2U);
  std::string seen = textsOf(worn.log(), threads[1]);
  const std::vector<std::string> event = {
      // The line ends where a wide text would stand.
      "Debug SsdManager::SsdDeviceFailureImminent: Model=",
      "Debug SsdProvider::SsdFailureImminent(TS64GHSD630,S1,sda,0x60)",
      "Debug SsdProvider::sendIndication(TS64GHSD630___S1___sda,sda)"};
  const std::string first = lines({{"Debug readThread - entered"}, sataReading(96), event});
  ASSERT_EQ(seen.substr(0, first.size()), first);
  seen.erase(0, first.size());
  const std::string exited = "Debug readThread - exited\n";
  ASSERT_EQ(seen.substr(seen.size() - exited.size()), exited);
  seen.erase(seen.size() - exited.size());
  const std::string again =
      lines({sataReading(97),
             {"Trace SsdDevice::fireSsdFailureImminent - already fired one Failure Imminent event "
              "- exiting"}});
  ASSERT_FALSE(seen.empty());
  while (!seen.empty()) {
    ASSERT_EQ(seen.substr(0, again.size()), again);
    seen.erase(0, again.size());
  }
}

TEST_F(LogSequences, ADriveWornAtTheStartIsReportedBeforeAnybodyListens) {
  TillRun worn(machineWith(sataDrive("sda", "S1", "96")));
  worn.setting(kNoPolls);
  worn.run({"load", "instance-mi", "cleanup-instance", "unload"});
  const std::string seen = requestLines(worn, worn.step("instance-mi"));
  EXPECT_EQ(countOf(seen, lines({sataReading(96),
                                 {"Debug SsdManager::SsdDeviceFailureImminent: Model=",
                                  "Debug SsdManager::SsdDeviceFailureImminent - No registered "
                                  "ISsdListener - exiting",
                                  "Debug PollingThread::initialise - _ssdDevice=(id)"}})),
            1U);
  EXPECT_EQ(countOf(seen, lines({sataReading(96),
                                 {"Trace SsdDevice::fireSsdFailureImminent - already fired one "
                                  "Failure Imminent event - exiting",
                                  "Trace API: SsdApi::getSsdInformationList exit, ssdcode=0x0"}})),
            1U);
}

TEST_F(LogSequences, AMachineWithoutABiosVersionIsSaidToBeUninitialised) {
  TillRun bare("no-dmi");
  bare.run({"load", "instance-mi", "indication-mi", "list", "cleanup-instance",
            "cleanup-indication", "unload"});
  const std::string seen = textsOf(bare.step("instance-mi").log);
  EXPECT_EQ(seen.substr(seen.find("Trace BiosVersion")),
            lines({{"Trace BiosVersion::getBiosVersion",
                    "Error BiosVersion::getBiosVersion - open "
                    "/sys/devices/virtual/dmi/id/bios_version failed, errno=0x00000002",
                    "Trace API: SsdApi::initialiseSsdDriver exit, ssdcode=0x3",
                    "Error SsdProvider::initialize - Initialise SSD Driver failed - "
                    "sscode=0x00000003"}}));
  EXPECT_EQ(textsOf(bare.step("list").log), "Debug drvEnumInstances - provider=(ptr)\n");
}

TEST_F(LogSequences, AMachineWithoutBlockDevicesIsSaidToBeUninitialised) {
  TillRun bare("no-sysfs");
  bare.run({"load", "instance-mi", "cleanup-instance", "unload"});
  EXPECT_EQ(countOf(textsOf(bare.step("instance-mi").log),
                    "Trace API: SsdApi::initialiseSsdDriver exit, ssdcode=0x4\n"
                    "Error SsdProvider::initialize - Initialise SSD Driver failed - "
                    "sscode=0x00000004\n"),
            1U);
}

// ---- Levels ---------------------------------------------------------------------------------

class LogLevels : public ::testing::Test {
 protected:
  /// The levels that occur in the log of a life with one failing drive, configured at `level`.
  static std::string levelsAt(const std::string& level) {
    TillRun till("sick-drives");
    till.setting(kNoPolls);
    till.logSetting(level);
    till.run({"load", "instance-mi", "list", "cleanup-instance", "unload"});
    std::string levels;
    for (const char* name : {"Error", "Info", "Debug", "Trace"}) {
      for (const LogLine& line : till.log()) {
        if (line.text.find(std::string(name) + ' ') == 0) {
          levels += std::string(name) + ' ';
          break;
        }
      }
    }
    return levels;
  }
};

TEST_F(LogLevels, LetThroughTheirOwnAndWhatMattersMore) {
  EXPECT_EQ(levelsAt("Level=0"), "");
  EXPECT_EQ(levelsAt("Level=1"), "Error ");
  EXPECT_EQ(levelsAt("Level=2"), "Error Info ");
  EXPECT_EQ(levelsAt("Level=3"), "Error Info Debug ");
  EXPECT_EQ(levelsAt("Level=4"), "Error Info Debug Trace ");
}

TEST_F(LogLevels, AreInfoUnlessALevelIsGivenThatThereIs) {
  EXPECT_EQ(levelsAt("Level=5"), "Error Info ");
  EXPECT_EQ(levelsAt("Level=x"), "Error Info ");
}

}  // namespace
