// What the library writes to its host's standard output and standard error.

#include <gtest/gtest.h>

#include <regex>
#include <sstream>

#include "tests/system/TillRun.h"

namespace {

/// Process ids and thread ids differ as well.
std::string plain(const std::string& text) {
  static const std::regex kPid("pid=[0-9]+");
  return std::regex_replace(withoutAddresses(text), kPid, "pid=(pid)");
}

TEST(Streams, HoldTheFixedLinesOfAWholeLifeInOrder) {
  TillRun till(machineWith(sataDrive("sda", "S1", R"({"readings": [95, 95, 95, 96]})") +
                           R"(, {"kind": "nvme", "node": "nvme0", "model": "N", "serial": "S2"})"));
  till.setting("PollRate=1000000");
  const std::vector<std::string> steps = {"load",
                                          "instance-mi",
                                          "indication-mi",
                                          "names",
                                          "create",
                                          "modify",
                                          "delete",
                                          "query",
                                          "activate",
                                          "enable",
                                          "list",
                                          "indication:20000",
                                          "threads:20000",
                                          "disable",
                                          "deactivate",
                                          "cleanup-instance:0",
                                          "cleanup-indication:0",
                                          "cleanup-instance",
                                          "cleanup-indication",
                                          "unload"};
  till.run(steps);
  const auto err = [&till](const char* step, std::size_t nth = 0) {
    return plain(till.step(step, nth).err);
  };
  const auto out = [&till](const char* step, std::size_t nth = 0) {
    return till.step(step, nth).out;
  };
  EXPECT_EQ(err("load"), "CONSTRUCTOR\n");
  EXPECT_EQ(out("load"), "Logger created");
  EXPECT_EQ(err("instance-mi"),
            "trying to open config: /etc/ssddrv/ssddrv.ini\n"
            "opened config: /etc/ssddrv/ssddrv.ini\n");
  EXPECT_EQ(out("instance-mi"), "Indentified: /dev/nvme0\n");
  EXPECT_EQ(err("indication-mi"),
            "SsdProvider_Create_IndicationMI, broker=(ptr), version=100\n"
            "SsdProvider_Create_IndicationMI - pid=(pid)\n");
  EXPECT_EQ(out("indication-mi"), "");
  EXPECT_EQ(err("names"), "drvEnumInstanceNames - provider=(ptr)\n");
  EXPECT_EQ(err("activate") + err("enable") + err("disable") + err("deactivate"), "");
  EXPECT_EQ(out("create"), "drvCreateInstance - Unsupported\n");
  EXPECT_EQ(out("modify"), "drvModifyInstance - Unsupported\n");
  EXPECT_EQ(out("delete"), "drvDeleteInstance - Unsupported\n");
  EXPECT_EQ(out("query"), "drvExecQuery - Unsupported\n");
  // The list finds a drive worn.
  const std::string event = err("list") + err("indication") + err("threads");
  EXPECT_EQ(countOf(event, "\n"), 4U) << event;
  EXPECT_EQ(countOf(event, "SsdProvider::sendIndication - exit\n"), 1U);
  EXPECT_EQ(countOf(event, "IndicateThread - Exit\n"), 1U);
  EXPECT_EQ(out("list"), "");
  EXPECT_EQ(err("cleanup-instance"), "");
  EXPECT_EQ(err("cleanup-indication"), "drvIndicationCleanup - provider=(ptr), terminating=0\n");
  EXPECT_EQ(err("cleanup-instance", 1), "__drv_cleanup - provider=(ptr), use_count=2\n");
  EXPECT_EQ(out("cleanup-instance", 1), "__drv_cleanup -  use_count=1 after decrement\n");
  EXPECT_EQ(err("cleanup-indication", 1),
            "drvIndicationCleanup - provider=(ptr), terminating=1\n"
            "__drv_cleanup - provider=(ptr), use_count=1\n");
  EXPECT_EQ(out("cleanup-indication", 1), "__drv_cleanup -  use_count=0 after decrement\n");
  EXPECT_EQ(err("unload"), "DESTRUCTOR\n");
  EXPECT_EQ(out("unload"), "");
}

TEST(Streams, HoldTheLinesOfAnIndicationsThread) {
  // The first poll finds the drive worn.
  TillRun till(machineWith(sataDrive("sda", "S1", R"({"readings": [95, 95, 96]})")));
  till.setting("PollRate=60");
  till.run({"load", "indication-mi", "activate", "enable", "indication:20000", "threads:20000",
            "leave-loaded"});
  const std::string all = plain(till.err());
  EXPECT_EQ(countOf(all, "SsdProvider::sendIndication - exit\n"), 1U);
  EXPECT_EQ(countOf(all,
                    "IndicateThread - (ptr)\n"
                    "IndicateThread - PhysicalDrive=sda, DeviceID=TS64GHSD630___S1___sda, "
                    "ind_ctx=(ptr), broker=(ptr)\n"),
            1U)
      << all;
  EXPECT_EQ(countOf(all, "IndicateThread - Exit\n"), 1U);
  EXPECT_LT(all.find("DeviceID=TS64GHSD630"), all.find("IndicateThread - Exit"));
}

TEST(Streams, SayThatThereIsNoConfiguration) {
  TillRun till("no-drives");
  till.run({"load", "instance-mi", "cleanup-instance", "unload"});
  EXPECT_EQ(till.step("instance-mi").err, "trying to open config: /etc/ssddrv/ssddrv.ini\n");
}

TEST(Streams, EchoTheLogWhenToldTo) {
  TillRun till("till");
  till.logSetting("IsConsole=1").setting("PollRate=1000000");
  till.run({"load", "instance-mi", "list", "cleanup-instance", "unload"});
  // Threads may meet between the two places, so whole lines are looked for, not their order.
  std::istringstream log(till.logText());
  for (std::string line; std::getline(log, line);) {
    if (!line.empty()) {
      EXPECT_EQ(countOf(till.err(), line + '\n'), countOf(till.logText(), line + '\n')) << line;
    }
  }
}

/// The library's own clean-up comes first, then what it made: brokers rely on that order.
TEST(Streams, ShowTheDestructorBeforeTheManagerGoes) {
  TillRun till("till");
  till.logSetting("IsConsole=1").setting("PollRate=1000000");
  till.run({"load", "instance-mi", "cleanup-instance", "unload"});
  const std::string& going = till.step("unload").err;
  const std::size_t destructor = going.find("DESTRUCTOR\n");
  ASSERT_NE(destructor, std::string::npos) << going;
  EXPECT_LT(destructor, going.find("SsdManager Destroyed"));
  EXPECT_LT(going.find("SsdManager Destroyed"), going.find("SsdDeviceList destroyed"));
}

TEST(Streams, ShowTheConstructorBeforeTheManagerComes) {
  TillRun till("till");
  till.logSetting("IsConsole=1");
  till.run({"load", "unload"});
  const std::string& coming = till.step("load").err;
  ASSERT_EQ(coming.find("CONSTRUCTOR\n"), 0U) << coming;
  EXPECT_NE(coming.find("SsdManager Constructed"), std::string::npos);
}

/// A process that ends without unloading ends in order: the polling threads are joined.
TEST(Streams, ShowTheSameOfALibraryThatStaysToTheEnd) {
  TillRun till("till");
  till.setting("PollRate=2");
  till.run({"load", "instance-mi", "list", "leave-loaded"});
  EXPECT_EQ(countOf(till.err(), "DESTRUCTOR\n"), 1U);
  const std::string log = textsOf(till.log());
  EXPECT_EQ(countOf(log, "Debug readThread - exited\n"), 2U);
  const std::string last = "Debug SsdDeviceList destroyed\n";
  ASSERT_GE(log.size(), last.size());
  EXPECT_EQ(log.substr(log.size() - last.size()), last);
}

}  // namespace
