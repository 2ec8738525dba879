#pragma once

#include <pthread.h>

#include "base/ThreadAnnotations.h"

/// A POSIX mutex with default attributes, known to Clang's thread-safety analysis.
class VEKSSD_CAPABILITY("mutex") Mutex {
 public:
  Mutex() { pthread_mutex_init(&mutex_, nullptr); }
  ~Mutex() { pthread_mutex_destroy(&mutex_); }
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  /// Whether it is held now: false where the system refused it.
  [[nodiscard]] bool lock() VEKSSD_ACQUIRE() { return pthread_mutex_lock(&mutex_) == 0; }
  void unlock() VEKSSD_RELEASE() { pthread_mutex_unlock(&mutex_); }

 private:
  /// Usable even if pthread_mutex_init fails.
  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
};

/// Holds a Mutex for the life of a scope. One that was refused is not given back: by then it may be
/// another thread's. The same holds for the other guards.
class VEKSSD_SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) VEKSSD_ACQUIRE(mutex) : mutex_(mutex), held_(mutex.lock()) {}
  ~MutexLock() VEKSSD_RELEASE() {
    if (held_) {
      mutex_.unlock();
    }
  }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  Mutex& mutex_;
  const bool held_;
};

/// A POSIX readers-writer lock: many readers or one writer.
class VEKSSD_CAPABILITY("shared mutex") SharedMutex {
 public:
  SharedMutex() { pthread_rwlock_init(&lock_, nullptr); }
  ~SharedMutex() { pthread_rwlock_destroy(&lock_); }
  SharedMutex(const SharedMutex&) = delete;
  SharedMutex& operator=(const SharedMutex&) = delete;

  [[nodiscard]] bool lock() VEKSSD_ACQUIRE() { return pthread_rwlock_wrlock(&lock_) == 0; }
  [[nodiscard]] bool lockShared() VEKSSD_ACQUIRE_SHARED() {
    return pthread_rwlock_rdlock(&lock_) == 0;
  }
  void unlock() VEKSSD_RELEASE_GENERIC() { pthread_rwlock_unlock(&lock_); }

 private:
  /// Usable even if pthread_rwlock_init fails.
  pthread_rwlock_t lock_ = PTHREAD_RWLOCK_INITIALIZER;
};

/// Holds a SharedMutex as one of its readers for the life of a scope.
class VEKSSD_SCOPED_CAPABILITY ReaderLock {
 public:
  explicit ReaderLock(SharedMutex& mutex) VEKSSD_ACQUIRE_SHARED(mutex)
      : mutex_(mutex), held_(mutex.lockShared()) {}
  ~ReaderLock() VEKSSD_RELEASE_GENERIC() {
    if (held_) {
      mutex_.unlock();
    }
  }
  ReaderLock(const ReaderLock&) = delete;
  ReaderLock& operator=(const ReaderLock&) = delete;

 private:
  SharedMutex& mutex_;
  const bool held_;
};

/// Holds a SharedMutex as its one writer for the life of a scope.
class VEKSSD_SCOPED_CAPABILITY WriterLock {
 public:
  explicit WriterLock(SharedMutex& mutex) VEKSSD_ACQUIRE(mutex)
      : mutex_(mutex), held_(mutex.lock()) {}
  ~WriterLock() VEKSSD_RELEASE() {
    if (held_) {
      mutex_.unlock();
    }
  }
  WriterLock(const WriterLock&) = delete;
  WriterLock& operator=(const WriterLock&) = delete;

 private:
  SharedMutex& mutex_;
  const bool held_;
};
