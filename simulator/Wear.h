#pragma once

#include <cstdint>
#include <utility>
#include <vector>

namespace simulator {

// How the percentage of rated life used moves: not at all, with each reading, or with simulated
// time (seconds). An immutable value; any thread may ask it.
class Wear {
 public:
  static Wear constant(std::uint8_t percent);

  // The n-th reading gives the n-th value; the last one stays.
  static Wear readings(std::vector<std::uint8_t> values);

  // From each second on the percentage beside it; before the first second, the first percentage.
  static Wear schedule(std::vector<std::pair<double, std::uint8_t>> steps);

  // Grows evenly and stops at 255, the highest value that a drive can report.
  static Wear growing(double start, double perSecond);

  // reading counts from 0.
  [[nodiscard]] std::uint8_t at(std::uint64_t reading, double seconds) const;

 private:
  std::vector<std::uint8_t> readings_;
  std::vector<std::pair<double, std::uint8_t>> steps_;
  double start_ = 0;
  double perSecond_ = 0;
};

}  // namespace simulator
