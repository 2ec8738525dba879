#include "tests/forecast/BackTest.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "ssdlife/forecast/Forecast.h"

namespace {

using ssdlife::kDay;
using ssdlife::Sample;
using ssdlife::Seconds;

constexpr unsigned kThreshold = 95;

std::optional<std::size_t> dayOfPassing(const std::vector<Sample>& samples) {
  const auto passing = std::find_if(samples.begin(), samples.end(), [](const Sample& sample) {
    return *sample.percentage > kThreshold;
  });
  return passing == samples.end()
             ? std::nullopt
             : std::optional(static_cast<std::size_t>(passing - samples.begin()));
}

double errorOf(Seconds forecast, Seconds truth) {
  return std::abs(static_cast<double>(forecast - truth)) / static_cast<double>(kDay);
}

Seconds lineThroughFirstAndLast(const std::vector<Sample>& samples) {
  const auto rise = static_cast<double>(*samples.back().percentage - *samples.front().percentage);
  const auto left = static_cast<double>(kThreshold + 1 - *samples.back().percentage);
  const auto time = static_cast<double>(samples.back().time - samples.front().time);
  return samples.back().time + static_cast<Seconds>(left / std::max(rise, 0.01) * time);
}

double median(std::vector<double>& values) {
  if (values.empty()) {
    return 0;
  }
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

Score backTest(Curve curve, int drives, int daysBefore) {
  Score score;
  std::vector<double> errors;
  std::vector<double> errorsOfLine;
  for (int drive = 0; drive < drives; ++drive) {
    std::vector<Sample> samples = wearOf(curve, static_cast<std::uint64_t>(drive));
    const auto passing = dayOfPassing(samples);
    if (!passing || *passing < static_cast<std::size_t>(daysBefore) + 120) {
      continue;
    }
    const Seconds truth = samples[*passing].time;
    samples.resize(*passing - static_cast<std::size_t>(daysBefore));
    ++score.drives;
    const ssdlife::Forecast forecast = ssdlife::forecastOf(samples, kThreshold);
    if (!forecast.threshold) {
      ++score.without;
      continue;
    }
    score.covered += forecast.threshold->early <= truth && truth <= forecast.threshold->late;
    errors.push_back(errorOf(forecast.threshold->likely, truth));
    errorsOfLine.push_back(errorOf(lineThroughFirstAndLast(samples), truth));
  }
  score.error = median(errors);
  score.errorOfLine = median(errorsOfLine);
  return score;
}
