#pragma once

#include <string>
#include <vector>

#include "bench/table/Rows.h"

namespace table {

/// The cost of a list request over the number of drives, both on logarithmic scales, as an SVG
/// drawing.
[[nodiscard]] std::string plot(const std::vector<ListCost>& costs);

}  // namespace table
