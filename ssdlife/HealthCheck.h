#pragma once

#include <string>
#include <vector>

#include "ssdlife/Drive.h"
#include "ssdlife/Range.h"

// What a monitoring system is told: one line and one of four states, as the plugins of Nagios and
// its kin speak.
namespace ssdlife {

// The exit status that stands for each.
enum class Health { kOk = 0, kWarning = 1, kCritical = 2, kUnknown = 3 };

// Percentages of the rated life that raise no alert.
struct Thresholds {
  Range warning = 80;
  Range critical = 95;

  // A drive that is expected to pass the library's threshold before is a warning too.
  std::optional<std::int64_t> expectedBefore = std::nullopt;  // seconds since 1970
};

struct HealthReport {
  Health health = Health::kUnknown;
  std::string line;  // "SSD OK - sda 33 % | sda_used=33%;80;95;0;100 sda_hours=18422", line feed
};

// The state of the drive that is worst off: critical, warning, unknown, ok in this order. A drive
// whose failure the provider calls imminent is critical whatever its percentage; one that could not
// be read is unknown.
HealthReport healthOf(const std::vector<Drive>& drives, const Thresholds& thresholds);

// The report when the drives could not be asked.
HealthReport unknownHealth(const std::string& reason);

}  // namespace ssdlife
