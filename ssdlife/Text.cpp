#include "ssdlife/Text.h"

#include <algorithm>

namespace ssdlife {
namespace {

// Characters rather than bytes: a column is as wide as it looks.
std::size_t width(const std::string& text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
  }));
}

}  // namespace

std::string aligned(const std::vector<Line>& lines) {
  std::vector<std::size_t> widths;
  for (const Line& line : lines) {
    widths.resize(std::max(widths.size(), line.size()));
    for (std::size_t column = 0; column < line.size(); ++column) {
      widths[column] = std::max(widths[column], width(line[column]));
    }
  }
  std::string out;
  for (const Line& line : lines) {
    for (std::size_t column = 0; column + 1 < line.size(); ++column) {
      out += line[column] + std::string(widths[column] - width(line[column]) + 2, ' ');
    }
    out += (line.empty() ? "" : line.back()) + '\n';
  }
  return out;
}

std::string orDash(const std::optional<std::int64_t>& number, const char* unit) {
  return number ? std::to_string(*number) + unit : "-";
}

}  // namespace ssdlife
