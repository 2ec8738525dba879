#include "provider/EntryPoints.h"

#include <cstdio>
#include <new>

#include <unistd.h>

#include "base/NoCancellation.h"
#include "log/Log.h"
#include "provider/CmpiUtils.h"
#include "provider/Containment.h"
#include "provider/FunctionTables.h"
#include "provider/ProviderState.h"
#include "provider/SsdProvider.h"

namespace {

constexpr char kRelease[] = "1.2.0";

void* currentProvider() { return drvProvider.load(); }

/// Calls `operation` on the provider under its lock, and answers `notReady` when there is none. It
/// is asked for twice: at once, so that a caller isn't kept waiting for a lock only to be refused,
/// and again under the lock, for which a cleanup may have been waiting as well. An exception costs
/// the request.
template <typename Operation>
CMPIStatus forward(Operation operation) {
  const CMPIStatus notReady = statusOf(CMPI_RC_ERR_METHOD_NOT_AVAILABLE);
  if (!drvProviderReady) {
    return notReady;
  }
  const MutexLock lock(drvMutex());
  if (!drvProviderReady) {
    return notReady;
  }
  CMPIStatus status = statusOf(CMPI_RC_ERR_FAILED);
  contain([&] { status = operation(*drvProvider.load()); });
  return status;
}

CMPIStatus refuse(const char* line) {
  std::printf("%s\n", line);
  return statusOf(CMPI_RC_ERR_NOT_SUPPORTED);
}

/// The body of both factories: hands out `mi`, and makes the provider if there is none. An MI whose
/// provider could not be initialised is handed out and counted all the same. A thread that is
/// cancelled meanwhile finishes: a provider half made would stay so for the process's life.
template <typename Mi, typename Announce>
Mi* createMi(Mi& mi, const CMPIBroker* broker, const CMPIContext* context, CMPIStatus* status,
             const char* shortage, Announce announce) {
  const NoCancellation untilMade;
  {
    const MutexLock lock(drvMutex());
    announce();
    if (drvProvider == nullptr) {
      auto* provider = new (std::nothrow) SsdProvider;
      if (provider == nullptr) {
        LogQuick(LOG_LEVEL_ERROR, shortage);
      } else {
        drvProvider = provider;
        provider->setBroker(broker);
        mi.hdl = provider;
        // Whatever is thrown leaves it uninitialised, as any other failure does.
        contain([&] { provider->initialise(context); });
        drvProviderReady = provider->isInitialised();
      }
    }
    if (drvProvider != nullptr) {
      __incrUseCount();
    }
  }
  if (status != nullptr) {
    status->rc = CMPI_RC_OK;
  }
  return &mi;
}

/// The body of both clean-ups; `prepare` comes before the provider may go. The provider is looked
/// at again under the lock: a broker in a hurry cleans up on several threads at once. A thread that
/// is cancelled meanwhile finishes.
template <typename Announce, typename Prepare>
CMPIStatus cleanUp(CMPIBoolean terminating, Announce announce, Prepare prepare) {
  const NoCancellation untilClean;
  announce();
  if (terminating == 0) {
    return statusOf(CMPI_RC_DO_NOT_UNLOAD);
  }
  if (drvProvider == nullptr) {
    return statusOf(CMPI_RC_OK);
  }
  const MutexLock lock(drvMutex());
  if (SsdProvider* provider = drvProvider) {
    contain([&] { prepare(*provider); });
    __drv_cleanup();
  }
  return statusOf(CMPI_RC_OK);
}

}  // namespace

CMPIInstanceMI* SsdProvider_Create_InstanceMI(const CMPIBroker* broker, const CMPIContext* context,
                                              CMPIStatus* status) {
  return createMi(instanceMI, broker, context, status,
                  "SsdProvider_Create_InstanceMI - Provider malloc failed", [broker] {
                    Log(LOG_LEVEL_DEBUG, "SsdProvider_Create_InstanceMI, broker = %p, version = %i",
                        static_cast<const void*>(broker), broker->eft->ftVersion);
                    Log(LOG_LEVEL_DEBUG,
                        "Zarn SSD Life Monitor for Linux release v%s dated %s at %s", kRelease,
                        __DATE__, __TIME__);
                  });
}

CMPIIndicationMI* SsdProvider_Create_IndicationMI(const CMPIBroker* broker,
                                                  const CMPIContext* context, CMPIStatus* status) {
  return createMi(indicationMI, broker, context, status,
                  "SsdProvider_Create_IndicationMI - Provider malloc failed", [broker] {
                    const void* address = broker;
                    const int version = broker->eft->ftVersion;
                    std::fprintf(stderr, "SsdProvider_Create_IndicationMI, broker=%p, version=%i\n",
                                 address, version);
                    std::fprintf(stderr, "SsdProvider_Create_IndicationMI - pid=%i\n", getpid());
                    Log(LOG_LEVEL_DEBUG, "SsdProvider_Create_IndicationMI, broker=%p, version=%i",
                        address, version);
                  });
}

CMPIStatus drvInstanceCleanup(CMPIInstanceMI* /*mi*/, const CMPIContext* /*context*/,
                              CMPIBoolean terminating) {
  return cleanUp(
      terminating,
      [terminating] {
        Log(LOG_LEVEL_DEBUG, "drvInstanceCleanup - provider = %p, terminating=%x",
            currentProvider(), terminating);
      },
      [](SsdProvider&) {});
}

CMPIStatus drvEnumInstanceNames(CMPIInstanceMI* mi, const CMPIContext* context,
                                const CMPIResult* result, const CMPIObjectPath* path) {
  std::fprintf(stderr, "drvEnumInstanceNames - provider=%p\n", currentProvider());
  Log(LOG_LEVEL_DEBUG, "drvEnumInstanceNames - provider=%p", currentProvider());
  return forward(
      [=](SsdProvider& provider) { return provider.enumInstanceNames(mi, context, result, path); });
}

CMPIStatus drvEnumInstances(CMPIInstanceMI* mi, const CMPIContext* context,
                            const CMPIResult* result, const CMPIObjectPath* path,
                            const char** properties) {
  Log(LOG_LEVEL_DEBUG, "drvEnumInstances - provider=%p", currentProvider());
  return forward([=](SsdProvider& provider) {
    return provider.enumInstances(mi, context, result, path, properties);
  });
}

CMPIStatus drvGetInstance(CMPIInstanceMI* mi, const CMPIContext* context, const CMPIResult* result,
                          const CMPIObjectPath* path, const char** properties) {
  Log(LOG_LEVEL_DEBUG, "drvGetInstance - provider=%p", currentProvider());
  return forward([=](SsdProvider& provider) {
    return provider.getInstance(mi, context, result, path, properties);
  });
}

CMPIStatus drvCreateInstance(CMPIInstanceMI* /*mi*/, const CMPIContext* /*context*/,
                             const CMPIResult* /*result*/, const CMPIObjectPath* /*path*/,
                             const CMPIInstance* /*instance*/) {
  return refuse("drvCreateInstance - Unsupported");
}

CMPIStatus drvModifyInstance(CMPIInstanceMI* /*mi*/, const CMPIContext* /*context*/,
                             const CMPIResult* /*result*/, const CMPIObjectPath* /*path*/,
                             const CMPIInstance* /*instance*/, const char** /*properties*/) {
  return refuse("drvModifyInstance - Unsupported");
}

CMPIStatus drvDeleteInstance(CMPIInstanceMI* /*mi*/, const CMPIContext* /*context*/,
                             const CMPIResult* /*result*/, const CMPIObjectPath* /*path*/) {
  return refuse("drvDeleteInstance - Unsupported");
}

CMPIStatus drvExecQuery(CMPIInstanceMI* /*mi*/, const CMPIContext* /*context*/,
                        const CMPIResult* /*result*/, const CMPIObjectPath* /*path*/,
                        const char* /*query*/, const char* /*language*/) {
  return refuse("drvExecQuery - Unsupported");
}

CMPIStatus drvIndicationCleanup(CMPIIndicationMI* /*mi*/, const CMPIContext* /*context*/,
                                CMPIBoolean terminating) {
  return cleanUp(
      terminating,
      [terminating] {
        std::fprintf(stderr, "drvIndicationCleanup - provider=%p, terminating=%x\n",
                     currentProvider(), terminating);
        Log(LOG_LEVEL_DEBUG, "drvIndicationCleanup - provider=%p, terminating=%x",
            currentProvider(), terminating);
      },
      [](SsdProvider& provider) { provider.indicationCleanup(); });
}

CMPIStatus drvAuthorizeFilter(CMPIIndicationMI* mi, const CMPIContext* context,
                              const CMPISelectExp* filter, const char* className,
                              const CMPIObjectPath* path, const char* owner) {
  Log(LOG_LEVEL_DEBUG, "drvAuthorizeFilter - provider = %p", currentProvider());
  return forward([=](SsdProvider& provider) {
    return provider.authorizeFilter(mi, context, filter, className, path, owner);
  });
}

CMPIStatus drvMustPoll(CMPIIndicationMI* mi, const CMPIContext* context,
                       const CMPISelectExp* filter, const char* className,
                       const CMPIObjectPath* path) {
  Log(LOG_LEVEL_DEBUG, "drvMustPoll - provider=%p", currentProvider());
  return forward([=](SsdProvider& provider) {
    return provider.mustPoll(mi, context, filter, className, path);
  });
}

CMPIStatus drvActivateFilter(CMPIIndicationMI* mi, const CMPIContext* context,
                             const CMPISelectExp* filter, const char* className,
                             const CMPIObjectPath* path, CMPIBoolean firstActivation) {
  Log(LOG_LEVEL_DEBUG, "drvActivateFilter - provider = %p", currentProvider());
  return forward([=](SsdProvider& provider) {
    return provider.activateFilter(mi, context, filter, className, path, firstActivation);
  });
}

CMPIStatus drvDeActivateFilter(CMPIIndicationMI* mi, const CMPIContext* context,
                               const CMPISelectExp* filter, const char* className,
                               const CMPIObjectPath* path, CMPIBoolean lastActivation) {
  Log(LOG_LEVEL_DEBUG, "drvDeActivateFilter - provider = %p", currentProvider());
  return forward([=](SsdProvider& provider) {
    return provider.deActivateFilter(mi, context, filter, className, path, lastActivation);
  });
}

void drvEnableIndications(CMPIIndicationMI* mi, const CMPIContext* context) {
  // Without "drv". kept: docs/compatibility.md
  Log(LOG_LEVEL_DEBUG, "enableIndications - provider = %p", currentProvider());
  (void)forward([=](SsdProvider& provider) {
    provider.enableIndications(mi, context);
    return statusOf(CMPI_RC_OK);
  });
}

void drvDisableIndications(CMPIIndicationMI* mi, const CMPIContext* context) {
  Log(LOG_LEVEL_DEBUG, "drvDisableIndications - provider = %p", currentProvider());
  (void)forward([=](SsdProvider& provider) {
    provider.disableIndications(mi, context);
    return statusOf(CMPI_RC_OK);
  });
}
