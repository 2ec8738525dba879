#pragma once

#include <vector>

#include "ssdlife/forecast/Steps.h"

namespace ssdlife {

// The steps since the use of the drive last changed for good, all of them if it has not: Pettitt's
// test on the time that each percent took.
std::vector<Step> sinceChange(std::vector<Step> steps);

}  // namespace ssdlife
