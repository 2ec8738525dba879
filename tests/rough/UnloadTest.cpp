#include <gtest/gtest.h>

#include "tests/system/TillRun.h"

namespace {

const std::string kRealTime = R"("time": {"scale": 1}, )";

/// Wears past the default threshold with the first request that is not the factory's own.
std::string wearing() { return sataDrive("sda", "S1", R"({"readings": [95, 95, 96]})"); }

}  // namespace

TEST(Unloading, IsNotHeldUpByAThreadThatIsRefused) {
  TillRun(machineWith(wearing(), kRealTime)).setting(kNoPolls).run({"start-nothing"});
}

TEST(Unloading, IsNotHeldUpByAThreadThatIsPromisedAndNeverStarts) {
  TillRun(machineWith(wearing(), kRealTime)).setting(kNoPolls).run({"start-nothing-and-lie"});
}

TEST(Unloading, LeavesAThreadThatStartsTooLateWithoutItsContext) {
  TillRun till(machineWith(wearing()));
  till.setting(kNoPolls).run({"start-too-late"});
  EXPECT_EQ(countOf(till.logText(), "indicateThread - CMAttachThread: CMPIStatus 1\n"), 1U);
  EXPECT_EQ(countOf(till.err(), "IndicateThread - Exit\n"), 1U);
}

TEST(Unloading, WaitsForADeliveryOfSeveralSeconds) {
  // The library's own sleeps are four times as short: for a count of them it takes six seconds.
  TillRun till(machineWith(wearing(), R"("time": {"scale": 4}, )"));
  till.setting(kNoPolls).run({"deliver-slowly"});
  EXPECT_EQ(countOf(till.err(), "IndicateThread - Exit\n"), 1U);
}

TEST(Unloading, Of24DrivesTakesOneTick) {
  std::string drives;
  for (char letter = 'a'; letter <= 'x'; ++letter) {
    drives += (drives.empty() ? "" : ",") +
              sataDrive(std::string("sd") + letter, std::string("S") + letter, "10");
  }
  TillRun till(machineWith(drives, kRealTime));
  till.setting(kNoPolls).run({"unload-many-drives"});
  const unsigned long unloading = till.log().front().thread;
  std::string ending;
  for (const LogLine& line : till.log()) {
    if (line.thread == unloading && line.text == "Debug SsdManager Destroyed") {
      ending.clear();
    }
    if (line.thread == unloading) {
      ending += withoutAddresses(line.text) + '\n';
    }
  }
  std::string expected = "Debug SsdManager Destroyed\n";
  for (int drive = 0; drive < 24; ++drive) {
    expected +=
        lines({"Trace PollingThread::terminate entered",
               "Debug PollingThread::Terminate - pthread_join((id), 0)...done rc=0x00000000",
               "Debug PollingThread::Terminate - thread terminated", "Debug SsdDevice destroyed",
               "Debug PollingThread Destroyed"});
  }
  EXPECT_EQ(ending, expected + "Debug SsdDeviceList destroyed\n");
}

TEST(Unloading, AndTheLastCleanUpLeaveNoHandleBehind) {
  TillRun(machineWith(sataDrive("sda", "S1", "10"))).setting(kNoPolls).run({"look-at-handles"});
}
