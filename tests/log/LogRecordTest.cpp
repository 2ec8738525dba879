#include "log/LogRecord.h"

#include <cstdlib>

#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/log/FakeStamp.h"

namespace {

class Record : public testing::Test {
 protected:
  Record() {
    setTimeZone("UTC");
    setTime("2026-11-15 10:57:58", 123456789);
    fakeStamp().process = 4321;
    fakeStamp().thread = 0x7F12F7A5C700;
  }

  static void setTimeZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }

  /// `utc` is a time in UTC.
  static void setTime(const char* utc, long nanoseconds) {
    std::tm time{};
    strptime(utc, "%Y-%m-%d %H:%M:%S", &time);
    fakeStamp().time = timespec{timegm(&time), nanoseconds};
  }

  static std::string line(LOG_LEVEL level = LOG_LEVEL_DEBUG,
                          const std::string& message = "Config constructed") {
    std::string line = "something before";
    LogRecord(level, message).GetLogLine(line);
    return line;
  }
};

}  // namespace

TEST_F(Record, IsOneLineOfTimeProcessThreadLevelAndMessage) {
  EXPECT_EQ(line(),
            "15/11/2026 10:57:58.123\tP[    4321] T[f7a5c700]\tDebug\tConfig constructed\n");
}

TEST_F(Record, HasALevelNameOfFiveCharacters) {
  const std::string head = "15/11/2026 10:57:58.123\tP[    4321] T[f7a5c700]\t";
  EXPECT_EQ(line(LOG_LEVEL_OFF, "m"), head + "Off  \tm\n");
  EXPECT_EQ(line(LOG_LEVEL_ERROR, "m"), head + "Error\tm\n");
  EXPECT_EQ(line(LOG_LEVEL_INFO, "m"), head + "Info \tm\n");
  EXPECT_EQ(line(LOG_LEVEL_DEBUG, "m"), head + "Debug\tm\n");
  EXPECT_EQ(line(LOG_LEVEL_TRACE, "m"), head + "Trace\tm\n");
}

TEST_F(Record, HasAnEmptyFieldForALevelWithoutAName) {
  for (const int level : {5, -1, 100}) {
    EXPECT_EQ(line(static_cast<LOG_LEVEL>(level), "m"),
              "15/11/2026 10:57:58.123\tP[    4321] T[f7a5c700]\t\tm\n");
  }
}

TEST_F(Record, PadsDayMonthHourAndMillisecondsWithNoughts) {
  setTime("2027-01-02 03:04:05", 7999999);
  EXPECT_EQ(line().substr(0, 24), "02/01/2027 03:04:05.007\t");
  setTime("2027-01-02 23:59:59", 999999999);
  EXPECT_EQ(line().substr(0, 24), "02/01/2027 23:59:59.999\t");
  setTime("2027-01-02 23:59:59", 999999);
  EXPECT_EQ(line().substr(0, 24), "02/01/2027 23:59:59.000\t");
}

TEST_F(Record, ShowsTheLocalTime) {
  setTimeZone("CET-1CEST,M3.5.0,M10.5.0/3");
  setTime("2026-07-31 22:30:00", 0);
  EXPECT_EQ(line().substr(0, 24), "01/08/2026 00:30:00.000\t");
  setTime("2026-12-31 23:30:00", 0);
  EXPECT_EQ(line().substr(0, 24), "01/01/2027 00:30:00.000\t");
}

TEST_F(Record, ChangesToSummerTimeAndBack) {
  setTimeZone("CET-1CEST,M3.5.0,M10.5.0/3");
  setTime("2027-03-28 00:59:59", 0);
  EXPECT_EQ(line().substr(0, 24), "28/03/2027 01:59:59.000\t");
  setTime("2027-03-28 01:00:00", 0);
  EXPECT_EQ(line().substr(0, 24), "28/03/2027 03:00:00.000\t");
  setTime("2027-10-31 00:59:59", 0);
  EXPECT_EQ(line().substr(0, 24), "31/10/2027 02:59:59.000\t");
  setTime("2027-10-31 01:00:00", 0);
  EXPECT_EQ(line().substr(0, 24), "31/10/2027 02:00:00.000\t");
}

TEST_F(Record, FollowsTheHostIntoAnotherTimeZoneWithinOneSecond) {
  EXPECT_EQ(line().substr(0, 24), "15/11/2026 10:57:58.123\t");
  setTimeZone("JST-9");
  EXPECT_EQ(line().substr(0, 24), "15/11/2026 19:57:58.123\t");
  setTimeZone("UTC");
  EXPECT_EQ(line().substr(0, 24), "15/11/2026 10:57:58.123\t");
}

TEST_F(Record, FollowsTheClockBackwards) {
  setTime("2026-11-15 10:57:58", 0);
  EXPECT_EQ(line().substr(0, 24), "15/11/2026 10:57:58.000\t");
  setTime("2026-11-15 10:57:57", 999000000);
  EXPECT_EQ(line().substr(0, 24), "15/11/2026 10:57:57.999\t");
}

TEST_F(Record, FollowsAHostThatChangesItsTimeZoneWithinASecond) {
  setTime("2026-07-31 12:00:00", 0);
  EXPECT_EQ(line().substr(0, 24), "31/07/2026 12:00:00.000\t");
  setTimeZone("EST5");
  EXPECT_EQ(line().substr(0, 24), "31/07/2026 07:00:00.000\t");
  setTimeZone("EST5EDT,M3.2.0,M11.1.0");
  EXPECT_EQ(line().substr(0, 24), "31/07/2026 08:00:00.000\t");
}

TEST_F(Record, PadsProcessAndThread) {
  fakeStamp().process = 1;
  fakeStamp().thread = 0x123400000ABC;
  EXPECT_EQ(line().substr(24, 24), "P[       1] T[00000abc]\t");
  fakeStamp().process = 12345678;
  EXPECT_EQ(line().substr(24, 12), "P[12345678] ");
  fakeStamp().process = 123456789;
  EXPECT_EQ(line().substr(24, 13), "P[123456789] ");
}

TEST_F(Record, KeepsTheStampOfItsConstruction) {
  const LogRecord record(LOG_LEVEL_INFO, "m");
  setTime("2030-01-01 00:00:00", 0);
  fakeStamp().process = 1;
  fakeStamp().thread = 1;
  std::string text;
  record.GetLogLine(text);
  EXPECT_EQ(text, "15/11/2026 10:57:58.123\tP[    4321] T[f7a5c700]\tInfo \tm\n");
}

TEST_F(Record, KeepsTheMessageAsItIs) {
  const std::string message("100% \t\n\0end", 11);
  EXPECT_EQ(line(LOG_LEVEL_INFO, message).substr(54), message + "\n");
}

TEST_F(Record, AppendsEachFieldOnItsOwn) {
  const LogRecord record(LOG_LEVEL_INFO, "m");
  std::string text = "x";
  record.GetTimeString(text);
  EXPECT_EQ(text, "x15/11/2026 10:57:58.123");
  text = "x";
  record.GetPidString(text);
  EXPECT_EQ(text, "xP[    4321]");
  text = "x";
  record.GetTidString(text);
  EXPECT_EQ(text, "xT[f7a5c700]");
  text = "x";
  record.GetLevelString(text);
  EXPECT_EQ(text, "xInfo ");
}

TEST_F(Record, IsStampedWithThisProcessAndThreadAndTheRealTime) {
  fakeStamp() = {};
  const std::time_t before = std::time(nullptr);
  const std::string text = line();
  const std::time_t after = std::time(nullptr);
  std::tm time{};
  strptime(text.c_str(), "%d/%m/%Y %H:%M:%S.", &time);
  EXPECT_GE(timegm(&time), before);
  EXPECT_LE(timegm(&time), after);
  EXPECT_EQ(std::stoi(text.substr(26)), getpid());
  EXPECT_EQ(std::stoul(text.substr(38), nullptr, 16), pthread_self() & 0xFFFFFFFF);
}
