#include "provider/SsdProvider.h"

#include "base/NoCancellation.h"
#include "log/Log.h"
#include "provider/ProviderState.h"

SsdProvider::SsdProvider() {
  static_cast<void>(reserved);  // read by nothing, and GCC 10 takes no [[maybe_unused]] on a member
  Log(LOG_LEVEL_DEBUG, "SsdProvider::constructor");
}

SsdProvider::~SsdProvider() {
  const NoCancellation whileGoing;
  // The core may still know the provider: the indication MI need not have been cleaned up last.
  SsdApi::withdrawSsdListener(this);

  // "0x%p". kept: docs/compatibility.md
  Log(LOG_LEVEL_DEBUG, "SsdProvider::destructor - service=0x%p", static_cast<void*>(service.get()));
  if (service != nullptr) {
    Log(LOG_LEVEL_DEBUG, "deleting service object");
    service.reset();
  }
  std::shared_ptr<CMPIContext> context;
  {
    const MutexLock lock(cacheMutex);
    context.swap(indCtx);
  }
  if (context != nullptr) {
    Log(LOG_LEVEL_DEBUG, "deleting indication context object");
    context.reset();
  }
  drvProvider = nullptr;
  Log(LOG_LEVEL_INFO, "SsdProvider - provider destroyed");
}

void SsdProvider::initialise(const CMPIContext* /*context*/) {
  Log(LOG_LEVEL_DEBUG, "SsdProvider::initialise");
  service = std::make_unique<SsdApi>();
  SSD_CODE code = service->initialiseSsdDriver();
  if (code != SSD_SUCCESS) {
    Log(LOG_LEVEL_ERROR, "SsdProvider::initialize - Initialise SSD Driver failed - sscode=0x%08x",
        code);
    return;
  }
  code = initSsdProvider();
  if (code != SSD_SUCCESS) {
    Log(LOG_LEVEL_ERROR,
        "SsdProvider::initialize - initSsdProvider failed to initialize - sscode=0x%08x", code);
    return;
  }
  initialised = true;
  Log(LOG_LEVEL_INFO, "SsdProvider created and initialised");
}

SSD_CODE SsdProvider::initSsdProvider() {
  Log(LOG_LEVEL_DEBUG, "SsdProvider::initSensorProvider");  // kept: docs/compatibility.md
  return update();
}
