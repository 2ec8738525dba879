#pragma once

#include <cstdint>
#include <optional>

#include "ssdlife/service/Clock.h"

namespace ssdlife {

// How worn a drive was, when.
struct Sample {
  Seconds time = 0;
  std::optional<std::int64_t> percentage;  // nothing: the drive did not tell
  std::optional<std::int64_t> hours;
};

}  // namespace ssdlife
