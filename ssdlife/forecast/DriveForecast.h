#pragma once

#include <string>
#include <vector>

#include "ssdlife/Drive.h"
#include "ssdlife/forecast/Forecast.h"
#include "ssdlife/history/History.h"

namespace ssdlife {

// A drive of the history, and what is to be expected of it.
struct DriveForecast {
  KnownDrive drive;
  std::vector<Sample> samples;
  Forecast forecast;
};

// Of the drives that `text` names, see knownDrives().
std::vector<DriveForecast> forecastsIn(const Database& database, const std::string& text,
                                       unsigned threshold, Seconds now);

// Fills in what the history in the folder, if there is one, lets expect of the drives. Throws
// Failure when it can't be read.
void addExpected(std::vector<Drive>& drives, const std::string& folder);

}  // namespace ssdlife
