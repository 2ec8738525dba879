#pragma once

#include <chrono>
#include <optional>

namespace ssdlife {

// What a command that waits waits for: events from other threads, a signal that ends it, or the end
// of its time. While it lives SIGINT and SIGTERM are not delivered in any other way; create it
// before the threads that must not get them.
class WakeUps {
 public:
  using Clock = std::chrono::steady_clock;
  enum class Cause { kEvent, kSignal, kTime };

  WakeUps();
  ~WakeUps();
  WakeUps(const WakeUps&) = delete;
  WakeUps& operator=(const WakeUps&) = delete;

  // Any thread: something has happened.
  void notify() const;

  // Waits for the next of the three; for ever in time without a deadline.
  Cause wait(std::optional<Clock::time_point> deadline) const;

 private:
  int signals_;
  int events_;
};

}  // namespace ssdlife
