#pragma once

#include <vector>

#include "ssdlife/history/Sample.h"

namespace ssdlife {

// A day on which the percentage rose, and the wear until then. Between steps the wear is only known
// to be less than one more percent.
struct Step {
  double day = 0;   // since 1970
  double wear = 0;  // percent; in the end the drive's own percentage
};

// What a history says of a drive's wear.
struct Steps {
  std::vector<Step> steps;  // with jumps taken out: a counter that was set anew is not wear
  double firstDay = 0;
  double lastDay = 0;  // when it was last heard of
  double level = 0;    // the last percentage
};

// Empty steps for a history that tells no percentage.
Steps stepsOf(const std::vector<Sample>& samples);

}  // namespace ssdlife
