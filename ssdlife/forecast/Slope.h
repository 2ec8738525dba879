#pragma once

#include <vector>

#include "ssdlife/forecast/Steps.h"

namespace ssdlife {

struct Weighted {
  double value = 0;
  double weight = 0;
};

// The value at which half of the weight is reached; 0 without any.
double weightedMedian(std::vector<Weighted> values);

// As above, for any share of the weight.
double weightedQuantile(std::vector<Weighted> values, double share);

// Percent a day by the method of Theil and Sen, its pairs of steps weighted: by the square of their
// distance, and halved for each half-life that has passed since. 0 with less than two steps.
double slopeOf(const std::vector<Step>& steps, double now, double halfLife);

}  // namespace ssdlife
