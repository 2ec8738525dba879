#include "tests/support/FakeThreads.h"

#include <cerrno>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

#include <gtest/gtest.h>

#include "tests/support/RealCalls.h"

namespace testkit {

namespace {

thread_local bool isLibraryThread = false;
thread_local int lockRefusal = 0;

// Plain atomics: a mutex in the way of every mutex would wait for itself.
std::atomic<std::uintptr_t> watchedBegin{0};
std::atomic<std::uintptr_t> watchedEnd{0};
std::atomic<std::size_t> contentions{0};

bool isWatched(const void* lock) {
  const auto address = reinterpret_cast<std::uintptr_t>(lock);
  return address >= watchedBegin && address < watchedEnd;
}

}  // namespace

struct FakeThreads::Start {
  FakeThreads* threads;
  void* (*function)(void*);
  void* argument;
};

FakeThreads& FakeThreads::instance() {
  // Made without the allocator: the leak checker yields the processor too, at exit, with that
  // locked.
  alignas(FakeThreads) static unsigned char place[sizeof(FakeThreads)];
  static auto* threads = new (place) FakeThreads;
  return *threads;
}

void FakeThreads::refuseNext(int rc) {
  const std::lock_guard lock(mutex_);
  refusal_ = rc;
}

void FakeThreads::holdStarts() {
  const std::lock_guard lock(mutex_);
  holdsStarts_ = true;
}

void FakeThreads::releaseStarts() {
  const std::lock_guard lock(mutex_);
  holdsStarts_ = false;
  changed_.notify_all();
}

void FakeThreads::waitUntilAllSleep() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return sleeping_ == alive_; });
}

void FakeThreads::wake() {
  const std::lock_guard lock(mutex_);
  ++generation_;
  sleeping_ = 0;
  changed_.notify_all();
}

void FakeThreads::tick(int times) {
  for (int i = 0; i < times; ++i) {
    waitUntilAllSleep();
    wake();
    waitUntilAllSleep();
  }
}

void FakeThreads::waitUntilJoining() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return !joining_.empty(); });
}

std::vector<pthread_t> FakeThreads::created() const {
  const std::lock_guard lock(mutex_);
  return created_;
}

std::size_t FakeThreads::alive() const {
  const std::lock_guard lock(mutex_);
  return alive_;
}

std::size_t FakeThreads::yields() const {
  const std::lock_guard lock(mutex_);
  return yields_;
}

void FakeThreads::watchMutexes(const void* object, std::size_t size) {
  watchedBegin = reinterpret_cast<std::uintptr_t>(object);
  watchedEnd = watchedBegin + size;
}

std::size_t FakeThreads::contended() { return contentions; }

void FakeThreads::refuseNextLock(int error) { lockRefusal = error; }

void* FakeThreads::run(void* memory) {
  const std::unique_ptr<Start> start(static_cast<Start*>(memory));
  FakeThreads& self = *start->threads;
  isLibraryThread = true;
  {
    std::unique_lock lock(self.mutex_);
    self.changed_.wait(
        lock, [&self] { return !self.holdsStarts_ || self.joining_.count(pthread_self()) != 0; });
  }
  void* result = start->function(start->argument);
  const std::lock_guard lock(self.mutex_);
  --self.alive_;
  self.changed_.notify_all();
  return result;
}

int FakeThreads::create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                        void* argument) {
  EXPECT_EQ(attributes, nullptr) << "threads have default attributes";
  std::unique_lock lock(mutex_);
  if (refusal_ != 0) {
    const int rc = refusal_;
    refusal_ = 0;
    return rc;
  }
  ++alive_;
  lock.unlock();
  const int rc = __real_pthread_create(thread, attributes, run, new Start{this, start, argument});
  lock.lock();
  created_.push_back(*thread);
  return rc;
}

int FakeThreads::join(pthread_t thread, void** result) {
  {
    const std::lock_guard lock(mutex_);
    joining_.insert(thread);
    changed_.notify_all();
  }
  const int rc = __real_pthread_join(thread, result);
  const std::lock_guard lock(mutex_);
  joining_.erase(thread);
  return rc;
}

void FakeThreads::atNextYield(std::function<void()> action) {
  const std::lock_guard lock(mutex_);
  atNextYield_ = std::move(action);
}

int FakeThreads::yield() {
  std::function<void()> action;
  {
    const std::lock_guard lock(mutex_);
    ++yields_;
    action.swap(atNextYield_);
  }
  if (action) {
    action();
  }
  return 0;
}

int FakeThreads::sleep(useconds_t microseconds) {
  if (!isLibraryThread) {
    return __real_usleep(microseconds);
  }
  EXPECT_EQ(microseconds, 1000000U);
  std::unique_lock lock(mutex_);
  const std::size_t began = generation_;
  ++sleeping_;
  changed_.notify_all();
  changed_.wait(
      lock, [this, began] { return generation_ != began || joining_.count(pthread_self()) != 0; });
  if (generation_ == began) {
    --sleeping_;
  }
  return 0;
}

int FakeThreads::lock(pthread_mutex_t* mutex) {
  if (lockRefusal != 0) {
    return std::exchange(lockRefusal, 0);
  }
  if (isWatched(mutex)) {
    if (pthread_mutex_trylock(mutex) == 0) {
      return 0;
    }
    ++contentions;
  }
  return __real_pthread_mutex_lock(mutex);
}

int FakeThreads::lock(pthread_rwlock_t* lock) {
  if (isWatched(lock)) {
    if (pthread_rwlock_trywrlock(lock) == 0) {
      return 0;
    }
    ++contentions;
  }
  return __real_pthread_rwlock_wrlock(lock);
}

}  // namespace testkit
