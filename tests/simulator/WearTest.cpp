#include "simulator/Wear.h"

#include <gtest/gtest.h>

namespace simulator {
namespace {

TEST(Wear, ThatIsConstantNeverMoves) {
  const Wear wear = Wear::constant(33);
  EXPECT_EQ(wear.at(0, 0), 33);
  EXPECT_EQ(wear.at(1000, 1e9), 33);
}

TEST(Wear, ByReadingsGivesTheNthValueAndThenTheLast) {
  const Wear wear = Wear::readings({90, 95, 96});
  EXPECT_EQ(wear.at(0, 1e9), 90);
  EXPECT_EQ(wear.at(1, 0), 95);
  EXPECT_EQ(wear.at(2, 0), 96);
  EXPECT_EQ(wear.at(3, 0), 96);
}

TEST(Wear, ByScheduleHoldsFromItsSecondOn) {
  const Wear wear = Wear::schedule({{10, 90}, {20, 95}});
  EXPECT_EQ(wear.at(7, 0), 90);
  EXPECT_EQ(wear.at(7, 19.999), 90);
  EXPECT_EQ(wear.at(7, 20), 95);
  EXPECT_EQ(wear.at(7, 1e9), 95);
}

TEST(Wear, ThatGrowsStopsAtTheHighestValueOfAByte) {
  const Wear wear = Wear::growing(90, 0.5);
  EXPECT_EQ(wear.at(0, 0), 90);
  EXPECT_EQ(wear.at(0, 1.9), 90);
  EXPECT_EQ(wear.at(0, 12), 96);
  EXPECT_EQ(wear.at(0, 1e9), 255);
}

TEST(Wear, ThatShrinksStopsAtZero) { EXPECT_EQ(Wear::growing(10, -1).at(0, 100), 0); }

}  // namespace
}  // namespace simulator
