#include <cerrno>
#include <cstring>
#include <new>

#include <gtest/gtest.h>
#include <pthread.h>

#include "base/Mutex.h"

namespace {

bool refusesToInitialise = false;

/// A lock made where other data lay before, by a system that refuses to make it.
template <typename Lock>
class Uninitialised {
 public:
  Uninitialised() {
    std::memset(memory_, 0xA5, sizeof memory_);
    refusesToInitialise = true;
    lock_ = new (memory_) Lock;
    refusesToInitialise = false;
  }
  ~Uninitialised() { lock_->~Lock(); }
  Uninitialised(const Uninitialised&) = delete;
  Uninitialised& operator=(const Uninitialised&) = delete;

  Lock& operator*() { return *lock_; }

 private:
  alignas(Lock) unsigned char memory_[sizeof(Lock)];
  Lock* lock_;
};

}  // namespace

extern "C" {

int __real_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes);
int __real_pthread_rwlock_init(pthread_rwlock_t* lock, const pthread_rwlockattr_t* attributes);

int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
  return refusesToInitialise ? EAGAIN : __real_pthread_mutex_init(mutex, attributes);
}

int __wrap_pthread_rwlock_init(pthread_rwlock_t* lock, const pthread_rwlockattr_t* attributes) {
  return refusesToInitialise ? EAGAIN : __real_pthread_rwlock_init(lock, attributes);
}

}  // extern "C"

TEST(LocksThatCouldNotBeInitialised, AMutexIsUsable) {
  Uninitialised<Mutex> mutex;
  for (int i = 0; i < 2; ++i) {
    (*mutex).lock();
    (*mutex).unlock();
  }
}

TEST(LocksThatCouldNotBeInitialised, ASharedMutexIsUsable) {
  Uninitialised<SharedMutex> shared;
  for (int i = 0; i < 2; ++i) {
    (*shared).lockShared();
    (*shared).unlock();
    (*shared).lock();
    (*shared).unlock();
  }
}
