// pthread_mutex_* of the library under test.

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

/// The error to answer instead of doing the work, or 0.
int failureOf(fault::Call call) {
  const auto failure = fault::Injector::instance().meet(call, "");
  return failure ? failure->number : 0;
}

}  // namespace

extern "C" {

FAULT_VISIBLE int pthread_mutex_init(pthread_mutex_t* mutex,
                                     const pthread_mutexattr_t* attributes) {
  if (FAULT_CALLED_BY_LIBRARY()) {
    if (const int error = failureOf(fault::Call::kMutexInit)) {
      return error;
    }
  }
  return system("pthread_mutex_init", systemInit, mutex, attributes);
}

FAULT_VISIBLE int pthread_mutex_lock(pthread_mutex_t* mutex) {
  if (FAULT_CALLED_BY_LIBRARY()) {
    if (const int error = failureOf(fault::Call::kMutexLock)) {
      return error;
    }
  }
  return system("pthread_mutex_lock", systemLock, mutex);
}

FAULT_VISIBLE int pthread_mutex_unlock(pthread_mutex_t* mutex) {
  const int result = system("pthread_mutex_unlock", systemUnlock, mutex);
  if (FAULT_CALLED_BY_LIBRARY()) {
    // Refused for a lock that isn't held; this one was, so it is given back all the same.
    if (const int error = failureOf(fault::Call::kMutexUnlock)) {
      return error;
    }
  }
  return result;
}

FAULT_VISIBLE int pthread_mutex_destroy(pthread_mutex_t* mutex) {
  const int result = system("pthread_mutex_destroy", systemDestroy, mutex);
  if (FAULT_CALLED_BY_LIBRARY()) {
    if (const int error = failureOf(fault::Call::kMutexDestroy)) {
      return error;
    }
  }
  return result;
}

}  // extern "C"
