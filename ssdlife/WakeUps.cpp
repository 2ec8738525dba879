#include "ssdlife/WakeUps.h"

#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <system_error>

namespace ssdlife {
namespace {

sigset_t endingSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  return signals;
}

int required(int descriptor) {
  if (descriptor < 0) {
    throw std::system_error(errno, std::generic_category(), "can't wait for events");
  }
  return descriptor;
}

// Milliseconds for poll, rounded up so that it does not wake before its time.
int timeoutOf(std::optional<WakeUps::Clock::time_point> deadline) {
  if (!deadline) {
    return -1;
  }
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(*deadline - WakeUps::Clock::now()).count();
  return left <= 0 ? 0 : static_cast<int>(std::min<decltype(left)>(left, INT_MAX));
}

}  // namespace

WakeUps::WakeUps() {
  const sigset_t signals = endingSignals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  signals_ = required(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
  events_ = required(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
}

// The signals stay blocked: one that arrives during the farewell must not cut it short.
WakeUps::~WakeUps() {
  close(signals_);
  close(events_);
}

void WakeUps::notify() const { eventfd_write(events_, 1); }

WakeUps::Cause WakeUps::wait(std::optional<Clock::time_point> deadline) const {
  while (true) {
    std::array<pollfd, 2> sources = {pollfd{events_, POLLIN, 0}, pollfd{signals_, POLLIN, 0}};
    const int ready = poll(sources.data(), sources.size(), timeoutOf(deadline));
    if (ready == 0 && deadline && Clock::now() >= *deadline) {
      return Cause::kTime;
    }
    // What has happened comes before the wish to end.
    std::uint64_t count = 0;
    if (ready > 0 && sources[0].revents != 0 && eventfd_read(events_, &count) == 0) {
      return Cause::kEvent;
    }
    if (ready > 0 && sources[1].revents != 0) {
      return Cause::kSignal;
    }
  }
}

}  // namespace ssdlife
