#include "tests/forecast/Curves.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace {

using ssdlife::kDay;
using ssdlife::Sample;

constexpr ssdlife::Seconds kBegin = 1609459200;  // 2021-01-01
constexpr double kPi = 3.14159265358979323846;

// Numbers by chance that are the same with every C++ library.
class Chance {
 public:
  explicit Chance(std::uint64_t seed) : engine_(seed) {}

  double between(double low, double high) {
    return low + (high - low) * static_cast<double>(engine_() >> 11) / 9007199254740992.0;
  }

  double normal() {
    return std::sqrt(-2 * std::log(between(1e-12, 1))) * std::cos(2 * kPi * between(0, 1));
  }

 private:
  std::mt19937_64 engine_;
};

// What one drive is like.
struct Life {
  double perYear;
  double amplitude;
  double peak;
  int changeDay;
  double change;
  int stuckFrom;
  int stuckUntil;
  int jumpDay;
  int jump;
};

Life lifeOf(Curve curve, Chance& chance) {
  Life life{};
  life.perYear = chance.between(22, 38);
  life.peak = 1;
  life.change = 1;
  life.changeDay = life.stuckFrom = life.stuckUntil = life.jumpDay = kDaysOfACurve;
  switch (curve) {
    case Curve::kConstant:
      break;
    case Curve::kSeasonal:
      life.amplitude = chance.between(0.3, 0.6);
      break;
    case Curve::kChristmas:
      life.peak = chance.between(2, 4);
      break;
    case Curve::kChangedUse:
      life.changeDay = static_cast<int>(chance.between(200, 900));
      life.change =
          chance.between(0, 1) < 0.5 ? chance.between(0.5, 0.75) : chance.between(1.33, 2);
      break;
    case Curve::kStuckCounter:
      life.stuckFrom = static_cast<int>(chance.between(100, 800));
      life.stuckUntil = life.stuckFrom + static_cast<int>(chance.between(30, 150));
      break;
    case Curve::kFirmwareJump:
      life.jumpDay = static_cast<int>(chance.between(100, 800));
      life.jump = static_cast<int>(chance.between(5, 20)) * (chance.between(0, 1) < 0.5 ? -1 : 1);
      break;
  }
  return life;
}

double useOn(const Life& life, int day) {
  const double year = 2 * kPi * day / 365.25;
  const bool christmas = day % 365 >= 328 && day % 365 < 358;
  return (1 + life.amplitude * std::sin(year)) * (christmas ? life.peak : 1) *
         (day >= life.changeDay ? life.change : 1) * (day % 7 == 3 ? 0 : 7.0 / 6);
}

}  // namespace

const char* nameOf(Curve curve) {
  switch (curve) {
    case Curve::kConstant:
      return "constant";
    case Curve::kSeasonal:
      return "seasonal";
    case Curve::kChristmas:
      return "Christmas peak";
    case Curve::kChangedUse:
      return "changed use";
    case Curve::kStuckCounter:
      return "stuck counter";
    case Curve::kFirmwareJump:
      break;
  }
  return "firmware jump";
}

std::vector<Sample> wearOf(Curve curve, std::uint64_t seed) {
  Chance chance(seed * 7919 + static_cast<std::uint64_t>(curve));
  const Life life = lifeOf(curve, chance);
  std::vector<Sample> samples;
  double wear = chance.between(1, 3);
  double mood = 0;  // good and bad months of the shop
  std::int64_t shown = 0;
  for (int day = 0; day < kDaysOfACurve; ++day) {
    mood = mood * std::exp(-1.0 / 60) + 0.1 * std::sqrt(1 - std::exp(-2.0 / 60)) * chance.normal();
    const double varied = std::exp(0.4 * chance.normal() - 0.08);
    wear += life.perYear / 365 * useOn(life, day) * varied *
            (curve == Curve::kConstant ? 1 : std::exp(mood));
    if (day < life.stuckFrom || day >= life.stuckUntil) {
      shown = static_cast<std::int64_t>(wear) + (day >= life.jumpDay ? life.jump : 0);
    }
    samples.push_back(
        {kBegin + day * kDay + kDay / 3, std::clamp<std::int64_t>(shown, 0, 254), 8L * day});
  }
  return samples;
}
