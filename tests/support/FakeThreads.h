#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <set>
#include <vector>

#include <pthread.h>
#include <sys/types.h>

namespace testkit {

/// The library's threads, and time for them: a thread that sleeps wakes when the test says so, or
/// when it is being joined. Threads of the test itself (std::thread) are left alone.
class FakeThreads {
 public:
  /// The one of this process; never destroyed.
  static FakeThreads& instance();

  /// Lets the next pthread_create fail with `rc`.
  void refuseNext(int rc);
  /// Threads created from now on begin only when they are let go, or joined.
  void holdStarts();
  void releaseStarts();

  /// Waits until every thread sleeps.
  void waitUntilAllSleep();
  /// Lets every sleeping thread run until it sleeps again, `times` times.
  void tick(int times = 1);
  /// Lets every sleeping thread run, and comes back at once.
  void wake();

  /// All threads created so far.
  [[nodiscard]] std::vector<pthread_t> created() const;
  /// How many threads are running or sleeping now.
  [[nodiscard]] std::size_t alive() const;
  /// How often the processor was yielded.
  [[nodiscard]] std::size_t yields() const;
  /// Runs `action` on the thread that yields the processor next, while it does.
  void atNextYield(std::function<void()> action);

  /// Waits until some thread is being joined.
  void waitUntilJoining();

  /// Counts from now on how often a thread has to wait for a mutex, or to write-lock a
  /// readers-writer lock, in this object.
  static void watchMutexes(const void* object, std::size_t size);
  [[nodiscard]] static std::size_t contended();
  /// Lets the next locking of a mutex by this thread fail with `error`.
  static void refuseNextLock(int error);

  FakeThreads(const FakeThreads&) = delete;
  FakeThreads& operator=(const FakeThreads&) = delete;

  // Called by the seam.
  int create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
             void* argument);
  int join(pthread_t thread, void** result);
  int yield();
  int sleep(useconds_t microseconds);
  static int lock(pthread_mutex_t* mutex);
  static int lock(pthread_rwlock_t* lock);

 private:
  struct Start;

  FakeThreads() = default;
  static void* run(void* start);

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  int refusal_ = 0;
  bool holdsStarts_ = false;
  std::size_t alive_ = 0;
  std::size_t sleeping_ = 0;
  std::size_t generation_ = 0;
  std::size_t yields_ = 0;
  std::function<void()> atNextYield_;
  std::vector<pthread_t> created_;
  std::set<pthread_t> joining_;
};

}  // namespace testkit
