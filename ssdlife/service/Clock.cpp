#include "ssdlife/service/Clock.h"

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <ctime>

namespace ssdlife {
namespace {

// What the simulator has, where it is in front of this process.
template <typename Function>
Function* ofSimulator(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_DEFAULT, name));
}

std::atomic<Seconds> earlier{0};

Seconds realTime() { return static_cast<Seconds>(std::time(nullptr)); }

std::string formatted(Seconds time, const char* format) {
  const auto when = static_cast<std::time_t>(time);
  std::tm parts{};
  std::array<char, 40> text{};
  if (gmtime_r(&when, &parts) == nullptr ||
      std::strftime(text.data(), text.size(), format, &parts) == 0) {
    return "?";
  }
  return text.data();
}

}  // namespace

Seconds now() {
  static auto* const simulated = ofSimulator<double()>("vekssdsimSeconds");
  if (simulated == nullptr) {
    return realTime();
  }
  static const Seconds begin = realTime() - static_cast<Seconds>(simulated());
  return begin - earlier + static_cast<Seconds>(simulated());
}

std::chrono::milliseconds waitOf(Seconds seconds) {
  static auto* const scale = ofSimulator<double()>("vekssdsimScale");
  const double milliseconds = static_cast<double>(seconds) * 1000 / (scale ? scale() : 1.0);
  return std::chrono::milliseconds(
      std::max<std::chrono::milliseconds::rep>(1, static_cast<long>(milliseconds)));
}

bool beginEarlier(Seconds seconds) {
  now();
  earlier += seconds;
  return ofSimulator<void(double)>("vekssdsimSkip") != nullptr;
}

void skip(Seconds seconds) {
  if (auto* const pass = ofSimulator<void(double)>("vekssdsimSkip")) {
    pass(static_cast<double>(seconds));
  }
}

std::string timeText(Seconds time) { return formatted(time, "%Y-%m-%dT%H:%M:%SZ"); }

std::string dateText(Seconds time) { return formatted(time, "%Y-%m-%d"); }

}  // namespace ssdlife
