#include <cstdio>
#include <cstring>

#include <cmpi/cmpimacs.h>

#include "base/NoCancellation.h"
#include "log/Log.h"
#include "provider/CimNames.h"
#include "provider/CmpiUtils.h"
#include "provider/Containment.h"
#include "provider/IndicationThread.h"
#include "provider/SsdProvider.h"

namespace {

/// A context goes where no exception may: in the provider's destructor, or that of a thread's
/// share.
void releaseContext(CMPIContext* context) {
  const NoCancellation whileReleasing;
  if (context != nullptr) {
    contain([context] { (void)CMRelease(context); });
  }
}

const char* classNameOf(const CMPIObjectPath* path) {
  return charactersOf(CMGetClassName(path, nullptr));
}

}  // namespace

bool SsdProvider::isKavIndicationClass(const char* name) {
  return std::strcmp(name, kIndicationClass) == 0;
}

CMPIStatus SsdProvider::authorizeFilter(CMPIIndicationMI* /*mi*/, const CMPIContext* /*context*/,
                                        const CMPISelectExp* /*filter*/, const char* /*className*/,
                                        const CMPIObjectPath* path, const char* /*owner*/) {
  const char* name = classNameOf(path);
  Log(LOG_LEVEL_DEBUG, "SsdProvider::authorizeFilter - Object path: class = %s", name);
  return statusOf(isKavIndicationClass(name) ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_CLASS);
}

CMPIStatus SsdProvider::mustPoll(CMPIIndicationMI* /*mi*/, const CMPIContext* /*context*/,
                                 const CMPISelectExp* /*filter*/, const char* /*className*/,
                                 const CMPIObjectPath* /*path*/) {
  Log(LOG_LEVEL_DEBUG, "SsdProvider::mustPoll - not supported");
  return statusOf(CMPI_RC_ERR_NOT_SUPPORTED);
}

/// The broker's flag is only logged; the provider's own count decides.
CMPIStatus SsdProvider::activateFilter(CMPIIndicationMI* /*mi*/, const CMPIContext* context,
                                       const CMPISelectExp* /*filter*/, const char* /*className*/,
                                       const CMPIObjectPath* path, std::uint8_t firstActivation) {
  const char* name = classNameOf(path);
  Log(LOG_LEVEL_DEBUG, "SsdProvider::activateFilter - Object path: class = %s", name);
  if (!isKavIndicationClass(name)) {
    return statusOf(CMPI_RC_ERR_INVALID_CLASS);
  }
  if (firstActivation != 0) {
    // "activiation". kept: docs/compatibility.md
    Log(LOG_LEVEL_DEBUG, "SsdProvider::activateFilter - First activiation");
  }
  Log(LOG_LEVEL_DEBUG, "SsdProvider::activateFilter - current activeIndSubscriptions=%i",
      activeIndSubscriptions);
  if (activeIndSubscriptions < 1) {
    prepareIndicationContext(context);
    service->registerSsdListener(this);
  }
  ++activeIndSubscriptions;  // not before: a shortage of memory must leave the next one the first
  return statusOf(CMPI_RC_OK);
}

/// After the last one the provider stays the core's listener; the closed gate drops the events.
CMPIStatus SsdProvider::deActivateFilter(CMPIIndicationMI* /*mi*/, const CMPIContext* /*context*/,
                                         const CMPISelectExp* /*filter*/, const char* /*className*/,
                                         const CMPIObjectPath* path, std::uint8_t lastActivation) {
  const char* name = classNameOf(path);
  Log(LOG_LEVEL_DEBUG, "SsdProvider::deActivateFilter - Object path: class = %s", name);
  if (!isKavIndicationClass(name)) {
    return statusOf(CMPI_RC_ERR_INVALID_CLASS);
  }
  if (lastActivation != 0) {
    // "deActiviation". kept: docs/compatibility.md
    Log(LOG_LEVEL_DEBUG, "SsdProvider::deActivateFilter - Last deActiviation");
  }
  Log(LOG_LEVEL_DEBUG, "SsdProvider::deActivateFilter - current activeIndSubscriptions=%i",
      activeIndSubscriptions);
  if (--activeIndSubscriptions < 1) {
    indicationsEnabled = false;
    service->registerSsdListener(this);  // kept: docs/compatibility.md
  }
  return statusOf(CMPI_RC_OK);
}

void SsdProvider::enableIndications(CMPIIndicationMI* mi, const CMPIContext* context) {
  Log(LOG_LEVEL_DEBUG, "SsdProvider::enableIndications(%p,%p)", static_cast<void*>(mi),
      static_cast<const void*>(context));
  indicationsEnabled = true;
}

void SsdProvider::disableIndications(CMPIIndicationMI* mi, const CMPIContext* context) {
  Log(LOG_LEVEL_DEBUG, "SsdProvider::disableIndications(%p,%p)", static_cast<void*>(mi),
      static_cast<const void*>(context));
  indicationsEnabled = false;
}

void SsdProvider::indicationCleanup() {
  Log(LOG_LEVEL_DEBUG, "SsdProvider::indicationCleanup");
  indicationsEnabled = false;
  if (service != nullptr) {  // there may have been no memory for it
    service->unregisterSsdListener();
  }
}

/// Prepares the indication threads' context once in the provider's life.
void SsdProvider::prepareIndicationContext(const CMPIContext* context) {
  if (indicationContext() != nullptr) {
    return;
  }
  std::shared_ptr<CMPIContext> prepared(CBPrepareAttachThread(broker, context), releaseContext);
  Log(LOG_LEVEL_DEBUG, "Indication Thread Context: indCtx = %p",
      static_cast<void*>(prepared.get()));
  const MutexLock lock(cacheMutex);
  indCtx = std::move(prepared);
}

std::shared_ptr<CMPIContext> SsdProvider::indicationContext() {
  const MutexLock lock(cacheMutex);
  return indCtx;
}

void SsdProvider::SsdFailureImminent(std::string model, std::string serialNumber,
                                     std::string physicalDrive, std::uint8_t percentageUsed) {
  Log(LOG_LEVEL_DEBUG, "SsdProvider::SsdFailureImminent(%s,%s,%s,0x%02x)", model.c_str(),
      serialNumber.c_str(), physicalDrive.c_str(), percentageUsed);
  const std::shared_ptr<CMPIContext> context = indicationContext();
  if (!indicationsEnabled || context == nullptr) {
    // "indcations". kept: docs/compatibility.md
    Log(LOG_LEVEL_DEBUG,
        "SsdProvider::SsdFailureImminent - indcations disabled or NULL indication context");
    return;
  }
  (void)succeeds("SsdProvider::SsdFailureImminent - sendIndication",
                 "SsdProvider::SsdFailureImminent - sendIndication - Unknown Exception", [&] {
                   const std::string deviceID = makeDeviceID(model, serialNumber, physicalDrive);
                   if (!markFailing(deviceID)) {
                     Log(LOG_LEVEL_ERROR,
                         "SsdProvider::SsdFailureImminent - Associated ssd not found, device id: "
                         "%s",
                         deviceID.c_str());
                     return;
                   }
                   sendIndication(deviceID, physicalDrive, context);
                 });
}

bool SsdProvider::markFailing(const std::string& deviceID) {
  const MutexLock lock(cacheMutex);
  const std::uint32_t index = getSsdIndex(deviceID);
  if (index == kNoSuchSsd) {
    return false;
  }
  monitors[index].setFailureImminent(true);
  return true;
}

void SsdProvider::sendIndication(const std::string& deviceID, const std::string& physicalDrive,
                                 const std::shared_ptr<CMPIContext>& context) {
  Log(LOG_LEVEL_DEBUG, "SsdProvider::sendIndication(%s,%s)", deviceID.c_str(),
      physicalDrive.c_str());
  auto arguments = std::make_unique<IndicationArguments>();
  arguments->broker = broker;
  arguments->context = context;
  arguments->deviceID = deviceID;
  arguments->physicalDrive = physicalDrive;
  startIndicationThread(std::move(arguments));
  std::fputs("SsdProvider::sendIndication - exit\n", stderr);
}
