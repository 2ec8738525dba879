#include "host/DateTime.h"

#include <gtest/gtest.h>

#include <chrono>

using cmpihost::DateTime;

TEST(DateTime, AMomentIsWrittenInUtcWithMicroseconds) {
  EXPECT_EQ((DateTime{0, false}.text()), "19700101000000.000000+000");
  EXPECT_EQ((DateTime{1'709'210'096'000'042, false}.text()), "20240229123456.000042+000");
}

TEST(DateTime, AnIntervalIsWrittenInDaysHoursMinutesAndSeconds) {
  EXPECT_EQ((DateTime{93'784'000'007, true}.text()), "00000001020304.000007:000");
}

TEST(DateTime, TheLatestMomentsStayWithinFourDigitsOfAYear) {
  EXPECT_EQ((DateTime{~0ULL, false}.text().substr(0, 15)), "99991231235959.");
  EXPECT_EQ((DateTime{~0ULL, true}.text().size()), 25U);
}

TEST(DateTime, ATextComesBackAsItWas) {
  for (const char* const text : {"20240229123456.000042+000", "19991231235959.999999+000",
                                 "00000001020304.000007:000", "99999999235959.000000:000"}) {
    const auto read = DateTime::fromText(text);
    ASSERT_TRUE(read) << text;
    EXPECT_EQ(read->text(), text);
  }
}

TEST(DateTime, TheOffsetFromUtcIsTakenOff) {
  EXPECT_EQ(DateTime::fromText("20240229123456.000042+060")->text(), "20240229113456.000042+000");
  EXPECT_EQ(DateTime::fromText("20240229123456.000042-060")->text(), "20240229133456.000042+000");
}

TEST(DateTime, ATextThatNamesNoMomentIsRefused) {
  for (const char* const text :
       {"", "now", "20240229123456.000042", "20240229123456,000042+000",
        "20240229123456.000042 000", "2024022912345x.000042+000", "20240229123456.00004x+000",
        "20240229123456.000042+0x0", "20230229123456.000042+000", "20240631000000.000000+000",
        "20241301000000.000000+000", "20240229246000.000000+000", "00000001240000.000000:000",
        "00000001006000.000000:000", "00000001020304.000007:060", "19600101000000.000000+000"}) {
    EXPECT_FALSE(DateTime::fromText(text)) << text;
  }
}

TEST(DateTime, NowIsTheTimeOfTheSystemClock) {
  using std::chrono::duration_cast;
  using std::chrono::microseconds;
  using std::chrono::system_clock;
  const auto before = duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
  const DateTime now = DateTime::now();
  const auto after = duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
  EXPECT_GE(now.microseconds, static_cast<std::uint64_t>(before));
  EXPECT_LE(now.microseconds, static_cast<std::uint64_t>(after));
  EXPECT_FALSE(now.interval);
}
