#pragma once

#include <array>

#include "ssdlife/forecast/Steps.h"

namespace ssdlife {

// How hard each month of the year uses a drive, as a multiple of the average, and a time that runs
// by it: in seasonal days a drive that is used the same every year wears evenly.
class Season {
 public:
  // Every month alike.
  Season();

  // By the ratios to the yearly mean: each month's share of the wear of the twelve months around
  // it, the median over the years; drawn towards 1 while there are few years. Every month alike
  // with less than a year and a half.
  explicit Season(const Steps& steps);

  // Seasonal days since 1970, and back.
  [[nodiscard]] double fromDay(double day) const;
  [[nodiscard]] double toDay(double seasonal) const;

 private:
  static constexpr int kMonths = 12;
  void accumulate();

  std::array<double, kMonths> index_;
  std::array<double, kMonths + 1> passed_{};  // seasonal days of a year before each month
};

}  // namespace ssdlife
