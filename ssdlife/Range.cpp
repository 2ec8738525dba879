#include "ssdlife/Range.h"

#include <regex>

namespace ssdlife {
namespace {

// The highest percentage that a drive can tell.
constexpr unsigned kHighest = 254;

}  // namespace

std::optional<Range> Range::parse(const std::string& text) {
  static const std::regex form("(@?)(?:(~|[0-9]{1,3}%?):)?(?:([0-9]{1,3})%?)?");
  std::smatch parts;
  if (!std::regex_match(text, parts, form) || (!parts[2].matched && !parts[3].matched)) {
    return std::nullopt;
  }
  Range range(0);
  range.within_ = parts[1].length() > 0;
  const bool bounded = parts[2].matched && parts[2] != "~";
  range.start_ = bounded ? static_cast<unsigned>(std::stoul(parts[2])) : 0;
  range.end_ = std::nullopt;
  if (parts[3].matched) {
    range.end_ = static_cast<unsigned>(std::stoul(parts[3]));
  }
  const std::string start = parts[2] == "~" ? "~" : std::to_string(range.start_);
  range.text_ = parts[1].str() + (parts[2].matched ? start + ':' : "") + parts[3].str();
  const bool small = range.start_ <= kHighest && range.end_.value_or(0) <= kHighest;
  const bool upwards = range.start_ <= range.end_.value_or(kHighest);
  return small && upwards ? std::optional(range) : std::nullopt;
}

bool Range::alerts(unsigned percentage) const {
  const bool within = percentage >= start_ && (!end_ || percentage <= *end_);
  return within == within_;
}

std::optional<unsigned> Range::limit() const {
  return start_ == 0 && !within_ ? end_ : std::nullopt;
}

}  // namespace ssdlife
