#pragma once

#include <map>
#include <string>
#include <vector>

#include "ssdlife/Drive.h"
#include "ssdlife/alarms/Alarm.h"

namespace ssdlife {

// When there is an alarm, and who is told.
struct AlarmRules {
  bool threshold = true;
  bool silent = true;
  bool vanished = true;
  std::int64_t limit = 95;         // percent
  std::vector<std::string> hooks;  // names
};

// How often in a row a drive that used to tell its wear has not: one failed reading is no alarm.
using Misses = std::map<std::int64_t, unsigned>;

// Takes the drives down as they are now, and raises the alarms that this calls for: one for each
// drive and cause.
//  - threshold: the percentage is above the limit, and there was no alarm for such a one yet.
//  - silent: a percentage was told, and not at the last three readings.
//  - vanished: a drive that was there is not.
// The last two end when the drive is back; the same may be raised anew after a day.
std::vector<Alarm> observe(const Database& database, const std::vector<Drive>& drives,
                           const AlarmRules& rules, Misses& misses, Seconds now);

}  // namespace ssdlife
