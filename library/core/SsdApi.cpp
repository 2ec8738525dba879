#include "core/SsdApi.h"

#include <atomic>

#include "config/Config.h"
#include "core/RequestGate.h"
#include "core/SsdManager.h"
#include "log/Log.h"

namespace {

/// The driver has been initialised. Never set back.
bool init = false;

RequestGate gate;

/// This process was forked from the one whose threads watch the devices.
std::atomic<bool> inherited{false};

/// Constructed while the library is loaded, destroyed (and with it every polling thread joined)
/// when it is unloaded: behind the request that is inside, and not in a forked child.
struct Core {
  Core() : manager() {}
  ~Core() {
    gate.close();
    if (!inherited) {
      manager.~SsdManager();
    }
  }
  union {
    SsdManager manager;
  };
} core;

SsdManager& ssdManager = core.manager;

SSD_CODE initialiseManager() {
  ssdManager.setModelsFile(Config::GetInstance()->getModelsFile());
  const SSD_CODE code = ssdManager.initialise();
  inherited = false;
  return code;
}

}  // namespace

SSD_CODE SsdApi::initialiseSsdDriver() {
  Log(LOG_LEVEL_TRACE, "API: SsdApi::initialiseSsdDriver, init=%x", init);
  SSD_CODE code = SSD_SUCCESS;
  if (!init) {
    const RequestGate::Pass pass(gate);
    code = pass.granted() ? initialiseManager() : SSD_NOT_INITIALISED;
    init = code == SSD_SUCCESS;
  }
  Log(LOG_LEVEL_TRACE, "API: SsdApi::initialiseSsdDriver exit, ssdcode=0x%x", code);
  return code;
}

SSD_CODE SsdApi::getSsdInformationList(SsdInformationList& list) {
  Log(LOG_LEVEL_TRACE, "API: SsdApi::getSsdInformationList, init=%x", init);
  const RequestGate::Pass pass(gate);
  const SSD_CODE code =
      init && pass.granted() ? ssdManager.getSsdInformationList(list) : SSD_NOT_INITIALISED;
  Log(LOG_LEVEL_TRACE, "API: SsdApi::getSsdInformationList exit, ssdcode=0x%x", code);
  return code;
}

void SsdApi::registerSsdListener(ISsdListener* listener) {
  Log(LOG_LEVEL_TRACE, "API: SsdApi::registerSsdListener, init=%x", init);
  const RequestGate::Pass pass(gate);
  if (init && pass.granted()) {
    ssdManager.registerSsdListener(listener);
  }
  Log(LOG_LEVEL_TRACE, "API: SsdApi::registerSsdListener exit");
}

void SsdApi::unregisterSsdListener() {
  Log(LOG_LEVEL_TRACE, "API: SsdApi::unregisterSsdListener, init=%x", init);
  const RequestGate::Pass pass(gate);
  if (init && pass.granted()) {
    ssdManager.unregisterSsdListener();
  }
  LogQuick(LOG_LEVEL_TRACE, "API: SsdApi::unregisterSsdListener exit");
}

void SsdApi::withdrawSsdListener(const ISsdListener* listener) {
  const RequestGate::Pass pass(gate);
  if (pass.granted()) {
    ssdManager.withdrawSsdListener(listener);
  }
}

void SsdApi::forgetThreads() {
  gate.forget();
  inherited = true;
}
