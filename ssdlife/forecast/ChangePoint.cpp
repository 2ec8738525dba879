#include "ssdlife/forecast/ChangePoint.h"

#include <cmath>
#include <cstddef>

namespace ssdlife {
namespace {

// Less than Pettitt's usual share: good and bad months follow each other, which the test does not
// expect.
constexpr double kByChance = 0.0001;

// Fewer steps after a change make no slope.
constexpr std::size_t kLeastSince = 6;

// Days that each percent took.
std::vector<double> waitsOf(const std::vector<Step>& steps) {
  std::vector<double> waits;
  for (std::size_t at = 1; at < steps.size(); ++at) {
    const double rise = steps[at].wear - steps[at - 1].wear;
    const double before = waits.empty() ? 0 : waits.back();
    waits.push_back(rise > 0 ? (steps[at].day - steps[at - 1].day) / rise : before);
  }
  return waits;
}

}  // namespace

std::vector<Step> sinceChange(std::vector<Step> steps) {
  const std::vector<double> waits = waitsOf(steps);
  double sum = 0;
  double most = 0;
  std::size_t change = 0;
  for (std::size_t at = 0; at + kLeastSince < waits.size(); ++at) {
    for (const double other : waits) {
      sum += (waits[at] > other ? 1 : 0) - (waits[at] < other ? 1 : 0);
    }
    if (std::abs(sum) > most) {
      most = std::abs(sum);
      change = at + 1;
    }
  }
  const auto n = static_cast<double>(waits.size());
  if (2 * std::exp(-6 * most * most / (n * n * n + n * n)) < kByChance) {
    steps.erase(steps.begin(), steps.begin() + static_cast<std::ptrdiff_t>(change));
  }
  return steps;
}

}  // namespace ssdlife
