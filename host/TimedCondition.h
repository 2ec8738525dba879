#pragma once

#include <pthread.h>

#include <chrono>
#include <ctime>
#include <mutex>

namespace cmpihost {

/// A condition variable that waits by the steady clock. That of the C++ library asks for
/// pthread_cond_clockwait, which C libraries before glibc 2.30 don't have. Any thread may call it.
class TimedCondition {
 public:
  TimedCondition() {
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&condition_, &attributes);
    pthread_condattr_destroy(&attributes);
  }
  ~TimedCondition() { pthread_cond_destroy(&condition_); }
  TimedCondition(const TimedCondition&) = delete;
  TimedCondition& operator=(const TimedCondition&) = delete;

  void notify_one() { pthread_cond_signal(&condition_); }
  void notify_all() { pthread_cond_broadcast(&condition_); }

  /// Waits until `holds()`, a day at most; answers whether it holds.
  template <typename Predicate>
  [[nodiscard]] bool wait_for(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds timeout,
                              const Predicate& holds) {
    constexpr std::chrono::milliseconds longest = std::chrono::hours(24);
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    const auto nanoseconds =
        std::chrono::nanoseconds(timeout < longest ? timeout : longest).count() + end.tv_nsec;
    end.tv_sec += nanoseconds / 1'000'000'000;
    end.tv_nsec = nanoseconds % 1'000'000'000;
    bool inTime = timeout.count() > 0;
    while (!holds()) {
      if (!inTime) {
        return false;
      }
      inTime = pthread_cond_timedwait(&condition_, lock.mutex()->native_handle(), &end) == 0;
    }
    return true;
  }

 private:
  pthread_cond_t condition_;
};

}  // namespace cmpihost
