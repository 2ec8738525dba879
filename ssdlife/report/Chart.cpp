#include "ssdlife/report/Chart.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace ssdlife {
namespace {

// In units of the drawing, which is as wide as the page lets it be.
constexpr double kWidth = 400;
constexpr double kHeight = 210;
constexpr double kLeft = 34;
constexpr double kRight = 392;
constexpr double kTop = 10;
constexpr double kBottom = 184;

// What lies further ahead says little, and would press the past together.
constexpr Seconds kFurthest = 5 * 365 * kDay;

std::string number(double value) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.1f", value);
  return text.data();
}

class Chart {
 public:
  Chart(const DriveReport& drive, unsigned threshold, Seconds now)
      : samples_(drive.forecast.samples),
        forecast_(drive.forecast.forecast),
        alarms_(drive.alarms),
        threshold_(threshold),
        begin_(samples_.empty() ? now - kDay : samples_.front().time),
        now_(std::max(now, begin_ + kDay)),
        end_(endOf()),
        top_(topOf()) {}

  [[nodiscard]] std::string svg() const {
    return "<svg viewBox=\"0 0 " + number(kWidth) + ' ' + number(kHeight) +
           "\" role=\"img\" aria-label=\"wear over time\">" + grid() + band() + limit() + curve() +
           today() + markers() + "</svg>";
  }

 private:
  [[nodiscard]] Seconds endOf() const {
    Seconds end = now_ + (now_ - begin_) / 8;
    if (forecast_.threshold) {
      end = std::max(end, forecast_.threshold->late);
    }
    return std::min(end, now_ + std::max<Seconds>(kFurthest, now_ - begin_));
  }

  [[nodiscard]] double topOf() const {
    double top = 100;
    for (const Sample& sample : samples_) {
      top = std::max(top, static_cast<double>(sample.percentage.value_or(0)));
    }
    return top;
  }

  [[nodiscard]] double x(Seconds time) const {
    const double share = static_cast<double>(std::clamp(time, begin_, end_) - begin_) /
                         static_cast<double>(end_ - begin_);
    return kLeft + share * (kRight - kLeft);
  }

  [[nodiscard]] double y(double percentage) const {
    return kBottom - percentage / top_ * (kBottom - kTop);
  }

  [[nodiscard]] std::string point(Seconds time, double percentage) const {
    return number(x(time)) + ',' + number(y(percentage));
  }

  [[nodiscard]] static std::string text(double x, double y, const char* anchor,
                                        const std::string& what) {
    return "<text x=\"" + number(x) + "\" y=\"" + number(y) + "\" text-anchor=\"" + anchor + "\">" +
           what + "</text>";
  }

  [[nodiscard]] static std::string line(const char* kind, double x1, double y1, double x2,
                                        double y2) {
    return std::string("<line class=\"") + kind + "\" x1=\"" + number(x1) + "\" y1=\"" +
           number(y1) + "\" x2=\"" + number(x2) + "\" y2=\"" + number(y2) + "\"/>";
  }

  [[nodiscard]] std::string grid() const {
    std::string out;
    for (double percentage = 0; percentage <= top_; percentage += 25) {
      out += line("grid", kLeft, y(percentage), kRight, y(percentage)) +
             text(kLeft - 4, y(percentage) + 4, "end",
                  number(percentage).substr(0, number(percentage).find('.')));
    }
    return out + text(kLeft, kBottom + 18, "start", dateText(begin_)) +
           text(kRight, kBottom + 18, "end", dateText(end_));
  }

  [[nodiscard]] std::string limit() const {
    return line("limit", kLeft, y(threshold_), kRight, y(threshold_));
  }

  // Between the early and the late date; the likely one in its middle.
  [[nodiscard]] std::string band() const {
    if (!forecast_.threshold || samples_.empty()) {
      return "";
    }
    const Expected& expected = *forecast_.threshold;
    const Seconds from = samples_.back().time;
    const auto level = static_cast<double>(samples_.back().percentage.value_or(0));
    const auto on = [&](Seconds date) {
      // Where a date lies beyond the drawing, the line ends at its border.
      const double share =
          date <= end_ ? 1 : static_cast<double>(end_ - from) / static_cast<double>(date - from);
      return point(date, level + share * (threshold_ - level));
    };
    return "<polygon class=\"band\" points=\"" + point(from, level) + ' ' + on(expected.early) +
           ' ' + on(expected.late) + "\"/><polyline class=\"likely\" points=\"" +
           point(from, level) + ' ' + on(expected.likely) + "\"/>";
  }

  // By steps, as the drive tells it; a gap where it did not.
  [[nodiscard]] std::string curve() const {
    std::string path;
    std::optional<std::int64_t> last;
    for (const Sample& sample : samples_) {
      if (sample.percentage && !last) {
        path += 'M' + point(sample.time, static_cast<double>(*sample.percentage));
      } else if (sample.percentage && sample.percentage != last) {
        path +=
            'H' + number(x(sample.time)) + 'V' + number(y(static_cast<double>(*sample.percentage)));
      } else if (last && !sample.percentage) {
        path += 'H' + number(x(sample.time));
      }
      last = sample.percentage;
    }
    if (last) {
      path += 'H' + number(x(samples_.back().time));
    }
    return "<path class=\"wear\" d=\"" + path + "\"/>";
  }

  [[nodiscard]] std::string today() const {
    return line("today", x(now_), kTop, x(now_), kBottom) +
           (x(now_) > kLeft + 90 && x(now_) < kRight - 90
                ? text(x(now_), kBottom + 18, "middle", "today")
                : "");
  }

  [[nodiscard]] std::string markers() const {
    std::string out;
    for (const Alarm& alarm : alarms_) {
      out += "<circle class=\"alarm\" cx=\"" + number(x(alarm.raised)) + "\" cy=\"" +
             number(y(static_cast<double>(alarm.percentage.value_or(0)))) + "\" r=\"5\"><title>" +
             escaped(inWords(alarm)) + "</title></circle>";
    }
    return out;
  }

  const std::vector<Sample>& samples_;
  const Forecast& forecast_;
  const std::vector<Alarm>& alarms_;
  const unsigned threshold_;
  const Seconds begin_;
  const Seconds now_;
  const Seconds end_;
  const double top_;
};

}  // namespace

std::string chartOf(const DriveReport& drive, unsigned threshold, Seconds now) {
  return Chart(drive, threshold, now).svg();
}

}  // namespace ssdlife
