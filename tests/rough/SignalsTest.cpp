#include <gtest/gtest.h>

#include "tests/system/TillRun.h"

TEST(Signals, OfTheHostDontShortenATick) {
  TillRun till(machineWith(sataDrive("sda", "S1", "10"), R"("time": {"scale": 1}, )"));
  till.setting("PollRate=2").run({"interrupt-everything"});
  // At the start, when the cache is first filled, and by the second tick, a second later.
  EXPECT_EQ(countOf(till.logText(), "SsdDevice::getSsdData - POH"), 3U);
}

TEST(Signals, OfTheHostAreBlockedInPollingThreadsAndThoseOfAFaultAreNot) {
  TillRun(machineWith(sataDrive("sda", "S1", "10") + "," + sataDrive("sdb", "S2", "10")))
      .setting(kNoPolls)
      .run({"look-at-masks"});
}
