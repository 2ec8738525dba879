#include "ssdlife/forecast/Forecast.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "tests/forecast/BackTest.h"

namespace {

using namespace ssdlife;

constexpr Seconds kBegin = 1700000000;

// A sample a day; the percentage on each day by the function.
template <typename Percentage>
std::vector<Sample> history(int days, Percentage percentage) {
  std::vector<Sample> samples;
  for (int day = 0; day < days; ++day) {
    samples.push_back({kBegin + day * kDay, percentage(day), 8L * day});
  }
  return samples;
}

double days(Seconds from, Seconds to) {
  return static_cast<double>(to - from) / static_cast<double>(kDay);
}

TEST(ForecastTest, AnEvenWearIsALine) {
  const auto samples = history(201, [](int day) { return 10 + day / 10; });
  const Forecast forecast = forecastOf(samples, 95);
  EXPECT_EQ(forecast.none, "");
  EXPECT_NEAR(forecast.perDay, 0.1, 0.001);
  ASSERT_TRUE(forecast.threshold && forecast.full);
  EXPECT_NEAR(days(samples.back().time, forecast.threshold->likely), 660, 10);
  EXPECT_NEAR(days(samples.back().time, forecast.full->likely), 700, 10);
  EXPECT_LE(forecast.threshold->early, forecast.threshold->likely);
  EXPECT_LE(forecast.threshold->likely, forecast.threshold->late);
}

TEST(ForecastTest, WithoutTwoStepsThereIsNone) {
  EXPECT_EQ(forecastOf({}, 95).none, "the drive has not told how worn it is");
  EXPECT_EQ(forecastOf({{kBegin, std::nullopt, 7}}, 95).none,
            "the drive has not told how worn it is");
  EXPECT_EQ(forecastOf(history(13, [](int day) { return day < 6 ? 3 : 4; }), 95).none,
            "12 days of history, 1 step: at least 2 steps are needed");
}

TEST(ForecastTest, WhereThereIsNoWearThereIsNoDate) {
  const Forecast never = forecastOf(history(1826, [](int) { return 3; }), 95);
  EXPECT_EQ(never.none, "1825 days of history, 0 steps: at least 2 steps are needed");
  EXPECT_FALSE(never.threshold || never.full);
  const Forecast stopped =
      forecastOf(history(500, [](int day) { return std::min(day, 300) / 10; }), 95);
  EXPECT_EQ(stopped.none, "the percentage has stood still for 199 days");
  EXPECT_FALSE(
      forecastOf(history(1000, [](int day) { return day < 500 ? 90 : 89 - day / 900; }), 95)
          .threshold);
}

TEST(ForecastTest, WhatIsPassedAlreadyHasNoDate) {
  const Forecast forecast = forecastOf(history(201, [](int day) { return 90 + day / 10; }), 95);
  EXPECT_EQ(forecast.none, "");
  EXPECT_FALSE(forecast.threshold);
  EXPECT_FALSE(forecast.full);
}

TEST(ForecastTest, ACounterThatWasSetAnewIsNotWear) {
  const auto plain = history(400, [](int day) { return 10 + day / 10; });
  const auto jumped = history(400, [](int day) { return 10 + day / 10 + (day > 200 ? 15 : 0); });
  const auto fallen = history(400, [](int day) { return 10 + day / 10 - (day > 200 ? 9 : 0); });
  EXPECT_NEAR(forecastOf(jumped, 95).perDay, forecastOf(plain, 95).perDay, 0.001);
  EXPECT_NEAR(forecastOf(fallen, 95).perDay, forecastOf(plain, 95).perDay, 0.001);
}

// BACKTEST_DRIVES=400 gives the table of docs/forecast.md.
TEST(ForecastTest, BackTestedOnDrivesWhoseEndIsKnown) {
  const char* const wish = std::getenv("BACKTEST_DRIVES");
  const int drives = wish == nullptr ? 40 : std::atoi(wish);
  int covered = 0;
  int dated = 0;
  for (const int before : {90, 365}) {
    for (const Curve curve : kCurves) {
      const Score score = backTest(curve, drives, before);
      std::printf(
          "%-15s %3d days before: %3d drives, %d without a date, %3.0f %% in the interval, "
          "median error %5.1f days, of the line %5.1f\n",
          nameOf(curve), before, score.drives, score.without,
          100.0 * score.covered / (score.drives - score.without), score.error, score.errorOfLine);
      covered += score.covered;
      dated += score.drives - score.without;
      // A sample of drives strays; where the line has nothing to be wrong about, both are as good.
      EXPECT_LT(score.error, score.errorOfLine * 1.4 + 2) << nameOf(curve) << before;
    }
  }
  std::printf("all: %.0f %% in the interval\n", 100.0 * covered / dated);
  EXPECT_GE(covered, dated * 0.70);
  EXPECT_LE(covered, dated * 0.90);
}

}  // namespace
