#include "provider/ProviderState.h"

#include <cstdio>
#include <new>

#include "log/Log.h"
#include "provider/SsdProvider.h"

std::atomic<SsdProvider*> drvProvider{nullptr};
std::atomic<bool> drvProviderReady{false};
std::int32_t use_count = 0;

namespace {

/// Where CONSTRUCTOR makes the lock, and DESTRUCTOR destroys it.
alignas(Mutex) unsigned char drvMutexMemory[sizeof(Mutex)];

/// Before every static object of the library: the device manager's constructor already logs.
__attribute__((constructor(101))) void CONSTRUCTOR() {
  std::fputs("CONSTRUCTOR\n", stderr);
  new (drvMutexMemory) Mutex;
  use_count = 0;
}

/// Without a priority, which would move it behind the destructors of the static objects.
__attribute__((destructor)) void DESTRUCTOR() {
  std::fputs("DESTRUCTOR\n", stderr);
  drvMutex().~Mutex();
}

}  // namespace

Mutex& drvMutex() { return *std::launder(reinterpret_cast<Mutex*>(drvMutexMemory)); }

void __drv_synch() { drvMutex().lock(); }

void __drv_unsynch() { drvMutex().unlock(); }

void __incrUseCount() { ++use_count; }

void __decrUseCount() { --use_count; }

void __drv_cleanup() {
  void* const provider = drvProvider.load();
  std::fprintf(stderr, "__drv_cleanup - provider=%p, use_count=%i\n", provider, use_count);
  Log(LOG_LEVEL_DEBUG, "__drv_cleanup - provider=%p, use_count=%i", provider, use_count);
  __decrUseCount();
  std::printf("__drv_cleanup -  use_count=%d after decrement\n", use_count);
  if (use_count > 0) {
    return;
  }
  drvProviderReady = false;
  delete drvProvider.load();  // which resets drvProvider
}
