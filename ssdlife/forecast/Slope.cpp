#include "ssdlife/forecast/Slope.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace ssdlife {
namespace {

// Steps further back count for next to nothing, and there are many pairs of them.
constexpr std::size_t kMostSteps = 120;

}  // namespace

double weightedQuantile(std::vector<Weighted> values, double share) {
  std::sort(values.begin(), values.end(),
            [](const Weighted& a, const Weighted& b) { return a.value < b.value; });
  double all = 0;
  for (const Weighted& value : values) {
    all += value.weight;
  }
  double reached = 0;
  for (const Weighted& value : values) {
    reached += value.weight;
    if (reached >= all * share) {
      return value.value;
    }
  }
  return values.empty() ? 0 : values.back().value;
}

double weightedMedian(std::vector<Weighted> values) {
  return weightedQuantile(std::move(values), 0.5);
}

double slopeOf(const std::vector<Step>& steps, double now, double halfLife) {
  std::vector<Weighted> slopes;
  const std::size_t begin = steps.size() > kMostSteps ? steps.size() - kMostSteps : 0;
  for (std::size_t i = begin; i < steps.size(); ++i) {
    const double fresh = std::exp2((steps[i].day - now) / halfLife);
    for (std::size_t j = i + 1; j < steps.size(); ++j) {
      const double days = steps[j].day - steps[i].day;
      if (days > 0) {
        slopes.push_back({(steps[j].wear - steps[i].wear) / days, days * days * fresh});
      }
    }
  }
  return weightedMedian(std::move(slopes));
}

}  // namespace ssdlife
