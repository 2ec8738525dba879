#include <memory>
#include <string>

#include <pthread.h>

#include "provider/SsdProvider.h"
#include "tests/provider/ProviderFixture.h"

namespace {

using events::format;

/// An initialised provider with the three drives of the machine; no filter is active.
class Indications : public ProviderTest {
 protected:
  explicit Indications(const char* brokerName = "recording") : ProviderTest(brokerName) {}
  void SetUp() override {
    ProviderTest::SetUp();
    (void)events::during([this] {
      provider = std::make_unique<SsdProvider>();
      provider->setBroker(broker.cmpi());
      provider->initialise(broker.context());
    });
    request = broker.context();
  }
  void TearDown() override {
    (void)events::during([this] { provider.reset(); });
    ProviderTest::TearDown();
  }

  CMPIObjectPath* filtered(const char* className = "KAV_SSDLifeMonitorFailureImminent") {
    return broker.path("root/cimv2", className);
  }
  std::string activate(std::uint8_t first = 1,
                       const char* className = "KAV_SSDLifeMonitorFailureImminent") {
    return events::during([&] {
      status = provider->activateFilter(nullptr, request, nullptr, "ignored", filtered(className),
                                        first);
    });
  }
  std::string deactivate(std::uint8_t last = 1,
                         const char* className = "KAV_SSDLifeMonitorFailureImminent") {
    return events::during([&] {
      status = provider->deActivateFilter(nullptr, request, nullptr, "ignored", filtered(className),
                                          last);
    });
  }
  void enable() {
    (void)events::during([&] { provider->enableIndications(nullptr, request); });
  }
  void subscribe() {
    (void)activate();
    enable();
  }
  std::string fail(const SsdInformation& drive, std::uint8_t percentage = 96) {
    return events::during([&] {
      provider->SsdFailureImminent(drive.model, drive.serialNumber, drive.physicalDrive,
                                   percentage);
    });
  }
  std::string indicationThread() {
    return events::during([&] { broker.runThread(); });
  }

  std::unique_ptr<SsdProvider> provider;
  const CMPIContext* request = nullptr;
  CMPIStatus status{CMPI_RC_ERROR, nullptr};
  const SsdInformation a = drive('A', "sda");
  const SsdInformation b = drive('B', "sdb");
};

constexpr char kPath[] = "Object path: class = KAV_SSDLifeMonitorFailureImminent";
constexpr char kDisabled[] =
    "log 3: SsdProvider::SsdFailureImminent - indcations disabled or NULL indication context";

// ---- Filters --------------------------------------------------------------------------------

TEST_F(Indications, AuthoriseAFilterForTheirClassOnly) {
  EXPECT_EQ(events::during([&] {
              status = provider->authorizeFilter(nullptr, request, nullptr, "ignored", filtered(),
                                                 "owner");
            }),
            lines({std::string("log 3: SsdProvider::authorizeFilter - ") + kPath}));
  EXPECT_EQ(status.rc, CMPI_RC_OK);
  EXPECT_EQ(status.msg, nullptr);
  for (const char* other : {"KAV_SSDLifeMonitor", "kav_ssdlifemonitorfailureimminent",
                            "CIM_ProcessIndication", "KAV_SSDLifeMonitorFailureImminent2", ""}) {
    EXPECT_EQ(
        events::during([&] {
          status = provider->authorizeFilter(nullptr, request, nullptr,
                                             "KAV_SSDLifeMonitorFailureImminent", filtered(other),
                                             "owner");
        }),
        lines({format("log 3: SsdProvider::authorizeFilter - Object path: class = %s", other)}));
    EXPECT_EQ(status.rc, CMPI_RC_ERR_INVALID_CLASS);
    EXPECT_EQ(status.msg, nullptr);
  }
}

TEST_F(Indications, AreNeverPolledFor) {
  for (const char* className : {"KAV_SSDLifeMonitorFailureImminent", "Other"}) {
    EXPECT_EQ(events::during([&] {
                status =
                    provider->mustPoll(nullptr, request, nullptr, "ignored", filtered(className));
              }),
              "log 3: SsdProvider::mustPoll - not supported\n");
    EXPECT_EQ(status.rc, CMPI_RC_ERR_NOT_SUPPORTED);
    EXPECT_EQ(status.msg, nullptr);
  }
}

TEST_F(Indications, TheFirstActivationPreparesAContextAndRegistersWithTheCore) {
  const std::string seen = activate(1);
  const void* prepared = broker.address("prepared1");
  EXPECT_EQ(seen, lines({std::string("log 3: SsdProvider::activateFilter - ") + kPath,
                         "log 3: SsdProvider::activateFilter - First activiation",
                         "log 3: SsdProvider::activateFilter - current activeIndSubscriptions=0",
                         "broker: prepareAttachThread(context) = prepared1",
                         format("log 3: Indication Thread Context: indCtx = %p", prepared),
                         "core: registerSsdListener"}));
  EXPECT_EQ(status.rc, CMPI_RC_OK);
  EXPECT_EQ(status.msg, nullptr);
  EXPECT_EQ(core().listener, provider.get());
}

TEST_F(Indications, FurtherActivationsOnlyCount) {
  (void)activate(1);
  EXPECT_EQ(activate(1),
            lines({std::string("log 3: SsdProvider::activateFilter - ") + kPath,
                   "log 3: SsdProvider::activateFilter - First activiation",
                   "log 3: SsdProvider::activateFilter - current activeIndSubscriptions=1"}));
  EXPECT_EQ(activate(0),
            lines({std::string("log 3: SsdProvider::activateFilter - ") + kPath,
                   "log 3: SsdProvider::activateFilter - current activeIndSubscriptions=2"}));
  EXPECT_EQ(status.rc, CMPI_RC_OK);
}

TEST_F(Indications, TakeAnyFlagButZeroForSet) {
  EXPECT_EQ(events::count(activate(0), "First activiation"), 0U);
  EXPECT_EQ(events::count(activate(2), "First activiation"), 1U);
  EXPECT_EQ(events::count(activate(255), "First activiation"), 1U);
  EXPECT_EQ(events::count(deactivate(0), "Last deActiviation"), 0U);
  EXPECT_EQ(events::count(deactivate(128), "Last deActiviation"), 1U);
}

TEST_F(Indications, TheProvidersOwnCountDecidesNotTheBrokersFlag) {
  EXPECT_EQ(events::count(activate(0), "core: registerSsdListener"), 1U);
  EXPECT_EQ(events::count(activate(1), "core: registerSsdListener"), 0U);
  EXPECT_EQ(events::count(deactivate(1), "core: registerSsdListener"), 0U);
  EXPECT_EQ(events::count(deactivate(0), "core: registerSsdListener"), 1U);
}

TEST_F(Indications, RefuseToActivateAFilterForAnyOtherClassAndChangeNothing) {
  EXPECT_EQ(activate(1, "KAV_SSDLifeMonitor"),
            "log 3: SsdProvider::activateFilter - Object path: class = KAV_SSDLifeMonitor\n");
  EXPECT_EQ(status.rc, CMPI_RC_ERR_INVALID_CLASS);
  EXPECT_EQ(status.msg, nullptr);
  EXPECT_EQ(core().listener, nullptr);
  EXPECT_EQ(events::count(activate(), "current activeIndSubscriptions=0"), 1U);
}

TEST_F(Indications, TakeAMissingClassForAnEmptyOne) {
  EXPECT_EQ(activate(1, nullptr), "log 3: SsdProvider::activateFilter - Object path: class = \n");
  EXPECT_EQ(status.rc, CMPI_RC_ERR_INVALID_CLASS);
  EXPECT_EQ(deactivate(1, nullptr),
            "log 3: SsdProvider::deActivateFilter - Object path: class = \n");
  EXPECT_EQ(status.rc, CMPI_RC_ERR_INVALID_CLASS);
  EXPECT_EQ(events::during([this] {
              status = provider->authorizeFilter(nullptr, request, nullptr, nullptr,
                                                 filtered(nullptr), nullptr);
            }),
            "log 3: SsdProvider::authorizeFilter - Object path: class = \n");
  EXPECT_EQ(status.rc, CMPI_RC_ERR_INVALID_CLASS);
}

TEST_F(Indications, RefuseToDeactivateAFilterForAnyOtherClassAndChangeNothing) {
  subscribe();
  EXPECT_EQ(deactivate(1, "KAV_SSDLifeMonitor"),
            "log 3: SsdProvider::deActivateFilter - Object path: class = KAV_SSDLifeMonitor\n");
  EXPECT_EQ(status.rc, CMPI_RC_ERR_INVALID_CLASS);
  EXPECT_EQ(events::count(fail(a), "newThread"), 1U);
}

TEST_F(Indications, TheLastDeactivationClosesTheGateAndRegistersOnceMore) {
  subscribe();
  EXPECT_EQ(deactivate(1),
            lines({std::string("log 3: SsdProvider::deActivateFilter - ") + kPath,
                   "log 3: SsdProvider::deActivateFilter - Last deActiviation",
                   "log 3: SsdProvider::deActivateFilter - current activeIndSubscriptions=1",
                   "core: registerSsdListener"}));
  EXPECT_EQ(status.rc, CMPI_RC_OK);
  EXPECT_EQ(core().listener, provider.get());
  EXPECT_EQ(events::count(fail(a), kDisabled), 1U);
}

TEST_F(Indications, OneOfTwoActivationsTakenBackLeavesTheGateAsItWas) {
  subscribe();
  (void)activate();
  EXPECT_EQ(deactivate(0),
            lines({std::string("log 3: SsdProvider::deActivateFilter - ") + kPath,
                   "log 3: SsdProvider::deActivateFilter - current activeIndSubscriptions=2"}));
  EXPECT_EQ(events::count(fail(a), "newThread"), 1U);
  EXPECT_EQ(events::count(activate(), "current activeIndSubscriptions=1"), 1U);
}

TEST_F(Indications, KeepTheirContextForTheLifeOfTheProvider) {
  subscribe();
  (void)deactivate();
  EXPECT_EQ(activate(1),
            lines({std::string("log 3: SsdProvider::activateFilter - ") + kPath,
                   "log 3: SsdProvider::activateFilter - First activiation",
                   "log 3: SsdProvider::activateFilter - current activeIndSubscriptions=0",
                   "core: registerSsdListener"}));
}

TEST_F(Indications, ActivatedAgainWaitForTheirBeingEnabledAgain) {
  subscribe();
  (void)deactivate();
  (void)activate();
  EXPECT_EQ(events::count(fail(a), kDisabled), 1U);
  enable();
  EXPECT_EQ(events::count(fail(a), "newThread"), 1U);
}

/// The count is never clamped: each activation and deactivation below one registers again.
TEST_F(Indications, CountBelowZero) {
  for (const int before : {0, -1}) {
    EXPECT_EQ(deactivate(0), lines({std::string("log 3: SsdProvider::deActivateFilter - ") + kPath,
                                    format("log 3: SsdProvider::deActivateFilter - current "
                                           "activeIndSubscriptions=%i",
                                           before),
                                    "core: registerSsdListener"}));
  }
  EXPECT_EQ(events::count(activate(0), "current activeIndSubscriptions=-2"), 1U);
  EXPECT_EQ(activate(0),
            lines({std::string("log 3: SsdProvider::activateFilter - ") + kPath,
                   "log 3: SsdProvider::activateFilter - current activeIndSubscriptions=-1",
                   "core: registerSsdListener"}));
  EXPECT_EQ(events::count(activate(0), "core: registerSsdListener"), 1U);
  EXPECT_EQ(events::count(activate(0), "core: registerSsdListener"), 0U);
}

TEST_F(Indications, TryAgainForAContextThatTheBrokerDidNotGive) {
  broker.answerNull("prepareAttachThread", 1);
  EXPECT_EQ(
      activate(0),
      lines({std::string("log 3: SsdProvider::activateFilter - ") + kPath,
             "log 3: SsdProvider::activateFilter - current activeIndSubscriptions=0",
             "broker: prepareAttachThread(context) = prepared1",
             "log 3: Indication Thread Context: indCtx = (nil)", "core: registerSsdListener"}));
  EXPECT_EQ(status.rc, CMPI_RC_OK);
  enable();
  EXPECT_EQ(events::count(fail(a), kDisabled), 1U);
  (void)deactivate();
  EXPECT_EQ(events::count(activate(0), "prepareAttachThread(context) = prepared2"), 1U);
  enable();
  EXPECT_EQ(events::count(fail(a), "newThread"), 1U);
}

TEST_F(Indications, AreEnabledAndDisabledWithTheMiAndTheContextInTheLog) {
  CMPIIndicationMI mi{};
  EXPECT_EQ(events::during([&] { provider->enableIndications(&mi, request); }),
            lines({format("log 3: SsdProvider::enableIndications(%p,%p)", static_cast<void*>(&mi),
                          static_cast<const void*>(request))}));
  EXPECT_EQ(events::during([&] { provider->disableIndications(&mi, request); }),
            lines({format("log 3: SsdProvider::disableIndications(%p,%p)", static_cast<void*>(&mi),
                          static_cast<const void*>(request))}));
}

TEST_F(Indications, CleanedUpCloseTheGateAndUnregister) {
  subscribe();
  EXPECT_EQ(events::during([&] { provider->indicationCleanup(); }),
            lines({"log 3: SsdProvider::indicationCleanup", "core: unregisterSsdListener"}));
  EXPECT_EQ(core().listener, nullptr);
  EXPECT_EQ(events::count(fail(a), kDisabled), 1U);
}

/// The core may be raising an event at that very moment.
TEST_F(Indications, CloseTheGateBeforeTheCoreIsTold) {
  subscribe();
  events::onEach([this](const std::string& line) {
    if (line == "core: registerSsdListener" || line == "core: unregisterSsdListener") {
      provider->SsdFailureImminent(a.model, a.serialNumber, a.physicalDrive, 96);
    }
  });
  EXPECT_EQ(events::count(deactivate(), kDisabled), 1U);
  enable();
  EXPECT_EQ(events::count(events::during([this] { provider->indicationCleanup(); }), kDisabled),
            1U);
  events::onEach({});
}

TEST_F(Indications, AreCleanedUpWithoutAServiceToo) {
  SsdProvider bare;
  EXPECT_EQ(events::during([&] { bare.indicationCleanup(); }),
            "log 3: SsdProvider::indicationCleanup\n");
}

TEST_F(Indications, ReleaseTheirContextWithTheProvider) {
  subscribe();
  const void* service = core().api;
  EXPECT_EQ(events::during([&] { provider.reset(); }),
            lines({"core: withdrawSsdListener",
                   format("log 3: SsdProvider::destructor - service=0x%p", service),
                   "log 3: deleting service object", "log 3: deleting indication context object",
                   "broker: prepared1.release()", "log 2: SsdProvider - provider destroyed"}));
  EXPECT_EQ(core().listener, nullptr);
}

// ---- Events ---------------------------------------------------------------------------------

TEST_F(Indications, AnEventStartsOneDetachedThread) {
  subscribe();
  EXPECT_EQ(fail(b, 0xA7),
            lines({"log 3: SsdProvider::SsdFailureImminent(Model B,Serial B,sdb,0xa7)",
                   "log 3: SsdProvider::sendIndication(Model B___Serial B___sdb,sdb)",
                   "broker: newThread(detached=1)", "err: SsdProvider::sendIndication - exit"}));
  EXPECT_EQ(broker.waitingThreads(), 1U);
}

TEST_F(Indications, AnEventShowsItsPercentageWithTwoDigits) {
  EXPECT_EQ(events::count(fail(a, 7), "(Model A,Serial A,sda,0x07)\n"), 1U);
  EXPECT_EQ(events::count(fail(a, 255), "(Model A,Serial A,sda,0xff)\n"), 1U);
}

TEST_F(Indications, AnEventBehindTheClosedGateIsDropped) {
  const std::string dropped =
      lines({"log 3: SsdProvider::SsdFailureImminent(Model A,Serial A,sda,0x60)", kDisabled});
  EXPECT_EQ(fail(a), dropped);  // neither
  enable();
  EXPECT_EQ(fail(a), dropped);  // no context
  (void)activate();
  (void)events::during([&] { provider->disableIndications(nullptr, request); });
  EXPECT_EQ(fail(a), dropped);  // disabled
  EXPECT_EQ(broker.waitingThreads(), 0U);
}

TEST_F(Indications, AnEventOfADriveThatIsNotInTheCacheIsDropped) {
  subscribe();
  SsdInformation other = a;
  other.physicalDrive = "sdz";
  EXPECT_EQ(fail(other),
            lines({"log 3: SsdProvider::SsdFailureImminent(Model A,Serial A,sdz,0x60)",
                   "log 1: SsdProvider::SsdFailureImminent - Associated ssd not found, device id: "
                   "Model A___Serial A___sdz"}));
  // Whole identifiers are compared, unlike the keys of requests.
  other.physicalDrive = "sd";
  EXPECT_EQ(events::count(fail(other), "Associated ssd not found"), 1U);
  other.physicalDrive = "sda1";
  EXPECT_EQ(events::count(fail(other), "Associated ssd not found"), 1U);
  EXPECT_EQ(broker.waitingThreads(), 0U);
}

TEST_F(Indications, AnEventFindsADriveWhoseTextsHoldZeroBytes) {
  SsdInformation padded = a;
  padded.serialNumber = std::string("S1\0\0\0\0", 6);
  core().drives = {b, padded};
  (void)events::during([&] {
    (void)provider->enumInstanceNames(nullptr, request, broker.result(),
                                      broker.path("root/cimv2", "KAV_SSDLifeMonitor"));
  });
  subscribe();
  EXPECT_EQ(events::count(fail(padded), "newThread"), 1U);
  // Of the same characters, but not the same bytes.
  SsdInformation bare = padded;
  bare.serialNumber = "S1";
  EXPECT_EQ(events::count(fail(bare), "Associated ssd not found"), 1U);
}

TEST_F(Indications, AnEventMarksTheFirstDriveOfThatIdentifier) {
  // The drives can't be read any more, so that requests leave the cache alone; what it holds shows
  // in the request during which the event arrives.
  subscribe();
  SsdInformation twin = a;
  twin.firmwareVersion = "Twin";
  core().drives = {a, twin, b};
  bool sent = false;
  events::onEach([&](const std::string& line) {
    // After the request's own reading of the drives, before the first entry is copied out.
    if (!sent && line == "log 3: SsdProvider::update") {
      sent = true;
    } else if (sent && line.find("= path1") != std::string::npos) {
      events::onEach({});
      provider->SsdFailureImminent(a.model, a.serialNumber, a.physicalDrive, 96);
      provider->SsdFailureImminent(b.model, b.serialNumber, b.physicalDrive, 96);
    }
  });
  const std::string seen = events::during([&] {
    (void)provider->enumInstances(nullptr, request, broker.result(),
                                  broker.path("root/cimv2", "KAV_SSDLifeMonitor"), nullptr);
  });
  // The first entry was on its way already; its twin isn't marked; the third one is.
  EXPECT_EQ(events::only("broker: instance1.setProperty(FailureImminent", seen),
            "broker: instance1.setProperty(FailureImminent, boolean 0)\n");
  EXPECT_EQ(events::only("broker: instance2.setProperty(FailureImminent", seen),
            "broker: instance2.setProperty(FailureImminent, boolean 0)\n");
  EXPECT_EQ(events::only("broker: instance3.setProperty(FailureImminent", seen),
            "broker: instance3.setProperty(FailureImminent, boolean 1)\n");
}

TEST_F(Indications, AMarkLastsUntilTheDrivesAreReadAgain) {
  subscribe();
  (void)fail(a);
  const std::string seen = events::during([&] {
    (void)provider->enumInstances(nullptr, request, broker.result(),
                                  broker.path("root/cimv2", "KAV_SSDLifeMonitor"), nullptr);
  });
  EXPECT_EQ(events::count(seen, "FailureImminent, boolean 1"), 0U);
}

TEST_F(Indications, AnEventFindsTheOldCacheWhileTheDrivesAreBeingRead) {
  subscribe();
  core().drives = {drive('Z', "sdz")};
  core().whileReading = [&] {
    provider->SsdFailureImminent(a.model, a.serialNumber, a.physicalDrive, 96);
  };
  const std::string seen = events::during([&] {
    (void)provider->enumInstanceNames(nullptr, request, broker.result(),
                                      broker.path("root/cimv2", "KAV_SSDLifeMonitor"));
  });
  EXPECT_EQ(events::count(seen, "newThread"), 1U);
}

TEST_F(Indications, AFailedReadingLeavesTheCacheAsItWas) {
  subscribe();
  core().listCode = 1;
  core().drives.clear();
  (void)events::during([&] {
    status = provider->enumInstanceNames(nullptr, request, broker.result(),
                                         broker.path("root/cimv2", "KAV_SSDLifeMonitor"));
  });
  EXPECT_EQ(status.rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(events::count(fail(a), "newThread"), 1U);
  EXPECT_EQ(events::count(fail(b), "newThread"), 1U);
}

TEST_F(Indications, AnEmptyReadingEmptiesTheCache) {
  subscribe();
  core().drives.clear();
  (void)events::during([&] {
    (void)provider->enumInstanceNames(nullptr, request, broker.result(),
                                      broker.path("root/cimv2", "KAV_SSDLifeMonitor"));
  });
  EXPECT_EQ(events::count(fail(a), "Associated ssd not found"), 1U);
}

TEST_F(Indications, WhatTheBrokerThrowsAtAnEventGoesNoFurther) {
  subscribe();
  broker.throwFrom("newThread", 1);
  EXPECT_EQ(fail(a),
            lines({"log 3: SsdProvider::SsdFailureImminent(Model A,Serial A,sda,0x60)",
                   "log 3: SsdProvider::sendIndication(Model A___Serial A___sda,sda)",
                   "broker: newThread(detached=1)",
                   "log 1: SsdProvider::SsdFailureImminent - sendIndication - Unknown Exception"}));
}

TEST_F(Indications, AStatusThrownAtAnEventIsShownAndGoesNoFurther) {
  subscribe();
  const auto shownOf = [this](CMPIString* message) {
    events::onEach([message](const std::string& line) {
      if (line == "broker: newThread(detached=1)") {
        throw CMPIStatus{CMPI_RC_ERR_FAILED, message};
      }
    });
    return events::only("log 1", fail(a));
  };
  EXPECT_EQ(shownOf(broker.string("none left")),
            "log 1: SsdProvider::SsdFailureImminent - sendIndication - CMPIStatus 1, none left\n");
  EXPECT_EQ(shownOf(nullptr),
            "log 1: SsdProvider::SsdFailureImminent - sendIndication - CMPIStatus 1, (null)\n");
}

TEST_F(Indications, AThreadThatTheBrokerAnswersNullForMayRunAllTheSame) {
  subscribe();
  broker.answerNull("newThread", 1);
  EXPECT_EQ(events::count(fail(a), "err: SsdProvider::sendIndication - exit"), 1U);
  EXPECT_EQ(events::count(indicationThread(), "deliverIndication"), 1U);
}

// ---- The indication's thread ----------------------------------------------------------------

class IndicationThreads : public Indications {
 protected:
  void SetUp() override {
    Indications::SetUp();
    subscribe();
    (void)fail(a);
  }
  std::string beginning() {
    return lines({format("err: IndicateThread - 0x%lx", static_cast<unsigned long>(pthread_self())),
                  format("err: IndicateThread - PhysicalDrive=sda, "
                         "DeviceID=Model A___Serial A___sda, ind_ctx=%p, broker=%p",
                         broker.address("prepared1"), static_cast<const void*>(broker.cmpi())),
                  "broker: prepareAttachThread(prepared1) = prepared2",
                  "broker: attachThread(prepared2)"});
  }
  static std::string end() {
    return lines({"broker: detachThread(prepared2)", "err: IndicateThread - Exit"});
  }
  /// The calls that build and deliver, the first `n` of seven.
  static std::string delivery(unsigned n) {
    const char* const calls[] = {
        "newObjectPath(root/cimv2, KAV_SSDLifeMonitorFailureImminent) = path1",
        "newInstance(path1) = instance1",
        "instance1.setProperty(DeviceID, chars \"Model A___Serial A___sda\")",
        "instance1.setProperty(PhysicalDrive, chars \"sda\")",
        "newDateTime() = dateTime1",
        "instance1.setProperty(IndicationTime, dateTime dateTime1)",
        "deliverIndication(prepared2, root/cimv2, instance1)",
    };
    std::string all;
    for (unsigned i = 0; i < n; ++i) {
      all += std::string("broker: ") + calls[i] + '\n';
    }
    return all;
  }
};

TEST_F(IndicationThreads, BuildAndDeliverOneIndicationAttachedToTheBroker) {
  const std::string seen = indicationThread();
  EXPECT_EQ(seen, beginning() + delivery(7) + end());
  EXPECT_EQ(broker.waitingThreads(), 0U);
}

TEST_F(IndicationThreads, OutliveTheProviderWithAContextOfTheirOwn) {
  const std::string going = events::during([&] { provider.reset(); });
  EXPECT_EQ(events::count(going, "release"), 0U);  // the thread still needs it
  EXPECT_EQ(events::count(going, "log 3: deleting indication context object"), 1U);
  const std::string begun = beginning();
  EXPECT_EQ(indicationThread(), std::string(begun).insert(begun.find("broker: attachThread"),
                                                          "broker: prepared1.release()\n") +
                                    delivery(7) + end());
}

TEST_F(IndicationThreads, ThatCantAttachReleaseTheirContextAndDetachAllTheSame) {
  broker.fail("attachThread", 1, CMPI_RC_ERR_ACCESS_DENIED, "no");
  const std::string seen = indicationThread();
  EXPECT_EQ(seen, beginning() +
                      lines({"log 1: indicateThread - CMAttachThread: CMPIStatus 2",
                             "broker: prepared2.release()"}) +
                      end());
}

TEST_F(IndicationThreads, WithoutAContextEndWithNothingDelivered) {
  broker.answerNull("prepareAttachThread", 1);
  const std::string seen = indicationThread();
  EXPECT_EQ(events::count(seen, "deliverIndication"), 0U);
  EXPECT_EQ(events::only("log", seen), "log 1: indicateThread - CMAttachThread: CMPIStatus 1\n");
  EXPECT_EQ(events::count(seen, "err: IndicateThread - Exit\n"), 1U);
}

TEST_F(IndicationThreads, LogTheFirstStepThatFailsAndDetach) {
  const struct {
    const char* call;
    unsigned nth;
    const char* routine;
  } steps[] = {
      {"newObjectPath", 1, "MakeNewObjectPath"},     {"newInstance", 1, "MakeNewInstance"},
      {"setProperty", 1, "SetCharsProperty"},        {"setProperty", 2, "SetCharsProperty"},
      {"newDateTime", 1, "MakeNewDateTime"},         {"setProperty", 3, "SetDateTimeProperty"},
      {"deliverIndication", 1, "deliverIndication"},
  };
  unsigned step = 0;
  for (const auto& [call, nth, routine] : steps) {
    ++step;
    SCOPED_TRACE(step);
    broker.fail(call, nth, CMPI_RC_ERR_ALREADY_EXISTS, "too many");
    const std::string seen = indicationThread();
    const std::string failure = lines({std::string("out: Utils::") + routine + " - bad status 11",
                                       "log 1: indicateThread - CMPIStatus 11, too many"});
    EXPECT_EQ(events::only("out", seen) + events::only("log", seen), failure);
    EXPECT_EQ(events::count(seen, "detachThread"), 1U);
    EXPECT_EQ(events::count(seen, "broker: "), 2 + step + 1);
    EXPECT_LT(seen.find("log 1: "), seen.find("detachThread"));
    EXPECT_EQ(events::count(seen, "release"), 0U);
    EXPECT_EQ(events::count(seen, "err: IndicateThread - Exit\n"), 1U);
    broker.clearFailures();
    (void)fail(a);
  }
}

TEST_F(IndicationThreads, ShowAStatusWithoutAMessageAsNull) {
  broker.fail("deliverIndication", 1, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(events::only("log", indicationThread()),
            "log 1: indicateThread - CMPIStatus 1, (null)\n");
}

TEST_F(IndicationThreads, LogAnythingElseThatIsThrownAsUnknownAndDetach) {
  broker.throwFrom("newDateTime", 1);
  EXPECT_EQ(indicationThread(),
            beginning() + delivery(5) + "log 1: indicateThread - Unknown Exception\n" + end());
}

// ---- Brokers that know the threads that may start one -----------------------------------------

class PegasusIndications : public Indications {
 protected:
  PegasusIndications() : Indications("Pegasus") {}
};

TEST_F(PegasusIndications, AttachTheCallingThreadAroundTheStartOfTheirThread) {
  subscribe();
  EXPECT_EQ(fail(a),
            lines({"log 3: SsdProvider::SsdFailureImminent(Model A,Serial A,sda,0x60)",
                   "log 3: SsdProvider::sendIndication(Model A___Serial A___sda,sda)",
                   "broker: prepareAttachThread(prepared1) = prepared2",
                   "broker: attachThread(prepared2)", "broker: newThread(detached=1)",
                   "broker: detachThread(prepared2)", "err: SsdProvider::sendIndication - exit"}));
  EXPECT_EQ(events::count(indicationThread(), "deliverIndication(prepared3, "), 1U);
}

TEST_F(PegasusIndications, StartTheirThreadEvenWhenTheBrokerGivesNoContextForTheCaller) {
  subscribe();
  broker.answerNull("prepareAttachThread", 1);
  const std::string seen = fail(a);
  EXPECT_EQ(events::count(seen, "newThread"), 1U);
  EXPECT_EQ(events::count(seen, "attachThread("), 0U);
  EXPECT_EQ(events::count(seen, "detachThread("), 0U);
}

TEST_F(PegasusIndications, DetachTheCallingThreadWhateverTheStartThrows) {
  subscribe();
  broker.throwFrom("newThread", 1);
  EXPECT_EQ(events::count(fail(a), "broker: detachThread(prepared2)"), 1U);
}

class OtherBrokers : public ::testing::TestWithParam<const char*> {};

TEST_P(OtherBrokers, StartThreadsFromCallersThatTheyDontKnow) {
  RecordingBroker broker(GetParam());
  core() = FakeCore();
  core().drives = {drive('A', "sda")};
  std::string seen;
  (void)events::during([&] {
    SsdProvider provider;
    provider.setBroker(broker.cmpi());
    provider.initialise(nullptr);
    (void)provider.activateFilter(nullptr, broker.context(), nullptr, nullptr,
                                  broker.path("root/cimv2", "KAV_SSDLifeMonitorFailureImminent"),
                                  1);
    provider.enableIndications(nullptr, nullptr);
    events::onEach([&](const std::string& line) { seen += line + '\n'; });
    provider.SsdFailureImminent("Model A", "Serial A", "sda", 96);
    events::onEach({});
    broker.runThread();
  });
  EXPECT_EQ(events::only("broker", seen), "broker: newThread(detached=1)\n");
}

INSTANTIATE_TEST_SUITE_P(Named, OtherBrokers,
                         ::testing::Values("sfcb", "pegasus", "PEGASUS", "Pegasus2", "Pegasu", "",
                                           static_cast<const char*>(nullptr)));

}  // namespace
