// Coming and going: what a load takes, an unload gives back.

#include <gtest/gtest.h>

#include "tests/system/TillRun.h"

namespace {

using nlohmann::json;

TEST(Loading, AndUnloadingReallyTakesTheLibraryOutOfTheProcess) {
  TillRun till("till");
  till.setting("PollRate=1000000");
  till.run({"load", "unload", "load", "instance-mi", "indication-mi", "list", "activate", "enable",
            "cleanup-instance", "cleanup-indication", "unload"});
  EXPECT_EQ(till.step("unload").result, true);
  EXPECT_EQ(till.step("unload", 1).result, true);
}

TEST(Loading, TakesTheLibraryOutAfterItsIndicationToo) {
  TillRun till(machineWith(sataDrive("sda", "S1", R"({"readings": [95, 95, 96]})")));
  till.setting("PollRate=5");
  till.run({"load", "indication-mi", "activate", "enable", "indication:20000", "threads:20000",
            "cleanup-indication", "unload"});
  EXPECT_EQ(till.step("unload").result, true);
}

/// The thread is still on its way when the library is given up; its code has to stay until it is
/// through.
TEST(Loading, WaitsForAnIndicationsThreadBeforeItsCodeGoes) {
  TillRun till(machineWith(sataDrive("sda", "S1", R"({"readings": [95, 95, 96]})"),
                           R"("time": {"scale": 1}, )"));
  till.setting("PollRate=1000000");
  till.run({"load", "instance-mi", "activate", "enable", "slow-indications:1500", "list",
            "cleanup-instance", "unload-at-once", "threads:20000"});
  EXPECT_EQ(till.step("unload-at-once").result, true);
  EXPECT_EQ(countOf(till.step("list").err, "IndicateThread - Exit\n"), 0U);
  EXPECT_EQ(countOf(till.step("unload-at-once").err, "IndicateThread - Exit\n"), 1U);
}

/// How long the unloading thread slept for the indications' threads, each time.
std::vector<int> pausesOf(const TillRun& till) {
  std::vector<int> pauses;
  for (const json& entry : till.journal("usleep")) {
    if (entry.at("tid") == entry.at("pid")) {
      pauses.push_back(entry.at("microseconds"));
    }
  }
  return pauses;
}

TEST(Loading, GivesAnIndicationsThreadThatHasEndedTimeForItsLastInstructionsOnly) {
  TillRun till(machineWith(sataDrive("sda", "S1", R"({"readings": [95, 95, 96]})")));
  till.setting("PollRate=1000000");
  till.run({"load", "instance-mi", "activate", "enable", "list", "indication:20000",
            "threads:20000", "cleanup-instance", "unload"});
  EXPECT_EQ(pausesOf(till), std::vector<int>{50000});
}

/// Its host ended it in the middle, and nothing is left to wait for.
TEST(Loading, WaitsNoLongerForAnIndicationsThreadThatItsHostHasEnded) {
  TillRun till(machineWith(sataDrive("sda", "S1", R"({"readings": [95, 95, 96]})")));
  till.setting("PollRate=1000000");
  till.run({"load", "instance-mi", "activate", "enable", "ended-indications", "list",
            "threads:20000", "cleanup-instance", "unload"});
  EXPECT_EQ(till.step("threads").result, true);
  EXPECT_EQ(countOf(till.err(), "IndicateThread - 0x"), 1U);
  EXPECT_EQ(countOf(till.err(), "IndicateThread - Exit\n"), 0U);
  EXPECT_EQ(pausesOf(till), std::vector<int>{50000});
}

TEST(Loading, WaitsForNothingWithoutAnIndication) {
  TillRun till("till");
  till.setting("PollRate=1000000");
  till.run({"load", "instance-mi", "activate", "enable", "list", "cleanup-instance", "unload"});
  EXPECT_EQ(pausesOf(till), std::vector<int>{});
}

/// The log's own descriptor stays with each load, as its handler does.
TEST(Loading, FiftyTimesLeavesNothingBehindButTheLogOfEachLoad) {
  TillRun till("till");
  till.setting("PollRate=1000000").logSetting("Level=2");
  till.run({"repeat-loading:1", "repeat-loading:50"});
  const json result = till.step("repeat-loading", 1).result;
  EXPECT_EQ(result.at("gone"), 50);
  EXPECT_EQ(result.at("after").at("threads"), result.at("before").at("threads"));
  EXPECT_EQ(result.at("after").at("descriptors").get<int>() -
                result.at("before").at("descriptors").get<int>(),
            50);
}

TEST(Loading, FiftyTimesWithoutALogLeavesNothingBehind) {
  TillRun till("till");
  till.setting("PollRate=1000000").logSetting("Level=0");
  till.run({"repeat-loading:1", "repeat-loading:50"});
  const json result = till.step("repeat-loading", 1).result;
  EXPECT_EQ(result.at("gone"), 50);
  EXPECT_EQ(result.at("after"), result.at("before"));
}

TEST(Loading, KeepsTheMachineOfEachLoadApart) {
  TillRun till("till");
  till.setting("PollRate=1000000");
  till.run({"load", "instance-mi", "cleanup-instance", "unload", "load", "instance-mi", "list",
            "cleanup-instance", "unload"});
  EXPECT_EQ(till.step("list").result.at("instances").size(), 2U);
  EXPECT_EQ(countOf(till.logText(), "SsdManager::initialise - found 2 SSD devices\n"), 2U);
  EXPECT_EQ(countOf(till.out(), "Logger created"), 2U);
}

TEST(Loading, LeavesThePollingThreadsToTheDevices) {
  TillRun till("ten-nvme");
  till.setting("PollRate=1000000");
  // Once before, for what a process gets together with its first thread.
  till.run({"repeat-loading:1", "load", "resources", "instance-mi", "resources", "cleanup-instance",
            "resources", "unload", "resources"});
  const auto threads = [&till](std::size_t nth) {
    return till.step("resources", nth).result.at("threads").get<int>();
  };
  EXPECT_EQ(threads(1) - threads(0), 10);
  EXPECT_EQ(threads(2), threads(1));  // they outlive the provider
  EXPECT_EQ(threads(3), threads(0));
}

// ---- Everything at once ---------------------------------------------------------------------

TEST(EverythingAtOnce, IsAnsweredRightOrWith16) {
  TillRun till(
      machineWith(sataDrive("sda", "S1", R"({"start": 10, "perSecond": 1})") + "," +
                      sataDrive("sdb", "S2", "20") +
                      R"(, {"kind": "nvme", "node": "nvme0", "model": "N", "serial": "S3"})",
                  R"("time": {"scale": 1000}, )"));
  till.setting("PollRate=1").setting("DebugIndications=1").logSetting("Level=1");
  till.run({"load", "instance-mi", "indication-mi", "stress:40", "cleanup-instance",
            "cleanup-indication", "unload"});
  EXPECT_EQ(till.step("stress").result.at("wrong"), 0);
  EXPECT_EQ(till.step("stress").result.at("violations"), json::array());
  EXPECT_EQ(till.step("unload").result, true);
}

}  // namespace
