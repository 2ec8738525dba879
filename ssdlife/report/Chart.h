#pragma once

#include <string>

#include "ssdlife/report/Page.h"

namespace ssdlife {

// A drive's wear over time as SVG: the curve, the threshold, what is to be expected, the alarms.
std::string chartOf(const DriveReport& drive, unsigned threshold, Seconds now);

}  // namespace ssdlife
