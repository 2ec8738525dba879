// What a client gets for its requests, and in which cases it gets nothing.

#include <cmpi/cmpidt.h>
#include <gtest/gtest.h>

#include "tests/system/TillRun.h"

namespace {

using nlohmann::json;

/// The results of a started till's steps.
class Requests : public ::testing::Test {
 protected:
  /// Runs the steps after a start; the library stays to the end.
  static TillRun& run(TillRun& till, const std::vector<std::string>& steps) {
    std::vector<std::string> all = {"load", "instance-mi", "indication-mi"};
    all.insert(all.end(), steps.begin(), steps.end());
    all.emplace_back("leave-loaded");
    return till.setting(kNoPolls).run(all);
  }
  static void isRefused(const json& result, CMPIrc rc) {
    EXPECT_EQ(result.at("rc"), rc) << result;
    EXPECT_EQ(result.at("message"), "");
    EXPECT_EQ(result.at("instances").size() + result.at("paths").size(), 0U) << result;
  }
};

TEST_F(Requests, ForNamesGiveThePathOfEveryDriveInTheOrderOfDiscovery) {
  TillRun till("mixed-disks");
  const json result = run(till, {"names"}).step("names").result;
  EXPECT_EQ(result.at("rc"), CMPI_RC_OK);
  EXPECT_EQ(result.at("done"), 1);
  EXPECT_EQ(result.at("paths"),
            (json{"root/cimv2:KAV_SSDLifeMonitor.DeviceID=\"TS64GHSD630___E214870391___sdc\"",
                  "root/cimv2:KAV_SSDLifeMonitor.DeviceID=\"Samsung SSD 860 EVO 250GB___"
                  "S3YJNB0K512345X___sdf\"",
                  "root/cimv2:KAV_SSDLifeMonitor.DeviceID=\"KINGSTON SNV2S250G___"
                  "50026B7686C1F0A0___nvme0\""}));
}

TEST_F(Requests, ForInstancesGiveEveryPropertyOfEveryDrive) {
  TillRun till("till");
  const json result = run(till, {"list"}).step("list").result;
  EXPECT_EQ(result.at("rc"), CMPI_RC_OK);
  EXPECT_EQ(result.at("done"), 1);
  ASSERT_EQ(result.at("instances").size(), 2U);
  EXPECT_EQ(result.at("instances")[0],
            (json{{"Caption", "SSD Life Monitor (TS64GHSD630___E214870391___sda)"},
                  {"CreationClassName", "KAV_SSDLifeMonitor"},
                  {"Description",
                   "Lifecycle information for Solid State Disk: TS64GHSD630 with Serial Number "
                   "E214870391 on Linux Physical Drive sda"},
                  {"DeviceID", "TS64GHSD630___E214870391___sda"},
                  {"DriveFirmwareVersion", "20180526"},
                  {"DriveModel", "TS64GHSD630"},
                  {"DriveSerialNumber", "E214870391"},
                  {"PhysicalDrive", "sda"},
                  {"PoweredOnHours", 18422},
                  {"PercentageUsed", 33},
                  {"PercentageUsedSource", 2},
                  {"FailureImminent", false},
                  {"SystemCreationClassName", "Computer System"},
                  {"SystemName", "Norvane POS SSD Life Monitor Drivers"}}));
  EXPECT_EQ(result.at("instances")[1].at("DeviceID"),
            "KINGSTON SNV2S250G___50026B7686C1F0A2___nvme0");
}

TEST_F(Requests, GetTheFirstDriveThatBeginsWithTheirKey) {
  TillRun till("ten-nvme");
  run(till, {"get:", "get:KING", "get:KINGSTON SNV2S250G___50026B7686C1F0A7",
             "get:KINGSTON SNV2S250G___50026B7686C1F0A3___nvme3"});
  for (const auto& [nth, drive] : {std::pair<std::size_t, const char*>{0, "nvme0"},
                                   {1, "nvme0"},
                                   {2, "nvme7"},
                                   {3, "nvme3"}}) {
    const json result = till.step("get", nth).result;
    EXPECT_EQ(result.at("rc"), CMPI_RC_OK);
    EXPECT_EQ(result.at("done"), 1);
    ASSERT_EQ(result.at("instances").size(), 1U);
    EXPECT_EQ(result.at("instances")[0].at("PhysicalDrive"), drive);
  }
}

TEST_F(Requests, ForADriveThatThereIsNotAnswer1) {
  TillRun till("till");
  run(till, {"get:Unknown", "get:KINGSTON SNV2S250G___50026B7686C1F0A2___nvme01"});
  for (const std::size_t nth : {0U, 1U}) {
    isRefused(till.step("get", nth).result, CMPI_RC_ERR_FAILED);
    EXPECT_EQ(till.step("get", nth).result.at("done"), 1);
  }
}

TEST_F(Requests, TakeTheNamespaceInAnyLetterCaseButTheClassInItsOwn) {
  TillRun till("till");
  run(till, {"list:ROOT/CIMV2:KAV_SSDLifeMonitor", "list:root/cimv2:kav_ssdlifemonitor",
             "names:root/other:KAV_SSDLifeMonitor", "get-in:root/other:KAV_SSDLifeMonitor",
             "get-in:root/cimv2:Other"});
  EXPECT_EQ(till.step("list").result.at("rc"), CMPI_RC_OK);
  isRefused(till.step("list", 1).result, CMPI_RC_ERR_INVALID_CLASS);
  isRefused(till.step("names").result, CMPI_RC_ERR_INVALID_NAMESPACE);
  isRefused(till.step("get-in").result, CMPI_RC_ERR_INVALID_NAMESPACE);
  isRefused(till.step("get-in", 1).result, CMPI_RC_ERR_INVALID_CLASS);
  for (const Step& step : till.steps()) {
    if (step.result.contains("done")) {
      EXPECT_EQ(step.result.at("done"), 1) << step.step;
    }
  }
}

TEST_F(Requests, OnAMachineWithoutDrivesAnswer1) {
  TillRun till("no-drives");
  run(till, {"names", "list", "get:"});
  for (const char* step : {"names", "list", "get"}) {
    isRefused(till.step(step).result, CMPI_RC_ERR_FAILED);
    EXPECT_EQ(till.step(step).result.at("done"), 1);
  }
}

TEST_F(Requests, OnAMachineThatCouldNotBeInitialisedAnswer16) {
  for (const char* machine : {"no-dmi", "no-sysfs"}) {
    TillRun till(machine);
    run(till, {"names", "list", "get:", "authorize", "must-poll", "activate", "deactivate",
               "enable", "disable", "create"});
    for (const char* step : {"instance-mi", "indication-mi"}) {
      EXPECT_EQ(till.step(step).result.at("rc"), CMPI_RC_OK);
    }
    for (const char* step : {"names", "list", "get"}) {
      isRefused(till.step(step).result, CMPI_RC_ERR_METHOD_NOT_AVAILABLE);
      EXPECT_EQ(till.step(step).result.at("done"), 0);
    }
    for (const char* step : {"authorize", "must-poll", "activate", "deactivate"}) {
      EXPECT_EQ(till.step(step).result.at("rc"), CMPI_RC_ERR_METHOD_NOT_AVAILABLE);
    }
    isRefused(till.step("create").result, CMPI_RC_ERR_NOT_SUPPORTED);
  }
}

TEST_F(Requests, ThatWouldChangeAnythingAnswer7) {
  TillRun till("till");
  run(till, {"create", "modify", "delete", "query"});
  for (const char* step : {"create", "modify", "delete", "query"}) {
    isRefused(till.step(step).result, CMPI_RC_ERR_NOT_SUPPORTED);
    EXPECT_EQ(till.step(step).result.at("done"), 0);
  }
}

TEST_F(Requests, ForFiltersTakeTheirOwnClassOnly) {
  TillRun till("till");
  run(till, {"authorize", "authorize:CIM_ProcessIndication", "must-poll", "activate:Other",
             "deactivate:Other", "activate", "deactivate"});
  EXPECT_EQ(till.step("authorize").result.at("rc"), CMPI_RC_OK);
  EXPECT_EQ(till.step("authorize", 1).result.at("rc"), CMPI_RC_ERR_INVALID_CLASS);
  EXPECT_EQ(till.step("must-poll").result.at("rc"), CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(till.step("activate").result.at("rc"), CMPI_RC_ERR_INVALID_CLASS);
  EXPECT_EQ(till.step("deactivate").result.at("rc"), CMPI_RC_ERR_INVALID_CLASS);
  EXPECT_EQ(till.step("activate", 1).result.at("rc"), CMPI_RC_OK);
  EXPECT_EQ(till.step("deactivate", 1).result.at("rc"), CMPI_RC_OK);
}

TEST_F(Requests, ToGoAnswer50UnlessTheyMeanIt) {
  TillRun till("till");
  till.setting(kNoPolls);
  till.run({"load", "instance-mi", "indication-mi", "cleanup-instance:0", "cleanup-indication:0",
            "cleanup-instance", "list", "cleanup-indication", "list", "unload"});
  EXPECT_EQ(till.step("cleanup-instance").result.at("rc"), CMPI_RC_DO_NOT_UNLOAD);
  EXPECT_EQ(till.step("cleanup-indication").result.at("rc"), CMPI_RC_DO_NOT_UNLOAD);
  EXPECT_EQ(till.step("cleanup-instance", 1).result.at("rc"), CMPI_RC_OK);
  EXPECT_EQ(till.step("list").result.at("rc"), CMPI_RC_OK);
  EXPECT_EQ(till.step("cleanup-indication", 1).result.at("rc"), CMPI_RC_OK);
}

TEST_F(Requests, AfterTheLastCleanUpAreAnsweredByAFreshProvider) {
  TillRun till("till");
  till.setting(kNoPolls);
  till.run({"load", "instance-mi", "cleanup-instance", "instance-mi", "list", "leave-loaded"});
  EXPECT_EQ(till.step("list").result.at("rc"), CMPI_RC_OK);
  EXPECT_EQ(till.step("list").result.at("instances").size(), 2U);
  // The core has stayed: the machine is not scanned again.
  EXPECT_EQ(countOf(textsOf(till.step("instance-mi", 1).log),
                    "Trace API: SsdApi::initialiseSsdDriver, init=1\n"
                    "Trace API: SsdApi::initialiseSsdDriver exit, ssdcode=0x0\n"),
            1U);
  EXPECT_EQ(till.journal("glob").size(), 1U);
}

TEST_F(Requests, ReadEveryDriveEachTime) {
  TillRun till(machineWith(sataDrive("sda", "S1", R"({"readings": [1, 2, 3, 4, 5]})")));
  run(till, {"list", "names", "list"});
  // At its discovery, for the cache, and by each request.
  EXPECT_EQ(till.step("list").result.at("instances")[0].at("PercentageUsed"), 3);
  EXPECT_EQ(till.step("list", 1).result.at("instances")[0].at("PercentageUsed"), 5);
}

TEST_F(Requests, ShowTheLastGoodReadingOfADriveThatFails) {
  TillRun till(machineWith(sataDrive("sda", "S1", R"({"readings": [1, 2, 3]})"),
                           R"("faults": [{"call": "ioctl", "node": "sda", "request":
                           "HDIO_DRIVE_CMD", "feature": "0xD0", "nth": 3, "errno": "EIO"}],)"));
  run(till, {"list"});
  EXPECT_EQ(till.step("list").result.at("rc"), CMPI_RC_OK);
  EXPECT_EQ(till.step("list").result.at("instances")[0].at("PercentageUsed"), 2);
  EXPECT_EQ(countOf(till.logText(), "SsdDevice::getSsdData - algo failed\n"), 1U);
}

TEST_F(Requests, ShowADriveAboveTheThresholdAsFailing) {
  TillRun till(machineWith(sataDrive("sda", "S1", "95") + "," + sataDrive("sdb", "S2", "96") + "," +
                           sataDrive("sdc", "S3", "255")));
  run(till, {"list"});
  const json instances = till.step("list").result.at("instances");
  EXPECT_EQ(instances[0].at("FailureImminent"), false);
  EXPECT_EQ(instances[1].at("FailureImminent"), true);
  EXPECT_EQ(instances[2].at("FailureImminent"), false);
  EXPECT_EQ(instances[2].at("PercentageUsed"), 255);
}

TEST_F(Requests, GoByTheConfiguredThreshold) {
  TillRun till(machineWith(sataDrive("sda", "S1", "50") + "," + sataDrive("sdb", "S2", "51")));
  till.setting("PercentUsedThreshold=50");
  run(till, {"list"});
  const json instances = till.step("list").result.at("instances");
  EXPECT_EQ(instances[0].at("FailureImminent"), false);
  EXPECT_EQ(instances[1].at("FailureImminent"), true);
}

/// The broker's calls of a whole list, from the library's side of the interface.
TEST_F(Requests, MakeTheSameCallsOfTheBrokerForEachDrive) {
  TillRun till(machineWith(sataDrive("sda", "S1", "33")));
  run(till, {"forget-calls", "list", "calls"});
  const json calls = till.step("calls").result;
  EXPECT_EQ(calls.at("violations"), json::array());
  std::string made;
  for (const std::string text : calls.at("calls")) {
    const std::size_t dot = text.find('.');
    made += text.substr(dot + 1, text.find_first_of(",)", dot) - dot - 1) + '\n';
  }
  // What is read of the request comes first, in the broker's own way.
  made.erase(0, made.find("newObjectPath"));
  EXPECT_EQ(made, lines({"newObjectPath(\"root/cimv2\"",
                         "addKey(DeviceID",
                         "newInstance(objectPath#2",
                         "setProperty(Caption",
                         "setProperty(CreationClassName",
                         "setProperty(Description",
                         "setProperty(DeviceID",
                         "setProperty(DriveFirmwareVersion",
                         "setProperty(DriveModel",
                         "setProperty(DriveSerialNumber",
                         "setProperty(PhysicalDrive",
                         "setProperty(DeviceID",
                         "setProperty(PoweredOnHours",
                         "setProperty(PercentageUsed",
                         "setProperty(PercentageUsedSource",
                         "setProperty(FailureImminent",
                         "setProperty(SystemCreationClassName",
                         "setProperty(SystemName",
                         "returnInstance(instance#1",
                         "returnDone("}));
}

TEST_F(Requests, SayWhyTheBrokerFailedThem) {
  TillRun till("till");
  run(till, {"fail:setProperty", "list", "list"});
  isRefused(till.step("list").result, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(till.step("list").out, "Utils::SetCharsProperty - bad status 1\n");
  const std::string log = textsOf(till.step("list").log);
  EXPECT_EQ(log.substr(log.find("Error ")),
            "Error SsdProvider::enumerateInstances - CMPIStatus 1, refused\n"
            "Debug SsdProvider::enumerateInstances - No instances found\n");
  EXPECT_EQ(till.step("list", 1).result.at("rc"), CMPI_RC_OK);
}

// ---- Odd drives -----------------------------------------------------------------------------

TEST_F(Requests, PassOnDriveTextsAsTheyAre) {
  TillRun till(machineWith(R"({"kind": "sata", "node": "sda", "model": "100%n %s%s", "serial":
      "<&\"\\>", "firmware": "%d", "hours": 1, "wear": 1, "statistics": true})"));
  run(till, {"list", "get:100%n %s%s___<&\"\\>___sda"});
  const json drive = till.step("list").result.at("instances")[0];
  EXPECT_EQ(drive.at("DriveModel"), "100%n %s%s");
  EXPECT_EQ(drive.at("DriveSerialNumber"), "<&\"\\>");
  EXPECT_EQ(drive.at("DriveFirmwareVersion"), "%d");
  EXPECT_EQ(drive.at("DeviceID"), "100%n %s%s___<&\"\\>___sda");
  EXPECT_EQ(till.step("get").result.at("instances")[0], drive);
}

TEST_F(Requests, AnswerForAMachineWithAHundredDrives) {
  TillRun till("hundred-drives");
  till.logSetting("Level=2");
  run(till, {"list"});
  EXPECT_EQ(till.step("list").result.at("rc"), CMPI_RC_OK);
  EXPECT_EQ(till.step("list").result.at("instances").size(), 100U);
}

}  // namespace
