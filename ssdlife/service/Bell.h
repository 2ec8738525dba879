#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace ssdlife {

// Ends the pause of one thread early. Any thread may ring.
class Bell {
 public:
  void ring() {
    {
      const std::lock_guard lock(mutex_);
      rung_ = true;
    }
    changed_.notify_one();
  }

  // Until it rings, or rang since the last wait, or the time is over.
  void wait(std::chrono::milliseconds longest) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, longest, [this] { return rung_; });
    rung_ = false;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool rung_ = false;
};

}  // namespace ssdlife
