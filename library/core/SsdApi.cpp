#include "core/SsdApi.h"

#include "config/Config.h"
#include "core/SsdManager.h"
#include "log/Log.h"

namespace {

/// The driver has been initialised. Never set back.
bool init = false;

/// Constructed while the library is loaded, destroyed (and with it every polling thread joined)
/// when it is unloaded.
SsdManager ssdManager;

}  // namespace

SSD_CODE SsdApi::initialiseSsdDriver() {
  Log(LOG_LEVEL_TRACE, "API: SsdApi::initialiseSsdDriver, init=%x", init);
  SSD_CODE code = SSD_SUCCESS;
  if (!init) {
    ssdManager.setModelsFile(Config::GetInstance()->getModelsFile());
    code = ssdManager.initialise();
    init = code == SSD_SUCCESS;
  }
  Log(LOG_LEVEL_TRACE, "API: SsdApi::initialiseSsdDriver exit, ssdcode=0x%x", code);
  return code;
}

SSD_CODE SsdApi::getSsdInformationList(SsdInformationList& list) {
  Log(LOG_LEVEL_TRACE, "API: SsdApi::getSsdInformationList, init=%x", init);
  const SSD_CODE code = init ? ssdManager.getSsdInformationList(list) : SSD_NOT_INITIALISED;
  Log(LOG_LEVEL_TRACE, "API: SsdApi::getSsdInformationList exit, ssdcode=0x%x", code);
  return code;
}

void SsdApi::registerSsdListener(ISsdListener* listener) {
  Log(LOG_LEVEL_TRACE, "API: SsdApi::registerSsdListener, init=%x", init);
  if (init) {
    ssdManager.registerSsdListener(listener);
  }
  Log(LOG_LEVEL_TRACE, "API: SsdApi::registerSsdListener exit");
}

void SsdApi::unregisterSsdListener() {
  Log(LOG_LEVEL_TRACE, "API: SsdApi::unregisterSsdListener, init=%x", init);
  if (init) {
    ssdManager.unregisterSsdListener();
  }
  LogQuick(LOG_LEVEL_TRACE, "API: SsdApi::unregisterSsdListener exit");
}

void SsdApi::withdrawSsdListener(const ISsdListener* listener) {
  ssdManager.withdrawSsdListener(listener);
}
