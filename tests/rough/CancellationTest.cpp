#include <gtest/gtest.h>

#include "tests/system/TillRun.h"

namespace {

/// Each command takes ten milliseconds of real time.
std::string slowTill() {
  return machineWith(sataDrive("sda", "S1", "10"),
                     R"("faults": [{"call": "ioctl", "count": "forever", "delayMs": 1000}], )");
}

}  // namespace

TEST(Cancellation, OfRequestsLeavesTheNextOneAnsweredAndNoNodeOpen) {
  TillRun till(slowTill());
  till.setting(kNoPolls).run({"cancel-requests"});
  std::size_t opened = 0;
  for (const auto& entry : till.journal("open")) {
    opened += entry.at("path") == "/dev/sda" ? 1 : 0;
  }
  std::size_t closed = 0;
  for (const auto& entry : till.journal("close")) {
    closed += entry.at("path") == "/dev/sda" ? 1 : 0;
  }
  EXPECT_GT(opened, 10U);
  EXPECT_EQ(closed, opened);
}

TEST(Cancellation, DuringTheLastCleanUpComesAfterIt) {
  TillRun till(slowTill());
  till.setting(kNoPolls).run({"cancel-clean-up"});
  EXPECT_EQ(countOf(till.logText(), "SsdProvider - provider destroyed\n"), 1U);
}

TEST(Cancellation, DuringTheFirstReadingOfTheDrivesComesAfterIt) {
  TillRun(slowTill()).setting(kNoPolls).run({"cancel-factory"});
}
