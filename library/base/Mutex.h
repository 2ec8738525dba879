#pragma once

#include <pthread.h>

#include "base/Require.h"
#include "base/ThreadAnnotations.h"

// POSIX locks with default attributes, known to Clang's thread-safety analysis. Such a lock is only
// refused to a caller that misuses it: that ends the process, as going on without the lock would
// harm more than one request.

/// One thread at a time.
class VEKSSD_CAPABILITY("mutex") Mutex {
 public:
  Mutex() { pthread_mutex_init(&mutex_, nullptr); }
  ~Mutex() { pthread_mutex_destroy(&mutex_); }
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock() VEKSSD_ACQUIRE() { require(pthread_mutex_lock(&mutex_) == 0, "pthread_mutex_lock"); }
  /// Whether it is held now; false if another thread holds it.
  [[nodiscard]] bool tryLock() VEKSSD_TRY_ACQUIRE(true) {
    return pthread_mutex_trylock(&mutex_) == 0;
  }
  void unlock() VEKSSD_RELEASE() { pthread_mutex_unlock(&mutex_); }

 private:
  /// Usable even if pthread_mutex_init fails.
  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
};

/// Many readers or one writer.
class VEKSSD_CAPABILITY("shared mutex") SharedMutex {
 public:
  SharedMutex() { pthread_rwlock_init(&lock_, nullptr); }
  ~SharedMutex() { pthread_rwlock_destroy(&lock_); }
  SharedMutex(const SharedMutex&) = delete;
  SharedMutex& operator=(const SharedMutex&) = delete;

  void lock() VEKSSD_ACQUIRE() {
    require(pthread_rwlock_wrlock(&lock_) == 0, "pthread_rwlock_wrlock");
  }
  void lockShared() VEKSSD_ACQUIRE_SHARED() {
    require(pthread_rwlock_rdlock(&lock_) == 0, "pthread_rwlock_rdlock");
  }
  void unlock() VEKSSD_RELEASE_GENERIC() { pthread_rwlock_unlock(&lock_); }

 private:
  /// Usable even if pthread_rwlock_init fails.
  pthread_rwlock_t lock_ = PTHREAD_RWLOCK_INITIALIZER;
};

/// Holds a lock alone for the life of a scope.
template <typename Lock>
class VEKSSD_SCOPED_CAPABILITY LockGuard {
 public:
  explicit LockGuard(Lock& lock) VEKSSD_ACQUIRE(lock) : lock_(lock) { lock_.lock(); }
  ~LockGuard() VEKSSD_RELEASE() { lock_.unlock(); }
  LockGuard(const LockGuard&) = delete;
  LockGuard& operator=(const LockGuard&) = delete;

 private:
  Lock& lock_;
};

using MutexLock = LockGuard<Mutex>;
using WriterLock = LockGuard<SharedMutex>;

/// Holds a SharedMutex as one of its readers. A guard of its own for the annotations' sake: the
/// analysis is to refuse a reader that writes.
class VEKSSD_SCOPED_CAPABILITY ReaderLock {
 public:
  explicit ReaderLock(SharedMutex& lock) VEKSSD_ACQUIRE_SHARED(lock) : lock_(lock) {
    lock_.lockShared();
  }
  ~ReaderLock() VEKSSD_RELEASE_GENERIC() { lock_.unlock(); }
  ReaderLock(const ReaderLock&) = delete;
  ReaderLock& operator=(const ReaderLock&) = delete;

 private:
  SharedMutex& lock_;
};
