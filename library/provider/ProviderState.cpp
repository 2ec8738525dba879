#include "provider/ProviderState.h"

#include <cstdio>

#include <pthread.h>

#include "log/Log.h"
#include "provider/SsdProvider.h"

std::atomic<SsdProvider*> drvProvider{nullptr};
std::atomic<bool> drvProviderReady{false};
std::int32_t use_count = 0;

namespace {

pthread_mutex_t drvMutex;

/// Before every static object of the library: the device manager's constructor already logs.
__attribute__((constructor(101))) void CONSTRUCTOR() {
  std::fputs("CONSTRUCTOR\n", stderr);
  pthread_mutex_init(&drvMutex, nullptr);
  use_count = 0;
}

/// Without a priority, which would move it behind the destructors of the static objects.
__attribute__((destructor)) void DESTRUCTOR() {
  std::fputs("DESTRUCTOR\n", stderr);
  pthread_mutex_destroy(&drvMutex);
}

}  // namespace

bool lockProvider() { return pthread_mutex_lock(&drvMutex) == 0; }

void __drv_synch() { (void)lockProvider(); }

void __drv_unsynch() { pthread_mutex_unlock(&drvMutex); }

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
