#include "ssdlife/forecast/Forecast.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "ssdlife/forecast/ChangePoint.h"
#include "ssdlife/forecast/Season.h"
#include "ssdlife/forecast/Slope.h"
#include "ssdlife/forecast/Steps.h"

namespace ssdlife {
namespace {

constexpr std::size_t kLeastSteps = 2;
constexpr double kHalfLife = 365;          // days
constexpr double kLongestOutlook = 36525;  // days: what lies further ahead is no date

// How far the use of a drive strays from its forecast: factors on its rate.
struct Spread {
  double slow = 1;
  double fast = 1;
};

// What is known on one day.
class Outlook {
 public:
  explicit Outlook(const Steps& steps) : season_(steps), level_(steps.level) {
    for (const Step& step : steps.steps) {
      steps_.push_back({season_.fromDay(step.day), step.wear});
    }
    now_ = season_.fromDay(steps.lastDay);
    rate_ = rateAt(steps_, now_);
  }

  [[nodiscard]] double rate() const { return rate_; }

  // The day on which the percentage becomes `target`, the rate being so many times the usual one.
  [[nodiscard]] double dayOf(double target, double factor) const {
    const double rate = rate_ * factor;
    // The next step may be overdue: it can't be before now.
    const double begin = std::max(steps_.back().day, now_ - 1 / rate);
    return season_.toDay(std::max(now_, begin + (target - level_) / rate));
  }

  // From the forecasts that could have been made before, and what came of them: rolling origin.
  [[nodiscard]] Spread spread(double target) const {
    std::vector<Weighted> factors;
    const double ahead = (target - level_) / rate_;
    const double first = steps_.front().day;
    for (double then = now_ - kBetweenOrigins; then > first + kLeastPast; then -= kBetweenOrigins) {
      const double until = std::min(now_, then + ahead);
      std::vector<Step> known;
      std::copy_if(steps_.begin(), steps_.end(), std::back_inserter(known),
                   [then](const Step& step) { return step.day <= then; });
      const double rate = rateAt(known, then);
      if (rate > 0) {
        const double real = (wearAt(until) - wearAt(then)) / (until - then);
        factors.push_back({real / rate, 1});
      }
    }
    return spreadOf(factors, (now_ - first) / ahead);
  }

 private:
  static constexpr double kBetweenOrigins = 30;
  static constexpr double kLeastPast = 120;
  static constexpr std::size_t kLeastOrigins = 6;

  // A drive that has not stepped for longer than usual wears no faster than that allows.
  static double rateAt(std::vector<Step> steps, double now) {
    steps = sinceChange(std::move(steps));
    const double rate = slopeOf(steps, now, kHalfLife);
    if (rate <= 0 || (now - steps.back().day) * rate <= 1) {
      return rate;
    }
    steps.push_back({now, steps.back().wear + 1});
    return std::min(rate, slopeOf(steps, now, kHalfLife));
  }

  [[nodiscard]] double wearAt(double day) const {
    const auto after = std::lower_bound(steps_.begin(), steps_.end(), day,
                                        [](const Step& step, double at) { return step.day < at; });
    if (after == steps_.begin()) {
      return steps_.front().wear;
    }
    if (after == steps_.end()) {
      return std::min(level_ + 1, level_ + (day - steps_.back().day) * rate_);
    }
    const Step& one = *(after - 1);
    return one.wear + (after->wear - one.wear) * (day - one.day) / (after->day - one.day);
  }

  // Of so many forecasts whose times do not overlap. With few of them the quantiles reach too
  // short: they are widened as Student's t does it for a normal distribution, nearly 1 + 1 / (n -
  // 1).
  static Spread spreadOf(const std::vector<Weighted>& factors, double independent) {
    // Use may change tomorrow in a way that it never has: never narrower than this.
    constexpr double kLeast = 0.03;
    constexpr double kUnknown = 0.4;
    if (factors.size() < kLeastOrigins) {
      return {1 / (1 + kUnknown), 1 + kUnknown};
    }
    const double wider = 1 + 1 / std::max(0.5, independent - 1);
    const double slow = std::pow(weightedQuantile(factors, 0.1), wider);
    const double fast = std::pow(weightedQuantile(factors, 0.9), wider);
    return {std::clamp(slow, 0.1, 1 / (1 + kLeast)), std::clamp(fast, 1 + kLeast, 10.0)};
  }

  Season season_;
  std::vector<Step> steps_;  // in seasonal days
  double level_;
  double now_ = 0;
  double rate_ = 0;
};

std::string plural(std::size_t count, const char* what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string whyNone(const Steps& steps) {
  if (steps.level == 0 && steps.lastDay == 0) {
    return "the drive has not told how worn it is";
  }
  const auto days = static_cast<std::size_t>(std::max(0.0, steps.lastDay - steps.firstDay));
  if (steps.steps.size() < kLeastSteps) {
    return plural(days, "day") + " of history, " + plural(steps.steps.size(), "step") +
           ": at least 2 steps are needed";
  }
  // Four times as long as steps usually take, and no short while.
  constexpr double kLongStill = 90;
  constexpr double kManyWaits = 4;
  const double still = steps.lastDay - steps.steps.back().day;
  const double rate = slopeOf(steps.steps, steps.lastDay, kHalfLife);
  if (rate <= 0) {
    return "it does not rise";
  }
  if (still > kLongStill && still > kManyWaits / rate) {
    return "the percentage has stood still for " + plural(static_cast<std::size_t>(still), "day");
  }
  return "";
}

Seconds secondsOf(double day) { return static_cast<Seconds>(day * static_cast<double>(kDay)); }

std::optional<Expected> expected(const Outlook& outlook, double level, double target) {
  if (level >= target) {
    return std::nullopt;
  }
  const Spread spread = outlook.spread(target);
  return Expected{secondsOf(outlook.dayOf(target, spread.fast)),
                  secondsOf(outlook.dayOf(target, 1)),
                  secondsOf(outlook.dayOf(target, spread.slow))};
}

}  // namespace

Forecast forecastOf(const std::vector<Sample>& samples, unsigned threshold) {
  const Steps steps = stepsOf(samples);
  Forecast forecast;
  forecast.none = whyNone(steps);
  if (!forecast.none.empty()) {
    return forecast;
  }
  const Outlook outlook(steps);
  forecast.perDay = outlook.rate();
  if (outlook.rate() * kLongestOutlook < 100) {
    forecast.none = "it wears so slowly that it would take more than a century";
    return forecast;
  }
  forecast.threshold = expected(outlook, steps.level, threshold + 1.0);
  forecast.full = expected(outlook, steps.level, 100);
  return forecast;
}

}  // namespace ssdlife
