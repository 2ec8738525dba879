#include "simulator/Wear.h"

#include <algorithm>
#include <cstddef>

namespace simulator {

Wear Wear::constant(std::uint8_t percent) { return readings({percent}); }

Wear Wear::readings(std::vector<std::uint8_t> values) {
  Wear wear;
  wear.readings_ = std::move(values);
  return wear;
}

Wear Wear::schedule(std::vector<std::pair<double, std::uint8_t>> steps) {
  Wear wear;
  wear.steps_ = std::move(steps);
  return wear;
}

Wear Wear::growing(double start, double perSecond) {
  Wear wear;
  wear.start_ = start;
  wear.perSecond_ = perSecond;
  return wear;
}

std::uint8_t Wear::at(std::uint64_t reading, double seconds) const {
  if (!readings_.empty()) {
    const std::uint64_t last = readings_.size() - 1;
    return readings_[static_cast<std::size_t>(std::min(reading, last))];
  }
  if (!steps_.empty()) {
    std::uint8_t percent = steps_.front().second;
    for (const auto& [second, value] : steps_) {
      if (second <= seconds) {
        percent = value;
      }
    }
    return percent;
  }
  return static_cast<std::uint8_t>(std::clamp(start_ + perSecond_ * seconds, 0.0, 255.0));
}

}  // namespace simulator
