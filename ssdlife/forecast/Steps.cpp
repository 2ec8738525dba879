#include "ssdlife/forecast/Steps.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "ssdlife/forecast/Slope.h"

namespace ssdlife {
namespace {

// One change of the percentage.
struct Change {
  double day;
  double wait;  // days since the change before, or since the history began
  double rise;
};

double dayOf(Seconds time) { return static_cast<double>(time) / static_cast<double>(kDay); }

std::vector<Change> changesOf(const std::vector<Sample>& samples, Steps& steps) {
  std::vector<Change> changes;
  const Sample* last = nullptr;
  double lastChange = 0;
  for (const Sample& sample : samples) {
    if (!sample.percentage) {
      continue;
    }
    const double day = dayOf(sample.time);
    if (last == nullptr) {
      steps.firstDay = lastChange = day;
    } else if (sample.percentage != last->percentage) {
      // It happened some time between the two.
      const double when = (dayOf(last->time) + day) / 2;
      changes.push_back(
          {when, when - lastChange, static_cast<double>(*sample.percentage - *last->percentage)});
      lastChange = when;
    }
    last = &sample;
    steps.lastDay = day;
    steps.level = static_cast<double>(*sample.percentage);
  }
  return changes;
}

// Percent a day, from the changes by one.
double usualRate(const std::vector<Change>& changes) {
  std::vector<Weighted> rates;
  for (std::size_t at = 1; at < changes.size(); ++at) {
    const Change& change = changes[at];
    if (change.rise > 0 && change.wait > 0) {
      rates.push_back({change.rise / change.wait, change.wait});
    }
  }
  return weightedMedian(rates);
}

// What of a change is wear. A fall, or a rise that even three times the usual use does not explain,
// is the work of a firmware; a counter that stood still may catch up.
double wearOf(const Change& change, double rate) {
  constexpr double kHeavyUse = 3;
  constexpr double kSlack = 2;
  if (change.rise > 0 && change.rise <= kHeavyUse * rate * change.wait + kSlack) {
    return change.rise;
  }
  return rate * change.wait;
}

}  // namespace

Steps stepsOf(const std::vector<Sample>& samples) {
  Steps result;
  const std::vector<Change> changes = changesOf(samples, result);
  const double rate = usualRate(changes);
  double wear = 0;
  for (const Change& change : changes) {
    wear += wearOf(change, rate);
    result.steps.push_back({change.day, wear});
  }
  // So that the last one is at the drive's own percentage.
  for (Step& step : result.steps) {
    step.wear += result.level - wear;
  }
  return result;
}

}  // namespace ssdlife
