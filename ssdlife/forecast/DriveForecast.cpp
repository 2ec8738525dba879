#include "ssdlife/forecast/DriveForecast.h"

#include <algorithm>
#include <utility>

#include "ssdlife/history/StateFile.h"
#include "ssdlife/service/Settings.h"

namespace ssdlife {
std::vector<DriveForecast> forecastsIn(const Database& database, const std::string& text,
                                       unsigned threshold, Seconds now) {
  std::vector<DriveForecast> forecasts;
  for (KnownDrive& drive : knownDrives(database, text)) {
    std::vector<Sample> samples = samplesOf(database, drive.id, now);
    Forecast forecast = forecastOf(samples, threshold);
    forecasts.push_back({std::move(drive), std::move(samples), std::move(forecast)});
  }
  return forecasts;
}

void addExpected(std::vector<Drive>& drives, const std::string& folder) {
  const auto database = readState(folder);
  if (!database) {
    return;
  }
  const std::vector<KnownDrive> known = knownDrives(*database);
  const unsigned threshold = thresholdOfLibrary();
  for (Drive& drive : drives) {
    const auto found = std::find_if(known.begin(), known.end(), [&drive](const KnownDrive& one) {
      return one.model == drive.model && one.serialNumber == identityOf(drive);
    });
    if (found != known.end()) {
      drive.overThreshold = forecastOf(samplesOf(*database, found->id, now()), threshold).threshold;
    }
  }
}

}  // namespace ssdlife
