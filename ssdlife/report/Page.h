#pragma once

#include <string>
#include <vector>

#include "ssdlife/alarms/Alarm.h"
#include "ssdlife/forecast/DriveForecast.h"

namespace ssdlife {

struct DriveReport {
  DriveForecast forecast;
  std::vector<Alarm> alarms;
};

// One page of HTML that needs nothing else: no script, no font, no picture from elsewhere.
std::string pageOf(const std::vector<DriveReport>& drives, unsigned threshold,
                   const std::string& host, Seconds now);

// Text that a browser shows as it stands. Safe between tags and in quoted attributes.
std::string escaped(const std::string& text);

}  // namespace ssdlife
