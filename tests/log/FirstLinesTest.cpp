// What the lines share is made with the first of them, and two threads may come to that together.

#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include "log/Log.h"
#include "tests/support/LogCapture.h"

using namespace testkit;

namespace {

/// Done once, on the thread that makes a mutex next.
std::function<void()> atNextMutex;

/// Whether the thread of this process waits for something.
bool isWaiting(pid_t thread) {
  std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
  std::string status;
  std::getline(file, status);
  return status.find(") S ") != std::string::npos;
}

}  // namespace

extern "C" {

int __real_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes);

int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
  std::function<void()> action;
  action.swap(atNextMutex);
  if (action) {
    action();
  }
  return __real_pthread_mutex_init(mutex, attributes);
}
}

TEST(FirstLines, OfThreadsThatBeginTogetherAreWhole) {
  LogQuick(static_cast<LOG_LEVEL>(5), "only makes the handler");
  std::thread other;
  atNextMutex = [&other] {
    std::atomic<pid_t> id{0};
    other = std::thread([&id] {
      id = gettid();
      LogQuick(LOG_LEVEL_INFO, "m");
    });
    while (id == 0 || !isWaiting(id)) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  };
  LogQuick(LOG_LEVEL_INFO, "m");
  ASSERT_TRUE(other.joinable());
  other.join();
  EXPECT_EQ(takeLog(), Lines(2, "Info: m"));
}
