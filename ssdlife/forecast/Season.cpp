#include "ssdlife/forecast/Season.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <vector>

namespace ssdlife {
namespace {

// A year of twelve equal months is near enough.
constexpr double kYear = 365.2425;
constexpr double kMonth = kYear / 12;
constexpr double kLeastHistory = 1.5 * kYear;

// The wear at a day, on the line from step to step.
double wearAt(const std::vector<Step>& steps, double day) {
  const auto after = std::lower_bound(steps.begin(), steps.end(), day,
                                      [](const Step& step, double at) { return step.day < at; });
  if (after == steps.begin()) {
    return steps.front().wear;
  }
  if (after == steps.end()) {
    return steps.back().wear;
  }
  const Step& one = *(after - 1);
  return one.wear + (after->wear - one.wear) * (day - one.day) / (after->day - one.day);
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t half = values.size() / 2;
  return values.size() % 2 == 1 ? values[half] : (values[half - 1] + values[half]) / 2;
}

using Ratios = std::array<std::vector<double>, 12>;

double meanOf(const std::vector<double>& values) {
  return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
}

// How much of the difference between months is theirs, and not that of single years: from 0 to 1.
// What chance would make of equal months is taken off, as James and Stein do.
double strengthOf(const Ratios& ratios) {
  std::vector<double> ofChance;
  std::vector<double> ofMonths;
  for (const std::vector<double>& month : ratios) {
    if (month.size() < 2) {
      continue;
    }
    const double mean = meanOf(month);
    const auto years = static_cast<double>(month.size());
    double squares = 0;
    for (const double ratio : month) {
      squares += (ratio - mean) * (ratio - mean);
    }
    ofChance.push_back(squares / (years - 1) / years);
    ofMonths.push_back((mean - 1) * (mean - 1));
  }
  if (ofMonths.empty() || meanOf(ofMonths) <= 0) {
    return 0;
  }
  // What chance does not reach in one of twenty histories of three years: F(12, 12).
  constexpr double kByChance = 2.5;
  const double ofAll = meanOf(ofMonths) / meanOf(ofChance);
  return ofAll < kByChance ? 0 : 1 - 1 / ofAll;
}

}  // namespace

Season::Season() {
  index_.fill(1);
  accumulate();
}

Season::Season(const Steps& steps) : Season() {
  if (steps.steps.size() < 2 || steps.steps.back().day - steps.steps.front().day < kLeastHistory) {
    return;
  }
  Ratios ratios;
  const double first = std::ceil(steps.steps.front().day / kMonth);
  const double end = std::floor(steps.steps.back().day / kMonth);
  for (double month = first; month < end; ++month) {
    // The year around it, or the nearest one that the history has.
    const double from = std::clamp(month - 5.5, first, end - kMonths);
    const double year =
        wearAt(steps.steps, (from + kMonths) * kMonth) - wearAt(steps.steps, from * kMonth);
    const double wear =
        wearAt(steps.steps, (month + 1) * kMonth) - wearAt(steps.steps, month * kMonth);
    if (year > 0) {
      ratios[static_cast<std::size_t>(month) % kMonths].push_back(wear * kMonths / year);
    }
  }
  const double strength = strengthOf(ratios);
  double sum = 0;
  for (std::size_t month = 0; month < kMonths; ++month) {
    const double index = ratios[month].empty() ? 1 : median(ratios[month]);
    index_[month] = std::max(1 + strength * (index - 1), 0.05);
    sum += index_[month];
  }
  for (double& index : index_) {
    index *= kMonths / sum;
  }
  accumulate();
}

void Season::accumulate() {
  for (std::size_t month = 0; month < kMonths; ++month) {
    passed_[month + 1] = passed_[month] + index_[month] * kMonth;
  }
}

double Season::fromDay(double day) const {
  const double year = std::floor(day / kYear);
  const double months = (day - year * kYear) / kMonth;
  const auto month = std::min<std::size_t>(kMonths - 1, static_cast<std::size_t>(months));
  return year * kYear + passed_[month] +
         (months - static_cast<double>(month)) * index_[month] * kMonth;
}

double Season::toDay(double seasonal) const {
  const double year = std::floor(seasonal / kYear);
  const double rest = seasonal - year * kYear;
  const auto after = std::upper_bound(passed_.begin() + 1, passed_.end() - 1, rest);
  const auto month = static_cast<std::size_t>(after - passed_.begin()) - 1;
  return year * kYear + static_cast<double>(month) * kMonth +
         (rest - passed_[month]) / index_[month];
}

}  // namespace ssdlife
