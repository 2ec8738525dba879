#include "provider/ProviderState.h"

#include <cstdio>

#include "log/Log.h"
#include "provider/FunctionTables.h"
#include "provider/SsdProvider.h"

std::atomic<SsdProvider*> drvProvider{nullptr};
std::atomic<bool> drvProviderReady{false};
std::int32_t use_count = 0;

void __drv_synch() { drvMutex().lock(); }

void __drv_unsynch() { drvMutex().unlock(); }

void __incrUseCount() { ++use_count; }

void __decrUseCount() { --use_count; }

void __drv_cleanup() {
  void* const provider = drvProvider.load();
  std::fprintf(stderr, "__drv_cleanup - provider=%p, use_count=%i\n", provider, use_count);
  Log(LOG_LEVEL_DEBUG, "__drv_cleanup - provider=%p, use_count=%i", provider, use_count);
  __decrUseCount();
  // Two blanks. kept: docs/compatibility.md
  std::printf("__drv_cleanup -  use_count=%d after decrement\n", use_count);
  if (use_count > 0) {
    return;
  }
  drvProviderReady = false;
  delete drvProvider.load();  // which resets drvProvider
  instanceMI.hdl = nullptr;
  indicationMI.hdl = nullptr;
}
