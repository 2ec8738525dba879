#include "device/WearAttributeAlgo.h"

#include "tests/device/DeviceTest.h"

using namespace testkit;

namespace {

using Field = WearValue::Field;
using Counts = WearValue::Counts;
using Wear = WearReading::Outcome;

SsdValues drive(std::uint8_t current, std::uint64_t raw) {
  SsdValues values;
  values.attributes = {{9, 0x32, 100, 100, 8760}, {231, 0x32, current, 100, raw}};
  return values;
}

WearValue raw(Counts counts, std::uint8_t first = 0, std::uint8_t last = 5) {
  return {Field::kRaw, counts, first, last, 1, 1};
}

const WearValue kCurrentUsed = {Field::kCurrent, Counts::kUsed, 0, 5, 1, 1};
const WearValue kCurrentLeft = {Field::kCurrent, Counts::kLeft, 0, 5, 1, 1};

WearAttribute wearIn(const WearValue& value, const std::optional<WearValue>& twin = {},
                     std::uint8_t id = 231) {
  return {id, value, twin, false};
}

int percentage(const WearAttribute& wear, std::uint8_t current, std::uint64_t rawValue) {
  return readWear(wear, drive(current, rawValue)).percentageUsed;
}

Wear outcome(const WearAttribute& wear, std::uint8_t current, std::uint64_t rawValue) {
  return readWear(wear, drive(current, rawValue)).outcome;
}

class WearAttributeReading : public DeviceTest {
 protected:
  Lines read(std::uint8_t current, std::uint64_t rawValue) {
    values_ = {};
    willReadAttributes("/dev/sda", {{9, 100, 8760}, {231, current, rawValue}});
    EXPECT_TRUE(algorithm_.getSsdValues("/dev/sda", values_));
    return takeLog();
  }

  WearAttributeAlgo algorithm_{wearIn(kCurrentLeft, raw(Counts::kLeft))};
  SsdValues values_;
};

}  // namespace

TEST(WearAttribute, CountsWhatIsUsedOrWhatIsLeft) {
  EXPECT_EQ(percentage(wearIn(kCurrentUsed), 7, 0), 7);
  EXPECT_EQ(percentage(wearIn(kCurrentLeft), 7, 0), 93);
  EXPECT_EQ(percentage(wearIn(raw(Counts::kUsed)), 0, 7), 7);
  EXPECT_EQ(percentage(wearIn(raw(Counts::kLeft)), 0, 7), 93);
  EXPECT_EQ(percentage(wearIn(kCurrentLeft), 100, 0), 0);
  EXPECT_EQ(percentage(wearIn(kCurrentLeft), 1, 0), 99);
  EXPECT_EQ(percentage(wearIn(raw(Counts::kLeft)), 100, 0), 100);
}

TEST(WearAttribute, CountsSomeBytesOfARawValue) {
  constexpr std::uint64_t kRaw = 0x060504030201;
  EXPECT_EQ(percentage(wearIn(raw(Counts::kUsed, 0, 0)), 0, kRaw), 1);
  EXPECT_EQ(percentage(wearIn(raw(Counts::kUsed, 5, 5)), 0, kRaw), 6);
  WearValue word = raw(Counts::kUsed, 2, 3);
  word.divisor = 100;
  EXPECT_EQ(percentage(wearIn(word), 0, kRaw), 0x0403 / 100);
}

TEST(WearAttribute, IsMultipliedDividedAndRounded) {
  WearValue cycles = raw(Counts::kUsed);
  cycles.divisor = 30;
  EXPECT_EQ(percentage(wearIn(cycles), 0, 44), 1);
  EXPECT_EQ(percentage(wearIn(cycles), 0, 45), 2);
  EXPECT_EQ(percentage(wearIn(cycles), 0, 3014), 100);
  EXPECT_EQ(percentage(wearIn(cycles), 0, 3015), 255);
  WearValue tens = raw(Counts::kUsed);
  tens.multiplier = 10;
  EXPECT_EQ(percentage(wearIn(tens), 0, 10), 100);
  EXPECT_EQ(percentage(wearIn(tens), 0, 11), 255);
}

TEST(WearAttribute, OutOfRangeIsUnknown) {
  for (const int current : {101, 200, 253, 255}) {
    EXPECT_EQ(outcome(wearIn(kCurrentUsed), static_cast<std::uint8_t>(current), 0),
              Wear::kOutOfRange);
    EXPECT_EQ(percentage(wearIn(kCurrentLeft), static_cast<std::uint8_t>(current), 0), 255);
  }
  WearValue most = raw(Counts::kUsed);
  most.multiplier = 1000000;
  EXPECT_EQ(percentage(wearIn(most), 0, 0xFFFFFFFFFFFF), 255);
  EXPECT_EQ(percentage(wearIn(raw(Counts::kLeft)), 0, 101), 255);
}

// Indilinx and SandForce drives keep 0 in attributes that mean nothing to them.
TEST(WearAttribute, WithNothingLeftIsBelievedOnlyTwice) {
  EXPECT_EQ(outcome(wearIn(kCurrentLeft), 0, 0), Wear::kOutOfRange);
  EXPECT_EQ(percentage(wearIn(kCurrentLeft, raw(Counts::kLeft)), 0, 0), 100);
  EXPECT_EQ(percentage(wearIn(kCurrentUsed), 0, 0), 0);
}

TEST(WearAttribute, IsBelievedWhileBothValuesAgree) {
  const WearAttribute bothLeft = wearIn(kCurrentLeft, raw(Counts::kLeft));
  const WearAttribute usedAndLeft = wearIn(kCurrentUsed, raw(Counts::kLeft));
  EXPECT_EQ(percentage(bothLeft, 98, 98), 2);
  EXPECT_EQ(percentage(bothLeft, 98, 96), 2);
  EXPECT_EQ(outcome(bothLeft, 98, 95), Wear::kDisagreeing);
  EXPECT_EQ(percentage(usedAndLeft, 7, 93), 7);
  // One firmware of a model read by the row of the other.
  EXPECT_EQ(percentage(bothLeft, 7, 93), 255);
  EXPECT_EQ(percentage(usedAndLeft, 98, 98), 255);
  EXPECT_EQ(outcome(bothLeft, 98, 4711), Wear::kDisagreeing);
}

TEST(WearAttribute, IsTheFirstOfItsNumber) {
  SsdValues values = drive(98, 0);
  values.attributes.push_back({231, 0, 50, 50, 0});
  EXPECT_EQ(readWear(wearIn(kCurrentLeft), values).percentageUsed, 2);
  EXPECT_EQ(readWear(wearIn(kCurrentLeft, {}, 230), values).outcome, Wear::kMissing);
  EXPECT_EQ(readWear(wearIn(kCurrentLeft), {}).percentageUsed, 255);
}

TEST_F(WearAttributeReading, IsAVendorsWithTheHoursOf9) {
  EXPECT_EQ(read(98, 98), Lines{});
  EXPECT_EQ(values_.percentageUsed, 2);
  EXPECT_EQ(values_.poweredOnHours, 8760U);
  EXPECT_EQ(algorithm_.getPercentageUsedSource(), 3);
}

TEST_F(WearAttributeReading, SaysEveryTimeThatItIsOutOfRange) {
  const Lines line = {
      "Debug: WearAttributeAlgo::getSsdValues - /dev/sda: attribute 231 is out of range, "
      "normalised "
      "253, raw 98"};
  EXPECT_EQ(read(253, 98), line);
  EXPECT_EQ(values_.percentageUsed, 255);
  EXPECT_EQ(values_.poweredOnHours, 8760U);
  EXPECT_EQ(read(253, 98), line);
}

TEST_F(WearAttributeReading, SaysOnceThatItDisagrees) {
  EXPECT_EQ(read(7, 93),
            Lines{"Info: WearAttributeAlgo::getSsdValues - /dev/sda: attribute 231 disagrees with "
                  "itself, normalised 7, raw 93, percentage unknown"});
  EXPECT_EQ(values_.percentageUsed, 255);
  EXPECT_EQ(read(7, 93), Lines{});
  EXPECT_EQ(values_.percentageUsed, 255);
}

TEST_F(WearAttributeReading, SaysOnceThatItIsMissing) {
  for (const Lines& expected : {Lines{"Info: WearAttributeAlgo::getSsdValues - /dev/sda: no "
                                      "attribute 231, percentage unknown"},
                                Lines{}}) {
    willReadAttributes("/dev/sda", {{9, 100, 8760}});
    EXPECT_TRUE(algorithm_.getSsdValues("/dev/sda", values_));
    EXPECT_EQ(values_.percentageUsed, 255);
    EXPECT_EQ(takeLog(), expected);
  }
}

TEST_F(WearAttributeReading, FailsWithItsDrive) {
  willFailAttributes("/dev/sda");
  EXPECT_FALSE(algorithm_.getSsdValues("/dev/sda", values_));
  EXPECT_EQ(takeLog().back(),
            "Error: WearAttributeAlgo::getSsdValues - failed to get data from SMART Values sector");
}
