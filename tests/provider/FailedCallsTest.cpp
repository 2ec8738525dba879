// Every call to the broker that has a status, failed once in its turn, in each thing that a broker
// can ask for: the answer is the one that this failure is to give, and the next request is answered
// right.

#include <functional>
#include <string>

#include "provider/EntryPoints.h"
#include "provider/FunctionTables.h"
#include "provider/ProviderState.h"
#include "tests/provider/Allocations.h"
#include "tests/provider/SubscribedModule.h"

namespace {

constexpr CMPIrc kRefused = CMPI_RC_ERR_ACCESS_DENIED;

class FailedCalls : public SubscribedModule {
 protected:
  void SetUp() override {
    SubscribedModule::SetUp();
    subscribe();
  }

  /// Repeats `request`, each time with the next call failing, until no call is left to fail.
  /// `harmless` says which failures it doesn't mind. Gives the number of calls.
  unsigned failEach(const std::function<CMPIStatus()>& request, const char* origin,
                    const std::function<bool(const std::string& call)>& harmless) {
    unsigned failed = 0;
    for (;; ++failed) {
      CMPIStatus status{};
      broker.clearFailures();
      broker.failAny(failed + 1, kRefused);
      const std::string seen = events::during([&] { status = request(); });
      const std::string call = broker.failedCall();
      SCOPED_TRACE(call);
      EXPECT_EQ(status.msg, nullptr);
      EXPECT_EQ(events::count(seen, "broker: result.returnDone()"), 1U);
      if (call.empty()) {
        EXPECT_EQ(status.rc, CMPI_RC_OK);
        return failed;
      }
      if (harmless(call)) {
        EXPECT_EQ(status.rc, CMPI_RC_OK);
        EXPECT_EQ(events::only("log 1", seen), "");
      } else {
        EXPECT_EQ(status.rc, CMPI_RC_ERR_FAILED);
        EXPECT_EQ(events::only("log 1", seen),
                  std::string("log 1: ") + origin + " - CMPIStatus 2, (null)\n");
        EXPECT_EQ(events::count(seen, " status 2\n"), 1U);
        // Nothing but the end comes after the failure.
        EXPECT_EQ(events::only("broker", seen.substr(seen.find("log 1"))),
                  "broker: result.returnDone()\n");
      }
    }
  }
};

bool isHarmless(const std::string& call) {
  return call.find("addKey") != std::string::npos || call.find("result.") == 0;
}

TEST_F(FailedCalls, OfEnumeratingNamesCostTheRequest) {
  // Per drive: newObjectPath, addKey, returnObjectPath; then returnDone.
  EXPECT_EQ(failEach([this] { return names(); }, "SsdProvider::enumerateInstanceNames", isHarmless),
            10U);
}

TEST_F(FailedCalls, OfEnumeratingInstancesCostTheRequest) {
  // Per drive: newObjectPath, addKey, newInstance, 15 times setProperty, returnInstance.
  EXPECT_EQ(failEach([this] { return instances(); }, "SsdProvider::enumerateInstances", isHarmless),
            58U);
}

TEST_F(FailedCalls, OfGettingOneCostTheRequest) {
  // Three times getKey and getCharPtr, then one instance.
  EXPECT_EQ(failEach([this] { return get(kModelCId); }, "SsdProvider::getInstance", isHarmless),
            26U);
}

TEST_F(FailedCalls, OfAnIndicationCostIt) {
  unsigned failed = 0;
  for (;; ++failed) {
    broker.clearFailures();
    broker.failAny(failed + 1, kRefused);
    const std::string seen = events::during([&] {
      core().listener->SsdFailureImminent("Model A", "Serial A", "sda", 96);
      broker.runThread();
    });
    const std::string call = broker.failedCall();
    SCOPED_TRACE(call);
    // Whatever fails, the thread detaches once and ends.
    EXPECT_EQ(events::count(seen, "broker: detachThread"), 1U);
    EXPECT_EQ(events::count(seen, "err: IndicateThread - Exit\n"), 1U);
    if (call.empty()) {
      break;
    }
    const bool harmless =
        call.find("detachThread") == 0 || call.find("release") != std::string::npos;
    EXPECT_EQ(events::count(seen, "log 1: indicateThread - "), harmless ? 0U : 1U);
  }
  EXPECT_EQ(failed, 9U);
}

TEST_F(FailedCalls, OfReleasingTheIndicationContextAreNoMatter) {
  broker.fail("release", 1, kRefused);
  const std::string seen = events::during([this] {
    EXPECT_EQ(drvInstanceCleanup(&instanceMI, broker.context(), 1).rc, CMPI_RC_OK);
    EXPECT_EQ(drvIndicationCleanup(&indicationMI, broker.context(), 1).rc, CMPI_RC_OK);
  });
  EXPECT_EQ(drvProvider, nullptr);
  EXPECT_EQ(events::only("log 1", seen), "");
}

// ---- Memory ---------------------------------------------------------------------------------

/// The same for each allocation that the provider makes.
class FailedAllocations : public FailedCalls {
 protected:
  /// Repeats `request`, each time with the next allocation failing, until none is left to fail. A
  /// request that is hit answers 1 at most, and the next one is right. Gives their number.
  unsigned failEach(const std::function<CMPIStatus()>& request) {
    for (unsigned nth = 1;; ++nth) {
      SCOPED_TRACE(nth);
      CMPIStatus status{};
      bool failed = false;
      (void)events::during([&] {
        allocations::failNth(nth);
        status = request();
        failed = allocations::failed();
        allocations::failNth(0);
      });
      if (!failed) {
        EXPECT_EQ(status.rc, CMPI_RC_OK);
        return nth - 1;
      }
      EXPECT_EQ(status.rc, CMPI_RC_ERR_FAILED);
      EXPECT_EQ(status.msg, nullptr);
      (void)events::during([&] { status = request(); });
      EXPECT_EQ(status.rc, CMPI_RC_OK);
    }
  }
};

TEST_F(FailedAllocations, CostTheRequest) {
  const CMPIObjectPath* path = broker.path("root/cimv2", "KAV_SSDLifeMonitor");
  const CMPIObjectPath* key = broker.path(std::string(kModelCId));
  const CMPIContext* context = broker.context();
  const CMPIResult* result = broker.result();
  EXPECT_GT(failEach([&] { return drvEnumInstanceNames(&instanceMI, context, result, path); }), 3U);
  EXPECT_GT(failEach([&] { return drvEnumInstances(&instanceMI, context, result, path, nullptr); }),
            3U);
  EXPECT_GT(failEach([&] { return drvGetInstance(&instanceMI, context, result, key, nullptr); }),
            3U);
}

TEST_F(FailedAllocations, StillLetARequestSayThatItIsDone) {
  const CMPIObjectPath* path = broker.path("root/cimv2", "KAV_SSDLifeMonitor");
  const CMPIContext* context = broker.context();
  const CMPIResult* result = broker.result();
  for (unsigned nth = 1; nth < 6; ++nth) {
    const std::string seen = events::during([&] {
      allocations::failNth(nth);
      (void)drvEnumInstances(&instanceMI, context, result, path, nullptr);
      allocations::failNth(0);
    });
    EXPECT_EQ(events::count(seen, "broker: result.returnDone()"), 1U);
    EXPECT_EQ(events::only("log 1", seen),
              "log 1: SsdProvider::enumerateInstances -  Unknown Exception\n");
  }
}

TEST_F(FailedAllocations, CostAnEventAndNothingElse) {
  const SsdInformation a = drive('A', "sda");
  for (unsigned nth = 1;; ++nth) {
    bool failed = false;
    const std::string seen = events::during([&] {
      // The caller's own copies of the texts, which the event takes over.
      std::string model = a.model;
      std::string serialNumber = a.serialNumber;
      std::string physicalDrive = a.physicalDrive;
      allocations::failNth(nth);
      core().listener->SsdFailureImminent(std::move(model), std::move(serialNumber),
                                          std::move(physicalDrive), 96);
      failed = allocations::failed();
      allocations::failNth(0);
    });
    if (!failed) {
      EXPECT_GT(nth, 3U);
      break;
    }
    EXPECT_EQ(broker.waitingThreads(), 0U);
    EXPECT_EQ(events::only("log 1", seen),
              "log 1: SsdProvider::SsdFailureImminent - sendIndication - Unknown Exception\n");
  }
  EXPECT_EQ(broker.waitingThreads(), 1U);
}

TEST_F(FailedAllocations, OfAnActivationLeaveTheNextOneTheFirst) {
  (void)events::during([this] {
    for (CMPIBoolean terminating : {CMPIBoolean{1}, CMPIBoolean{1}}) {
      (void)drvInstanceCleanup(&instanceMI, broker.context(), terminating);
    }
    SsdProvider_Create_IndicationMI(broker.cmpi(), broker.context(), nullptr);
  });
  const CMPIObjectPath* path = broker.path("root/cimv2", "KAV_SSDLifeMonitorFailureImminent");
  const CMPIContext* context = broker.context();
  CMPIStatus status{};
  std::string seen = events::during([&] {
    allocations::failNth(1);
    status = drvActivateFilter(&indicationMI, context, nullptr, nullptr, path, 1);
    allocations::failNth(0);
  });
  EXPECT_EQ(status.rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(core().listener, nullptr);
  // The context that the broker had prepared already is given back.
  EXPECT_EQ(events::count(seen, "release()"), 1U);

  seen = events::during(
      [&] { status = drvActivateFilter(&indicationMI, context, nullptr, nullptr, path, 1); });
  EXPECT_EQ(status.rc, CMPI_RC_OK);
  EXPECT_EQ(events::count(seen, "current activeIndSubscriptions=0"), 1U);
  EXPECT_NE(core().listener, nullptr);
}

class FailedFactories : public ProviderTest {
 protected:
  std::string create(unsigned failing) {
    return events::during([&] {
      allocations::failNth(failing);
      EXPECT_EQ(SsdProvider_Create_InstanceMI(broker.cmpi(), nullptr, &status), &instanceMI);
      allocations::failNth(0);
    });
  }
  CMPIStatus status{CMPI_RC_ERROR, nullptr};
};

TEST_F(FailedFactories, WithoutMemoryForTheProviderHandOutTheirMiUncounted) {
  const std::string seen = create(1);
  EXPECT_EQ(events::only("log 1", seen),
            "log 1: SsdProvider_Create_InstanceMI - Provider malloc failed\n");
  EXPECT_EQ(status.rc, CMPI_RC_OK);
  EXPECT_EQ(use_count, 0);
  EXPECT_EQ(drvProvider, nullptr);
  EXPECT_EQ(instanceMI.hdl, nullptr);

  const std::string other = events::during([&] {
    allocations::failNth(1);
    EXPECT_EQ(SsdProvider_Create_IndicationMI(broker.cmpi(), nullptr, &status), &indicationMI);
    allocations::failNth(0);
  });
  EXPECT_EQ(events::only("log 1", other),
            "log 1: SsdProvider_Create_IndicationMI - Provider malloc failed\n");
  EXPECT_EQ(use_count, 0);

  // The next one makes it.
  (void)create(0);
  EXPECT_EQ(use_count, 1);
  EXPECT_NE(drvProvider, nullptr);
}

TEST_F(FailedFactories, ShortOfMemoryAfterwardsLeaveTheProviderUninitialised) {
  for (unsigned nth = 2;; ++nth) {
    SCOPED_TRACE(nth);
    bool failed = false;
    const std::string seen = events::during([&] {
      allocations::failNth(nth);
      SsdProvider_Create_InstanceMI(broker.cmpi(), nullptr, &status);
      failed = allocations::failed();
      allocations::failNth(0);
    });
    EXPECT_EQ(events::count(seen, "log 3: SsdProvider::initialise"), 1U);
    EXPECT_EQ(status.rc, CMPI_RC_OK);
    EXPECT_EQ(use_count, 1);
    EXPECT_NE(drvProvider, nullptr);
    EXPECT_EQ(drvProviderReady, !failed);
    CMPIStatus cleaned{};
    (void)events::during(
        [&] { cleaned = drvIndicationCleanup(&indicationMI, broker.context(), 1); });
    EXPECT_EQ(cleaned.rc, CMPI_RC_OK);
    EXPECT_EQ(drvProvider, nullptr);
    if (!failed) {
      EXPECT_GT(nth, 4U);
      break;
    }
  }
}

}  // namespace
