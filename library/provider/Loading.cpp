// What happens to the library as a whole, in this order.
//
// When it is loaded: CONSTRUCTOR, then the static objects, of which the device manager's
// constructor already logs.
//
// At dlclose: DESTRUCTOR; the static objects, and with the device manager the polling threads;
// awaitThreads, when nothing is left that could start another one.
//
// At the process's end: the static objects; whatever the host gave to atexit before it loaded the
// library; DESTRUCTOR; awaitThreads. Other threads of the host may still make requests meanwhile.
//
// In a child that the host forks: forgetThreads. They are the parent's, be they the library's own
// or on a request.

#include <cstdio>
#include <new>

#include <pthread.h>

#include "core/SsdApi.h"
#include "provider/IndicationThread.h"
#include "provider/ProviderState.h"

namespace {

/// Where CONSTRUCTOR makes the lock, and DESTRUCTOR destroys it.
alignas(Mutex) unsigned char drvMutexMemory[sizeof(Mutex)];

void forgetThreads() {
  SsdApi::forgetThreads();
  forgetIndicationThreads();
}

__attribute__((constructor(101))) void CONSTRUCTOR() {
  std::fputs("CONSTRUCTOR\n", stderr);
  new (drvMutexMemory) Mutex;
  use_count = 0;
  // The C library forgets it again at dlclose.
  (void)pthread_atfork(nullptr, nullptr, forgetThreads);
}

/// Without a priority, which would move it behind the destructors of the static objects.
__attribute__((destructor)) void DESTRUCTOR() {
  std::fputs("DESTRUCTOR\n", stderr);
  // A request may hold it at the process's end, and one that comes too late still has to find one.
  if (drvMutex().tryLock()) {
    drvMutex().unlock();
    drvMutex().~Mutex();
    new (drvMutexMemory) Mutex;
  }
}

__attribute__((destructor(101))) void awaitThreads() { awaitIndicationThreads(); }

}  // namespace

Mutex& drvMutex() { return *std::launder(reinterpret_cast<Mutex*>(drvMutexMemory)); }
