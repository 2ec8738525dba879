// Filters: who may subscribe, and what opens and closes the gate.

#include "tests/provider/IndicationsTest.h"

namespace {

using events::format;

constexpr char kPath[] = "Object path: class = KAV_SSDLifeMonitorFailureImminent";

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

}  // namespace
