// pthread_create, pthread_join and usleep of the library under test: a thread that it starts runs
// until it sleeps for the first time before its creator goes on, and then only when the clock
// ticks.

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <ctime>
#include <limits>

#include <dlfcn.h>
#include <linux/futex.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/fault/Calls.h"
#include "tests/fault/Clock.h"

// Under a sanitizer its own version has to be asked, not the C library's.
extern "C" {
int __interceptor_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)
    __attribute__((weak));
int __interceptor_pthread_join(pthread_t, void**) __attribute__((weak));
}

namespace {

using fault::Call;
using fault::Injector;

enum class State : int { kFree, kRunning, kAsleep, kOver };

struct Thread {
  std::atomic<State> state{State::kFree};
  std::atomic<unsigned> granted{0};
  std::atomic<bool> released{false};
  std::atomic<unsigned> changes{0};  ///< of the above: what those who wait for one sleep on
  pthread_t id = 0;
  void* (*function)(void*) = nullptr;
  void* argument = nullptr;
};

std::array<Thread, 256> startedThreads;
std::atomic<unsigned> freeSleep{0};
thread_local Thread* self = nullptr;

constexpr useconds_t kNoTime = 20;

void pause(unsigned microseconds) {
  const timespec time = {microseconds / 1000000, static_cast<long>(microseconds % 1000000) * 1000};
  nanosleep(&time, nullptr);
}

long futex(std::atomic<unsigned>& word, int operation, unsigned value, const timespec* timeout) {
  return syscall(SYS_futex, &word, operation, value, timeout, nullptr, 0);
}

void announceChange(Thread& thread) {
  ++thread.changes;
  futex(thread.changes, FUTEX_WAKE_PRIVATE, std::numeric_limits<int>::max(), nullptr);
}

/// Handed on directly: on a busy machine a thread that looks again and again waits for its turn
/// each time.
template <typename Condition>
void awaitChange(Thread& thread, Condition condition) {
  constexpr timespec kLookAgain = {0, 10000000};  // the clock may have been set free
  for (;;) {
    const unsigned seen = thread.changes;
    if (condition()) {
      return;
    }
    futex(thread.changes, FUTEX_WAIT_PRIVATE, seen, &kLookAgain);
  }
}

void awaitRest(Thread& thread) {
  awaitChange(thread, [&] { return freeSleep != 0 || thread.state != State::kRunning; });
}

void* run(void* argument) {
  self = static_cast<Thread*>(argument);
  void* result = self->function(self->argument);
  self->state = State::kOver;
  announceChange(*self);
  return result;
}

Thread* vacantThread() {
  for (Thread& thread : startedThreads) {
    State vacant = State::kFree;
    if (thread.state.compare_exchange_strong(vacant, State::kRunning)) {
      return &thread;
    }
  }
  return nullptr;
}

using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
using Join = int (*)(pthread_t, void**);

Create systemCreate() {
  static const Create create = __interceptor_pthread_create != nullptr
                                   ? __interceptor_pthread_create
                                   : reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
  return create;
}

Join systemJoin() {
  static const Join join = __interceptor_pthread_join != nullptr
                               ? __interceptor_pthread_join
                               : reinterpret_cast<Join>(dlsym(RTLD_NEXT, "pthread_join"));
  return join;
}

int libraryCreate(pthread_t* id, const pthread_attr_t* attributes, void* (*function)(void*),
                  void* argument) {
  if (const auto failure = Injector::instance().meet(Call::kThreadCreate, "polling thread")) {
    return failure->number;
  }
  Thread* thread = vacantThread();
  if (thread == nullptr) {
    return EAGAIN;
  }
  thread->granted = 0;
  thread->released = false;
  thread->function = function;
  thread->argument = argument;
  const int result = systemCreate()(&thread->id, attributes, run, thread);
  if (result != 0) {
    thread->state = State::kFree;
    return result;
  }
  *id = thread->id;
  awaitRest(*thread);
  return 0;
}

int librarySleep(useconds_t microseconds) {
  const auto failure = Injector::instance().meet(Call::kUsleep, "");
  if (self == nullptr) {
    // While the clock stands still, what it waits for has happened or never will.
    pause(freeSleep != 0 ? freeSleep.load() : std::min(microseconds, kNoTime));
  } else {
    self->state = State::kAsleep;
    announceChange(*self);
    awaitChange(*self, [] { return self->released || freeSleep != 0 || self->granted != 0; });
    self->state = State::kRunning;  // before the grant is used up: the clock waits for that
    if (freeSleep != 0) {
      pause(freeSleep);
    } else if (!self->released) {
      --self->granted;
      announceChange(*self);
    }
  }
  if (failure) {
    errno = failure->number;
    return -1;
  }
  return 0;
}

}  // namespace

namespace fault {

void Clock::tick() {
  for (Thread& thread : startedThreads) {
    if (thread.state == State::kAsleep) {
      ++thread.granted;
      announceChange(thread);
      awaitChange(thread, [&] { return thread.granted == 0; });
      awaitRest(thread);
    }
  }
}

void Clock::runFreely(unsigned microsecondsPerSleep) { freeSleep = microsecondsPerSleep; }

int Clock::threads() {
  int count = 0;
  for (const Thread& thread : startedThreads) {
    count += thread.state == State::kRunning || thread.state == State::kAsleep ? 1 : 0;
  }
  return count;
}

}  // namespace fault

extern "C" {

FAULT_VISIBLE int pthread_create(pthread_t* id, const pthread_attr_t* attributes,
                                 void* (*function)(void*), void* argument) {
  return FAULT_CALLED_BY_LIBRARY() ? libraryCreate(id, attributes, function, argument)
                                   : systemCreate()(id, attributes, function, argument);
}

FAULT_VISIBLE int pthread_join(pthread_t id, void** result) {
  if (!FAULT_CALLED_BY_LIBRARY()) {
    return systemJoin()(id, result);
  }
  const auto failure = Injector::instance().meet(Call::kThreadJoin, "polling thread");
  Thread* joined = nullptr;
  for (Thread& thread : startedThreads) {
    if (thread.state != State::kFree && thread.id == id) {
      joined = &thread;
      thread.released = true;
      announceChange(thread);
    }
  }
  const int rc = systemJoin()(id, result);
  if (joined != nullptr) {
    joined->state = State::kFree;
  }
  // Refused for a thread that is gone; this one is by now.
  return failure ? failure->number : rc;
}

FAULT_VISIBLE int usleep(useconds_t microseconds) {
  if (FAULT_CALLED_BY_LIBRARY()) {
    return librarySleep(microseconds);
  }
  pause(microseconds);
  return 0;
}

}  // extern "C"
