#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Pieces of what the commands that remember show.
namespace ssdlife {

using Line = std::vector<std::string>;

// Lines of equally many cells, the columns aligned; the first line bears the headings.
std::string aligned(const std::vector<Line>& lines);

std::string orDash(const std::optional<std::int64_t>& number, const char* unit);

}  // namespace ssdlife
