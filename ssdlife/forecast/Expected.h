#pragma once

#include "ssdlife/service/Clock.h"

namespace ssdlife {

// A point in time, and the two between which it lies in four of five cases.
struct Expected {
  Seconds early = 0;
  Seconds likely = 0;
  Seconds late = 0;
};

}  // namespace ssdlife
