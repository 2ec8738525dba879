#include <gtest/gtest.h>

#include "tests/system/TillRun.h"

// The C library fills the memory that is given back, so that nobody reads on in it unnoticed.
constexpr char kFilled[] = "165";

TEST(Exit, WaitsForTheRequestThatIsReadingTheDrives) {
  TillRun till(
      machineWith(sataDrive("sda", "S1", "10") + "," + sataDrive("sdb", "S2", "10"),
                  R"("faults": [{"call": "ioctl", "count": "forever", "delayMs": 3000}], )"));
  till.setting(kNoPolls).environment("MALLOC_PERTURB_", kFilled).run({"exit-during-request"});
  const std::string log = till.logText();
  // Of the first reading, of the cache's and of the request.
  EXPECT_EQ(countOf(log, "SsdDevice::getSsdData - POH"), 6U);
  EXPECT_LT(log.rfind("SsdDevice::getSsdData - POH"), log.rfind("SsdDevice destroyed"));
}

TEST(Exit, LeavesRequestsThatComeTooLateUnanswered) {
  TillRun till(machineWith(sataDrive("sda", "S1", "10")));
  till.setting(kNoPolls).environment("MALLOC_PERTURB_", kFilled).run({"ask-after-the-end"});
  EXPECT_EQ(countOf(till.logText(), "getSsdInformationList failed, sscode=0x00000001\n"), 1U);
}

TEST(Exit, OfAForkedChildLeavesTheParentsThreadsAndLogAlone) {
  TillRun till(
      machineWith(sataDrive("sda", "S1", R"({"readings": [95, 95, 96]})"),
                  R"("faults": [{"call": "ioctl", "count": "forever", "delayMs": 2000}], )"));
  till.setting(kNoPolls).run({"exit-in-children"});
  EXPECT_EQ(countOf(till.logText(), "SsdManager Destroyed\n"), 1U);
  EXPECT_EQ(countOf(till.err(), "IndicateThread - Exit\n"), 1U);
}
