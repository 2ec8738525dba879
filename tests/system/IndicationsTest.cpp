// The way of an event from a drive that wears out to those who want to know.

#include <cmpi/cmpidt.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "tests/system/TillRun.h"

namespace {

using nlohmann::json;

/// Wears past the default threshold with its third reading: the first two are made at the start.
std::string wearing(const std::string& node = "sda", const std::string& serial = "S1") {
  return sataDrive(node, serial, R"({"readings": [95, 95, 96]})");
}

constexpr char kWait[] = "indication:20000";
constexpr char kNoMore[] = "indication:150";

TEST(Indications, ArriveOnceFromThePollThatFindsTheDriveWorn) {
  TillRun till(machineWith(wearing()));
  till.setting("PollRate=60");
  till.run({"load", "indication-mi", "activate", "enable", kWait, kNoMore, "threads:20000", "calls",
            "cleanup-indication", "unload"});
  const json indication = till.step("indication").result;
  ASSERT_TRUE(indication.is_object());
  EXPECT_EQ(indication.at("namespace"), "root/cimv2");
  EXPECT_EQ(indication.at("class"), "KAV_SSDLifeMonitorFailureImminent");
  EXPECT_EQ(indication.at("keys"), 0);
  const json properties = indication.at("properties");
  EXPECT_EQ(properties.size(), 3U);
  EXPECT_EQ(properties.at("DeviceID"), "TS64GHSD630___S1___sda");
  EXPECT_EQ(properties.at("PhysicalDrive"), "sda");
  EXPECT_TRUE(std::regex_match(properties.at("IndicationTime").get<std::string>(),
                               std::regex("[0-9]{14}\\.[0-9]{6}\\+[0-9]{3}")));
  EXPECT_TRUE(till.step("indication", 1).result.is_null());
  EXPECT_EQ(till.step("calls").result.at("violations"), json::array());
}

TEST(Indications, ArriveForEachDriveThatWearsOut) {
  TillRun till(machineWith(wearing("sda", "S1") + "," + sataDrive("sdb", "S2", "10") + "," +
                           wearing("sdc", "S3")));
  till.setting("PollRate=60");
  till.run({"load", "indication-mi", "activate", "enable", kWait, kWait, kNoMore, "threads:20000",
            "cleanup-indication", "unload"});
  std::set<std::string> failing;
  for (const std::size_t nth : {0U, 1U}) {
    ASSERT_TRUE(till.step("indication", nth).result.is_object());
    failing.insert(till.step("indication", nth).result.at("properties").at("PhysicalDrive"));
  }
  EXPECT_EQ(failing, (std::set<std::string>{"sda", "sdc"}));
  EXPECT_TRUE(till.step("indication", 2).result.is_null());
}

TEST(Indications, ArriveFromARequestThatFindsTheDriveWorn) {
  TillRun till(machineWith(wearing()));
  till.setting("PollRate=1000000");
  till.run({"load", "instance-mi", "indication-mi", "activate", "enable", "list", kWait, "list",
            kNoMore, "threads:20000", "cleanup-indication", "cleanup-instance", "unload"});
  EXPECT_EQ(till.step("list").result.at("instances")[0].at("FailureImminent"), true);
  EXPECT_TRUE(till.step("indication").result.is_object());
  EXPECT_TRUE(till.step("indication", 1).result.is_null());
}

TEST(Indications, NeverArriveForADriveThatWasWornAtTheStart) {
  TillRun till(machineWith(sataDrive("sda", "S1", "96")));
  till.setting("PollRate=2");
  till.run({"load", "instance-mi", "indication-mi", "activate", "enable", kNoMore, "list",
            "cleanup-indication", "cleanup-instance", "unload"});
  EXPECT_TRUE(till.step("indication").result.is_null());
  EXPECT_EQ(till.step("list").result.at("instances")[0].at("FailureImminent"), true);
}

TEST(Indications, AreLostBehindTheClosedGate) {
  TillRun till(machineWith(wearing()));
  till.setting("PollRate=1000000");
  // The request's event comes while nothing is enabled, and the drive has no second one.
  till.run({"load", "instance-mi", "indication-mi", "activate", "list", "enable", "list", kNoMore,
            "cleanup-indication", "cleanup-instance", "unload"});
  EXPECT_TRUE(till.step("indication").result.is_null());
  EXPECT_EQ(countOf(till.logText(), "indcations disabled or NULL indication context\n"), 1U);
}

TEST(Indications, AreLostWithoutASubscription) {
  TillRun till(machineWith(wearing()));
  till.setting("PollRate=1000000");
  till.run({"load", "instance-mi", "list", kNoMore, "cleanup-instance", "unload"});
  EXPECT_TRUE(till.step("indication").result.is_null());
  EXPECT_EQ(countOf(till.logText(), "No registered ISsdListener - exiting\n"), 1U);
}

TEST(Indications, WaitForBeingEnabledAgainAfterTheLastDeactivation) {
  TillRun till(machineWith(wearing("sda", "S1") + "," + sataDrive("sdb", "S2", R"({"readings":
                           [95, 95, 95, 96]})")));
  till.setting("PollRate=1000000");
  till.run({"load", "instance-mi", "indication-mi", "activate", "enable", "deactivate", "activate",
            "list", kNoMore, "enable", "list", kWait, "threads:20000", "cleanup-indication",
            "cleanup-instance", "unload"});
  EXPECT_TRUE(till.step("indication").result.is_null());
  ASSERT_TRUE(till.step("indication", 1).result.is_object());
  EXPECT_EQ(till.step("indication", 1).result.at("properties").at("PhysicalDrive"), "sdb");
}

TEST(Indications, GoOnAfterOneOfTwoDeactivations) {
  TillRun till(machineWith(wearing()));
  till.setting("PollRate=1000000");
  till.run({"load", "instance-mi", "indication-mi", "activate", "activate", "enable", "deactivate",
            "list", kWait, "threads:20000", "cleanup-indication", "cleanup-instance", "unload"});
  EXPECT_TRUE(till.step("indication").result.is_object());
}

TEST(Indications, ForDebuggingComeWithEveryReading) {
  TillRun till(machineWith(sataDrive("sda", "S1", "10")));
  till.setting("PollRate=1000000").setting("DebugIndications=1");
  till.run({"load", "instance-mi", "indication-mi", "activate", "enable", "list", kWait, "list",
            kWait, kNoMore, "threads:20000", "cleanup-indication", "cleanup-instance", "unload"});
  EXPECT_TRUE(till.step("indication").result.is_object());
  EXPECT_TRUE(till.step("indication", 1).result.is_object());
  EXPECT_TRUE(till.step("indication", 2).result.is_null());
  EXPECT_EQ(countOf(till.logText(), "SsdDevice::fireRmaDebugIndication\n"), 4U);
}

TEST(Indications, ForDebuggingComeBesideTheRealOne) {
  TillRun till(machineWith(wearing()));
  till.setting("PollRate=1000000").setting("DebugIndications=true");
  till.run({"load", "instance-mi", "indication-mi", "activate", "enable", "list", kWait, kWait,
            "list", kWait, kNoMore, "threads:20000", "cleanup-indication", "cleanup-instance",
            "unload"});
  for (const std::size_t nth : {0U, 1U, 2U}) {
    EXPECT_TRUE(till.step("indication", nth).result.is_object());
  }
  EXPECT_TRUE(till.step("indication", 3).result.is_null());
}

TEST(Indications, ThatCantBeDeliveredAreLogged) {
  TillRun till(machineWith(wearing()));
  till.setting("PollRate=1000000");
  till.run({"load", "instance-mi", "indication-mi", "activate", "enable", "fail:deliverIndication",
            "list", "threads:20000", kNoMore, "calls", "cleanup-indication", "cleanup-instance",
            "unload"});
  EXPECT_TRUE(till.step("indication").result.is_null());
  EXPECT_EQ(countOf(till.logText(), "Error\tindicateThread - CMPIStatus 1, refused\n"), 1U);
  EXPECT_EQ(till.step("calls").result.at("violations"), json::array());
}

TEST(Indications, OfATillThatWearsWhileItIsWatchedArriveInTime) {
  TillRun till("till-wearing-out");
  till.run({"load", "indication-mi", "activate", "enable", kWait, "threads:20000",
            "cleanup-indication", "unload"});
  ASSERT_TRUE(till.step("indication").result.is_object());
  EXPECT_EQ(till.step("indication").result.at("properties").at("DeviceID"),
            "TS64GHSD630___E214870391___sda");
}

// ---- In the hands of each object manager ------------------------------------------------------

class ObjectManagers : public ::testing::TestWithParam<const char*> {};

TEST_P(ObjectManagers, FindDrivesByEveryKindOfKeyAndGetTheirIndication) {
  const std::string name = GetParam();
  // Read twice at the start and once by each of five requests; the sixth finds it worn.
  TillRun till(
      machineWith(sataDrive("sda", "S1", R"({"readings": [95, 95, 95, 95, 95, 95, 95, 96]})")));
  till.setting("PollRate=1000000");
  till.run({"manager:" + name, "names", "list", "get:", "get:TS64", "get:Unknown", "subscribe",
            "subscribe", "list", kWait, "unsubscribe", "threads:20000", "unsubscribe", "idle",
            "calls", "stop"});
  EXPECT_EQ(till.step("names").result.at("rc"), CMPI_RC_OK);
  EXPECT_EQ(till.step("list").result.at("instances").size(), 1U);
  EXPECT_EQ(till.step("get").result.at("rc"), CMPI_RC_OK);
  EXPECT_EQ(till.step("get", 1).result.at("instances").size(), 1U);
  EXPECT_EQ(till.step("get", 2).result.at("rc"), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(till.step("subscribe").result.at("rc"), CMPI_RC_OK);
  EXPECT_EQ(till.step("subscribe", 1).result.at("rc"), CMPI_RC_OK);
  EXPECT_EQ(till.step("unsubscribe").result.at("rc"), CMPI_RC_OK);
  EXPECT_TRUE(till.step("indication").result.is_object());
  for (const json& answer : till.step("idle").result) {
    EXPECT_EQ(answer, CMPI_RC_DO_NOT_UNLOAD);
  }
  EXPECT_EQ(till.step("calls").result.at("violations"), json::array());
  EXPECT_EQ(till.step("stop").result, name != "sfcb");
}

TEST_P(ObjectManagers, GetTheIndicationOfAPoll) {
  TillRun till(machineWith(wearing()));
  till.setting("PollRate=60");
  till.run({std::string("manager:") + GetParam(), "subscribe", kWait, kNoMore, "threads:20000",
            "calls", "unsubscribe", "stop"});
  ASSERT_TRUE(till.step("indication").result.is_object());
  EXPECT_EQ(till.step("indication").result.at("properties").at("DeviceID"),
            "TS64GHSD630___S1___sda");
  EXPECT_TRUE(till.step("indication", 1).result.is_null());
  EXPECT_EQ(till.step("calls").result.at("violations"), json::array());
}

/// An event on a polling thread, which the broker has never seen: only one kind wants it attached.
TEST_P(ObjectManagers, AttachAPollingThreadOnlyWhereTheyMustKnowIt) {
  const std::string name = GetParam();
  TillRun till(machineWith(wearing()));
  till.setting("PollRate=60");
  till.run({"manager:" + name, "subscribe", kWait, "threads:20000", "calls", "stop"});
  std::string order;
  for (const std::string text : till.step("calls").result.at("calls")) {
    for (const char* call : {"prepareAttachThread", "attachThread", "newThread", "detachThread"}) {
      if (text.find(std::string(".") + call + "(") != std::string::npos) {
        order += std::string(call) + ' ';
      }
    }
  }
  const std::string around =
      name == "pegasus" || name == "strict" ? "prepareAttachThread attachThread " : "";
  // For the subscription, then for the caller; the thread's own come in between or afterwards.
  EXPECT_EQ(order.find("prepareAttachThread " + around + "newThread "), 0U) << order;
  EXPECT_EQ(countOf(order, "detachThread"), around.empty() ? 1U : 2U) << order;
}

INSTANTIATE_TEST_SUITE_P(Like, ObjectManagers,
                         ::testing::Values("plain", "sfcb", "pegasus", "strict"),
                         [](const auto& manager) { return std::string(manager.param); });

}  // namespace
