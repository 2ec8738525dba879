// pthread_mutex_* and pthread_rwlock_* of the library under test.

#include <atomic>

#include <dlfcn.h>
#include <pthread.h>

#include "tests/fault/Calls.h"

namespace {

template <typename... Arguments>
using LockCall = int (*)(Arguments...);

/// The C library's own function; looked up when first needed, which is long before main.
template <typename... Arguments>
int system(const char* name, std::atomic<LockCall<Arguments...>>& known, Arguments... arguments) {
  LockCall<Arguments...> function = known;
  if (function == nullptr) {
    function = reinterpret_cast<LockCall<Arguments...>>(dlsym(RTLD_NEXT, name));
    known = function;
  }
  return function(arguments...);
}

std::atomic<LockCall<pthread_mutex_t*, const pthread_mutexattr_t*>> systemInit{nullptr};
std::atomic<LockCall<pthread_mutex_t*>> systemLock{nullptr};
std::atomic<LockCall<pthread_mutex_t*>> systemUnlock{nullptr};
std::atomic<LockCall<pthread_mutex_t*>> systemDestroy{nullptr};
std::atomic<LockCall<pthread_rwlock_t*, const pthread_rwlockattr_t*>> systemRwInit{nullptr};
std::atomic<LockCall<pthread_rwlock_t*>> systemReadLock{nullptr};
std::atomic<LockCall<pthread_rwlock_t*>> systemWriteLock{nullptr};
std::atomic<LockCall<pthread_rwlock_t*>> systemRwUnlock{nullptr};
std::atomic<LockCall<pthread_rwlock_t*>> systemRwDestroy{nullptr};

/// The error to answer instead of doing the work, or 0.
int failureOf(fault::Call call) {
  const auto failure = fault::Injector::instance().meet(call, "");
  return failure ? failure->number : 0;
}

template <typename Lock>
int locked(fault::Call call, Lock* lock, const char* name, std::atomic<LockCall<Lock*>>& known) {
  const int error = failureOf(call);
  return error != 0 ? error : system(name, known, lock);
}

/// The lock is given back, or gone, whatever it answers.
template <typename Lock>
int ended(fault::Call call, Lock* lock, const char* name, std::atomic<LockCall<Lock*>>& known) {
  const int result = system(name, known, lock);
  const int error = failureOf(call);
  return error != 0 ? error : result;
}

}  // namespace

extern "C" {

FAULT_VISIBLE int pthread_mutex_init(pthread_mutex_t* lock, const pthread_mutexattr_t* attributes) {
  if (FAULT_CALLED_BY_LIBRARY()) {
    if (const int error = failureOf(fault::Call::kMutexInit)) {
      return error;
    }
  }
  return system("pthread_mutex_init", systemInit, lock, attributes);
}

FAULT_VISIBLE int pthread_mutex_lock(pthread_mutex_t* lock) {
  return FAULT_CALLED_BY_LIBRARY()
             ? locked(fault::Call::kMutexLock, lock, "pthread_mutex_lock", systemLock)
             : system("pthread_mutex_lock", systemLock, lock);
}

FAULT_VISIBLE int pthread_mutex_unlock(pthread_mutex_t* lock) {
  return FAULT_CALLED_BY_LIBRARY()
             ? ended(fault::Call::kMutexUnlock, lock, "pthread_mutex_unlock", systemUnlock)
             : system("pthread_mutex_unlock", systemUnlock, lock);
}

FAULT_VISIBLE int pthread_mutex_destroy(pthread_mutex_t* lock) {
  return FAULT_CALLED_BY_LIBRARY()
             ? ended(fault::Call::kMutexDestroy, lock, "pthread_mutex_destroy", systemDestroy)
             : system("pthread_mutex_destroy", systemDestroy, lock);
}

FAULT_VISIBLE int pthread_rwlock_init(pthread_rwlock_t* lock,
                                      const pthread_rwlockattr_t* attributes) {
  if (FAULT_CALLED_BY_LIBRARY()) {
    if (const int error = failureOf(fault::Call::kReadWriteInit)) {
      return error;
    }
  }
  return system("pthread_rwlock_init", systemRwInit, lock, attributes);
}

FAULT_VISIBLE int pthread_rwlock_rdlock(pthread_rwlock_t* lock) {
  return FAULT_CALLED_BY_LIBRARY()
             ? locked(fault::Call::kReadLock, lock, "pthread_rwlock_rdlock", systemReadLock)
             : system("pthread_rwlock_rdlock", systemReadLock, lock);
}

FAULT_VISIBLE int pthread_rwlock_wrlock(pthread_rwlock_t* lock) {
  return FAULT_CALLED_BY_LIBRARY()
             ? locked(fault::Call::kWriteLock, lock, "pthread_rwlock_wrlock", systemWriteLock)
             : system("pthread_rwlock_wrlock", systemWriteLock, lock);
}

FAULT_VISIBLE int pthread_rwlock_unlock(pthread_rwlock_t* lock) {
  return FAULT_CALLED_BY_LIBRARY()
             ? ended(fault::Call::kReadWriteUnlock, lock, "pthread_rwlock_unlock", systemRwUnlock)
             : system("pthread_rwlock_unlock", systemRwUnlock, lock);
}

FAULT_VISIBLE int pthread_rwlock_destroy(pthread_rwlock_t* lock) {
  return FAULT_CALLED_BY_LIBRARY() ? ended(fault::Call::kReadWriteDestroy, lock,
                                           "pthread_rwlock_destroy", systemRwDestroy)
                                   : system("pthread_rwlock_destroy", systemRwDestroy, lock);
}

}  // extern "C"
