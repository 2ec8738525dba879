#include "device/WearAttribute.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr std::uint64_t kWhole = 100;
/// Points by which two values that tell the same may differ: they are rounded apart.
constexpr int kTolerance = 2;

std::uint64_t fieldOf(const WearValue& value, const SsdAttr& attribute) {
  if (value.field == WearValue::Field::kCurrent) {
    return attribute.current;
  }
  const unsigned width = 8U * (value.lastByte - value.firstByte + 1U);
  return attribute.raw >> (8U * value.firstByte) & ((std::uint64_t{1} << width) - 1);
}

/// The percentage used, rounded to the nearest, or nothing if it isn't one.
std::optional<std::uint8_t> percentageOf(const WearValue& value, const SsdAttr& attribute) {
  const std::uint64_t number = fieldOf(value, attribute);
  // Beyond this it is out of range, and the product might not fit.
  if (number > (kWhole + 1) * value.divisor / value.multiplier) {
    return std::nullopt;
  }
  const std::uint64_t percentage = (number * value.multiplier + value.divisor / 2) / value.divisor;
  if (percentage > kWhole) {
    return std::nullopt;
  }
  return static_cast<std::uint8_t>(value.counts == WearValue::Counts::kUsed ? percentage
                                                                            : kWhole - percentage);
}

bool isUndefined(const WearValue& value, const SsdAttr& attribute) {
  return value.field == WearValue::Field::kCurrent && value.counts == WearValue::Counts::kLeft &&
         attribute.current == 0;
}

}  // namespace

const SsdAttr* findAttribute(const SsdValues& values, std::uint8_t id) {
  const auto found = std::find_if(values.attributes.begin(), values.attributes.end(),
                                  [id](const SsdAttr& attribute) { return attribute.index == id; });
  return found == values.attributes.end() ? nullptr : &*found;
}

WearReading readWear(const WearAttribute& wear, const SsdValues& values) {
  using Outcome = WearReading::Outcome;
  const SsdAttr* attribute = findAttribute(values, wear.id);
  if (attribute == nullptr) {
    return {};
  }
  const auto nothing = [attribute](Outcome outcome) {
    return WearReading{outcome, kPercentageUnknown, *attribute};
  };
  const std::optional<std::uint8_t> told = percentageOf(wear.value, *attribute);
  if (!told || (!wear.twin && isUndefined(wear.value, *attribute))) {
    return nothing(Outcome::kOutOfRange);
  }
  if (wear.twin) {
    const std::optional<std::uint8_t> same = percentageOf(*wear.twin, *attribute);
    if (!same || std::abs(*told - *same) > kTolerance) {
      return nothing(Outcome::kDisagreeing);
    }
  }
  return {Outcome::kTold, *told, *attribute};
}
