#include "core/SsdApi.h"

#include "config/Config.h"
#include "core/RequestGate.h"
#include "core/SsdManager.h"
#include "log/Log.h"

namespace {

/// The driver has been initialised. Never set back.
bool init = false;

RequestGate gate;

/// Constructed while the library is loaded, destroyed (and with it every polling thread joined)
/// when it is unloaded.
SsdManager ssdManager;

/// Behind the manager, and so gone before it: nobody may be reading its devices then, nor come to
/// do so.
struct ClosesGate {
  ~ClosesGate() { gate.close(); }
} closesGate;

SSD_CODE initialiseManager() {
  ssdManager.setModelsFile(Config::GetInstance()->getModelsFile());
  return ssdManager.initialise();
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
