#pragma once

#include <optional>
#include <string>

namespace ssdlife {

// Percentages that raise no alert, as the guidelines of the Monitoring Plugins write them: "10" is
// 0 to 10, "10:" 10 or more, "~:10" 10 or less, "10:20" within, "@10:20" not within. Each number
// may have a percent sign.
class Range {
 public:
  // 0 to `end`.
  Range(unsigned end) : end_(end), text_(std::to_string(end)) {}  // NOLINT: as it is written

  // Nothing if the text is no such range.
  static std::optional<Range> parse(const std::string& text);

  [[nodiscard]] bool alerts(unsigned percentage) const;

  // As it was written, without percent signs.
  [[nodiscard]] const std::string& text() const { return text_; }

  // The one number of a range that begins at 0; nothing for other ranges.
  [[nodiscard]] std::optional<unsigned> limit() const;

 private:
  unsigned start_ = 0;  // no percentage is less, so that "~" is 0
  std::optional<unsigned> end_;
  bool within_ = false;  // alerts within instead of without
  std::string text_;
};

}  // namespace ssdlife
