#include "ssdlife/alarms/Rules.h"

#include <gtest/gtest.h>

#include "ssdlife/history/Schema.h"

namespace {

using namespace ssdlife;

constexpr Seconds kNow = 1800000000;

Drive drive(const std::string& serial, std::optional<unsigned> percentage) {
  Drive result;
  result.model = "TS64GHSD630";
  result.serialNumber = serial;
  result.physicalDrive = "sda";
  result.percentageUsed = percentage;
  return result;
}

class RulesTest : public testing::Test {
 protected:
  RulesTest() { migrate(database_); }

  // The causes of what is raised, separated by blanks.
  std::string seen(const std::vector<Drive>& drives, Seconds when = kNow) {
    std::string causes;
    for (const Alarm& alarm : observe(database_, drives, rules_, misses_, when)) {
      causes += (causes.empty() ? "" : " ") + std::string(nameOf(alarm.cause));
    }
    return causes;
  }

  Database database_;
  AlarmRules rules_;
  Misses misses_;
};

TEST_F(RulesTest, ADriveThatIsOverItsLimitAtTheFirstLookIsAlarmedOnce) {
  EXPECT_EQ(seen({drive("A", 130)}), "threshold");
  EXPECT_EQ(seen({drive("A", 130)}), "");
  EXPECT_EQ(seen({drive("A", 131)}, kNow + 400 * kDay), "");
}

TEST_F(RulesTest, TheLimitItselfIsNotOverIt) {
  EXPECT_EQ(seen({drive("A", 95)}), "");
  EXPECT_EQ(seen({drive("A", 96)}), "threshold");
}

TEST_F(RulesTest, ADriveInTheSamePlaceStartsAfresh) {
  EXPECT_EQ(seen({drive("A", 96)}), "threshold");
  EXPECT_EQ(seen({drive("B", 96)}), "threshold vanished");
}

TEST_F(RulesTest, ALimitThatWasRaisedAndIsPassedAgainIsNews) {
  rules_.limit = 80;
  EXPECT_EQ(seen({drive("A", 81)}), "threshold");
  rules_.limit = 95;
  EXPECT_EQ(seen({drive("A", 90)}), "");
  EXPECT_EQ(seen({drive("A", 96)}), "threshold");
  rules_.limit = 80;
  EXPECT_EQ(seen({drive("A", 97)}), "");
}

TEST_F(RulesTest, SilenceIsAnAlarmAfterThreeReadingsOfADriveThatUsedToTell) {
  EXPECT_EQ(seen({drive("never told", std::nullopt), drive("A", 10)}), "");
  const std::vector<Drive> silent = {drive("never told", std::nullopt), drive("A", std::nullopt)};
  EXPECT_EQ(seen(silent), "");
  EXPECT_EQ(seen(silent), "");
  EXPECT_EQ(seen(silent), "silent");
  EXPECT_EQ(seen(silent, kNow + 10 * kDay), "");
}

TEST_F(RulesTest, OneFailedReadingIsNoSilence) {
  for (int times = 0; times < 5; ++times) {
    EXPECT_EQ(seen({drive("A", 10)}), "");
    EXPECT_EQ(seen({drive("A", std::nullopt)}), "");
    EXPECT_EQ(seen({drive("A", std::nullopt)}), "");
  }
}

TEST_F(RulesTest, ADriveThatComesAndGoesIsAnAlarmADay) {
  EXPECT_EQ(seen({drive("A", 10)}), "");
  EXPECT_EQ(seen({}), "vanished");
  EXPECT_EQ(seen({}), "");
  EXPECT_EQ(seen({drive("A", 10)}), "");
  EXPECT_EQ(seen({}, kNow + 60), "");
  EXPECT_EQ(seen({drive("A", 10)}, kNow + kDay), "");
  EXPECT_EQ(seen({}, kNow + kDay), "vanished");
}

TEST_F(RulesTest, EachCauseCanBeTurnedOff) {
  rules_.threshold = rules_.silent = rules_.vanished = false;
  EXPECT_EQ(seen({drive("A", 99)}), "");
  EXPECT_EQ(seen({drive("A", std::nullopt)}), "");
  EXPECT_EQ(seen({drive("A", std::nullopt)}), "");
  EXPECT_EQ(seen({drive("A", std::nullopt)}), "");
  EXPECT_EQ(seen({}), "");
}

TEST_F(RulesTest, AClockSetBackByAYearLosesNoAlarm) {
  EXPECT_EQ(seen({drive("A", 10)}), "");
  EXPECT_EQ(seen({drive("A", 96)}, kNow - 365 * kDay), "threshold");
  EXPECT_EQ(seen({drive("A", 96)}), "");
  EXPECT_EQ(alarmsOf(database_, std::nullopt).at(0).percentage, 96);
}

TEST_F(RulesTest, AnAlarmIsForTheJournalAndEachHook) {
  rules_.hooks = {"10-mail", "20-till"};
  EXPECT_EQ(seen({drive("A", 96)}), "threshold");
  const auto deliveries = deliveriesOf(database_, 1);
  ASSERT_EQ(deliveries.size(), 3U);
  EXPECT_EQ(deliveries[0].hook, kJournal);
  EXPECT_EQ(deliveries[1].hook, "10-mail");
}

TEST_F(RulesTest, AFailedAttemptIsMadeAgainAfterAPauseThatGrows) {
  EXPECT_EQ(seen({drive("A", 96)}), "threshold");
  Seconds when = kNow;
  for (const Seconds pause : {60, 120, 240, 480}) {
    const auto next = nextDelivery(database_, when);
    ASSERT_TRUE(next);
    beginAttempt(database_, *next, when);
    endAttempt(database_, *next, false, "exit status 1", when);
    EXPECT_FALSE(nextDelivery(database_, when + pause - 1));
    when += pause;
  }
  EXPECT_TRUE(nextDelivery(database_, when));
  EXPECT_TRUE(nextDelivery(database_, when - 365 * kDay)) << "the clock was set back";
}

}  // namespace
