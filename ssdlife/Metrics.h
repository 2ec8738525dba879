#pragma once

#include <string>
#include <vector>

#include "ssdlife/Drive.h"

namespace ssdlife {

// The drives in the text form that Prometheus reads, for the node exporter's textfile collector.
// Names, units and labels are part of the command's interface:
//   ssdlife_info{device,model,serial_number,firmware_version,source}  1
//   ssdlife_rated_life_used_ratio{device}     1 is the whole rated life, more is possible; absent
//                                             when the drive does not tell
//   ssdlife_powered_on_seconds_total{device}
//   ssdlife_failure_imminent{device}          0 or 1
//   ssdlife_read{device}                      0 when the drive could not be read: then the ratio
//   and
//                                             the seconds are absent
//   ssdlife_threshold_expected_timestamp_seconds{device}, and the same with _early and _late before
//   _timestamp: from the history, absent without a forecast
// A metric that no drive has is left out.
std::string showMetrics(const std::vector<Drive>& drives);

}  // namespace ssdlife
