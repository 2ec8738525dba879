#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ssdlife/forecast/Expected.h"
#include "ssdlife/history/Sample.h"

// When a drive will be worn, from how it has worn. docs/forecast.md describes the method, its
// sources and how well it does. Pure functions; any thread may call them.
namespace ssdlife {

struct Forecast {
  std::string none;  // why there is none, in words; empty if there is one

  double perDay = 0;  // percent of the rated life
  std::optional<Expected>
      threshold;                 // when the percentage will be above it; nothing: it is already
  std::optional<Expected> full;  // when it will be 100; nothing: it is already
};

// As of the last of the samples, which are in the order of time.
Forecast forecastOf(const std::vector<Sample>& samples, unsigned threshold);

}  // namespace ssdlife
