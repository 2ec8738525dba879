#include "provider/EntryPoints.h"

#include <functional>

#include <unistd.h>

#include "provider/FunctionTables.h"
#include "provider/ProviderState.h"
#include "provider/SsdProvider.h"
#include "tests/provider/ProviderFixture.h"

namespace {

using events::format;

/// The module as a broker sees it. No provider exists at first.
class EntryPoints : public ProviderTest {
 protected:
  void SetUp() override {
    ProviderTest::SetUp();
    context = broker.context();
    result = broker.result();
    ssds = broker.path("root/cimv2", "KAV_SSDLifeMonitor");
    failures = broker.path("root/cimv2", "KAV_SSDLifeMonitorFailureImminent");
  }

  std::string createInstanceMi() {
    return events::during([&] {
      EXPECT_EQ(SsdProvider_Create_InstanceMI(broker.cmpi(), context, &status), &instanceMI);
    });
  }
  std::string createIndicationMi() {
    return events::during([&] {
      EXPECT_EQ(SsdProvider_Create_IndicationMI(broker.cmpi(), context, &status), &indicationMI);
    });
  }
  std::string cleanInstanceMi(CMPIBoolean terminating = 1) {
    return events::during([&] { status = drvInstanceCleanup(&instanceMI, context, terminating); });
  }
  std::string cleanIndicationMi(CMPIBoolean terminating = 1) {
    return events::during(
        [&] { status = drvIndicationCleanup(&indicationMI, context, terminating); });
  }
  /// Runs an entry; its status goes to `status`.
  std::string entry(const std::function<CMPIStatus()>& call) {
    return events::during([&] { status = call(); });
  }
  void isStatus(CMPIrc rc) const {
    EXPECT_EQ(status.rc, rc);
    EXPECT_EQ(status.msg, nullptr);
  }
  static std::string provider() { return format("%p", static_cast<void*>(drvProvider.load())); }

  const CMPIContext* context = nullptr;
  const CMPIResult* result = nullptr;
  const CMPIObjectPath* ssds = nullptr;
  const CMPIObjectPath* failures = nullptr;
  CMPIStatus status{CMPI_RC_ERROR, nullptr};
};

// ---- Factories ------------------------------------------------------------------------------

std::string initialises() {
  return lines({"log 3: SsdProvider::constructor", "log 3: SsdProvider::initialise",
                "core: initialiseSsdDriver", "log 3: SsdProvider::initSensorProvider",
                "log 3: SsdProvider::update", "core: getSsdInformationList of 0 records",
                "log 2: SsdProvider created and initialised"});
}

/// The banner's line, whatever its date and time, and the lines around it.
void splitBanner(const std::string& seen, std::string& banner, std::string& rest) {
  const std::size_t begin = seen.find("log 3: Zarn");
  ASSERT_NE(begin, std::string::npos) << seen;
  const std::size_t end = seen.find('\n', begin) + 1;
  banner = seen.substr(begin, end - begin);
  rest = seen.substr(0, begin) + seen.substr(end);
}

std::string instanceFactoryLine(const RecordingBroker& broker) {
  return format("log 3: SsdProvider_Create_InstanceMI, broker = %p, version = %i\n",
                static_cast<const void*>(broker.cmpi()), RecordingBroker::kEncapsulationVersion);
}

std::string indicationFactoryLines(const RecordingBroker& broker) {
  const std::string line =
      format("SsdProvider_Create_IndicationMI, broker=%p, version=%i",
             static_cast<const void*>(broker.cmpi()), RecordingBroker::kEncapsulationVersion);
  return lines({"err: " + line, format("err: SsdProvider_Create_IndicationMI - pid=%i", getpid()),
                "log 3: " + line});
}

TEST_F(EntryPoints, TheInstanceFactoryLogsItsBannerAndMakesTheProvider) {
  std::string banner;
  std::string rest;
  splitBanner(createInstanceMi(), banner, rest);
  EXPECT_EQ(rest, instanceFactoryLine(broker) + initialises());
  EXPECT_EQ(status.rc, CMPI_RC_OK);
  EXPECT_NE(drvProvider, nullptr);
  EXPECT_EQ(instanceMI.hdl, drvProvider.load());
  EXPECT_EQ(indicationMI.hdl, nullptr);
  EXPECT_EQ(use_count, 1);
}

TEST_F(EntryPoints, TheBannerNamesTheReleaseAndTheDayAndTimeOfItsBuild) {
  std::string banner;
  std::string rest;
  splitBanner(createInstanceMi(), banner, rest);
  EXPECT_TRUE(testing::internal::RE::FullMatch(
      banner, testing::internal::RE("log 3: Zarn SSD Life Monitor for Linux release v1\\.2\\.0 "
                                    "dated [A-Z][a-z][a-z] [ 123][0-9] [0-9][0-9][0-9][0-9] at "
                                    "[0-2][0-9]:[0-5][0-9]:[0-5][0-9]\n")))
      << banner;
}

TEST_F(EntryPoints, TheIndicationFactoryWritesItsLinesAndMakesTheProviderWithoutABanner) {
  EXPECT_EQ(createIndicationMi(), indicationFactoryLines(broker) + initialises());
  EXPECT_EQ(status.rc, CMPI_RC_OK);
  EXPECT_NE(drvProvider, nullptr);
  EXPECT_EQ(indicationMI.hdl, drvProvider.load());
  EXPECT_EQ(instanceMI.hdl, nullptr);
  EXPECT_EQ(use_count, 1);
}

TEST_F(EntryPoints, TheSecondFactorySharesTheProvider) {
  (void)createInstanceMi();
  const SsdProvider* first = drvProvider;
  EXPECT_EQ(createIndicationMi(), indicationFactoryLines(broker));
  EXPECT_EQ(drvProvider, first);
  EXPECT_EQ(indicationMI.hdl, nullptr);
  EXPECT_EQ(use_count, 2);
}

TEST_F(EntryPoints, TheInstanceFactoryAsTheSecondOneSharesTheProviderToo) {
  (void)createIndicationMi();
  const SsdProvider* first = drvProvider;
  std::string banner;
  std::string rest;
  splitBanner(createInstanceMi(), banner, rest);
  EXPECT_EQ(rest, instanceFactoryLine(broker));
  EXPECT_EQ(drvProvider, first);
  EXPECT_EQ(instanceMI.hdl, nullptr);
  EXPECT_EQ(use_count, 2);
  (void)entry([&] { return drvEnumInstanceNames(&instanceMI, context, result, ssds); });
  isStatus(CMPI_RC_OK);
}

TEST_F(EntryPoints, EveryFactoryCallCounts) {
  for (int count = 1; count <= 3; ++count) {
    (void)createInstanceMi();
    EXPECT_EQ(use_count, count);
  }
}

TEST_F(EntryPoints, TheFactoriesSetTheCodeAloneOfTheirStatus) {
  CMPIString* const message = broker.string("left alone");
  status = {CMPI_RC_ERR_FAILED, message};
  (void)createInstanceMi();
  EXPECT_EQ(status.rc, CMPI_RC_OK);
  EXPECT_EQ(status.msg, message);
  status = {CMPI_RC_ERR_FAILED, message};
  (void)createIndicationMi();
  EXPECT_EQ(status.rc, CMPI_RC_OK);
  EXPECT_EQ(status.msg, message);
}

TEST_F(EntryPoints, TheFactoriesNeedNoStatus) {
  (void)events::during([&] {
    EXPECT_EQ(SsdProvider_Create_InstanceMI(broker.cmpi(), context, nullptr), &instanceMI);
    EXPECT_EQ(SsdProvider_Create_IndicationMI(broker.cmpi(), context, nullptr), &indicationMI);
  });
  EXPECT_EQ(use_count, 2);
}

TEST_F(EntryPoints, TheProviderKeepsTheBrokerOfTheFirstFactory) {
  (void)createInstanceMi();
  CMPIBroker other = *broker.cmpi();
  (void)events::during([&] { SsdProvider_Create_IndicationMI(&other, context, &status); });
  // The recording broker takes calls with its own address only.
  (void)entry([&] { return drvEnumInstances(&instanceMI, context, result, ssds, nullptr); });
  isStatus(CMPI_RC_OK);
}

TEST_F(EntryPoints, AFailedInitialisationIsCountedAndNotTriedAgain) {
  core().initialiseCode = 4;
  std::string seen = createInstanceMi();
  EXPECT_EQ(status.rc, CMPI_RC_OK);
  EXPECT_EQ(events::only("log 1", seen),
            "log 1: SsdProvider::initialize - Initialise SSD Driver failed - "
            "sscode=0x00000004\n");
  EXPECT_NE(drvProvider, nullptr);
  EXPECT_EQ(use_count, 1);

  core().initialiseCode = 0;
  seen = createIndicationMi();
  EXPECT_EQ(seen, indicationFactoryLines(broker));
  EXPECT_EQ(status.rc, CMPI_RC_OK);
  EXPECT_EQ(use_count, 2);
  (void)entry([&] { return drvEnumInstances(&instanceMI, context, result, ssds, nullptr); });
  isStatus(CMPI_RC_ERR_METHOD_NOT_AVAILABLE);

  (void)cleanInstanceMi();
  (void)cleanIndicationMi();
  EXPECT_EQ(drvProvider, nullptr);
  (void)createInstanceMi();
  (void)entry([&] { return drvEnumInstances(&instanceMI, context, result, ssds, nullptr); });
  isStatus(CMPI_RC_OK);
}

TEST_F(EntryPoints, AProviderThatIsBeingInitialisedIsKnownButNotReady) {
  core().whileReading = [this] {
    EXPECT_NE(drvProvider, nullptr);
    EXPECT_EQ(instanceMI.hdl, drvProvider.load());
    EXPECT_EQ(use_count, 0);
    // Answered at once: the factory holds the lock.
    status = drvEnumInstances(&instanceMI, context, result, ssds, nullptr);
    isStatus(CMPI_RC_ERR_METHOD_NOT_AVAILABLE);
  };
  const std::string seen = createInstanceMi();
  EXPECT_EQ(events::count(seen, "drvEnumInstances - provider=" + provider()), 1U);
  core().whileReading = {};
  (void)entry([this] { return drvEnumInstances(&instanceMI, context, result, ssds, nullptr); });
  isStatus(CMPI_RC_OK);
}

// ---- Forwarding entries ---------------------------------------------------------------------

struct Forwarding {
  const char* name;
  std::string text;  ///< of its own line, up to the provider's address
  std::string toStandardError;
  std::function<CMPIStatus(const CMPIContext*, const CMPIResult*, const CMPIObjectPath*)> call;
  bool ofInstances;
  std::string operation;  ///< the line that the provider's operation begins with
};

const std::vector<Forwarding>& forwardings() {
  using Context = const CMPIContext*;
  using Result = const CMPIResult*;
  using Path = const CMPIObjectPath*;
  static const std::string kSsd = "Object path: class = KAV_SSDLifeMonitor, namespace = root/cimv2";
  static const std::string kFilter = "Object path: class = KAV_SSDLifeMonitorFailureImminent";
  static const std::vector<Forwarding> all = {
      {"drvEnumInstanceNames",
       "drvEnumInstanceNames - provider=", "drvEnumInstanceNames - provider=",
       [](Context context, Result result, Path path) {
         return drvEnumInstanceNames(&instanceMI, context, result, path);
       },
       true,
       "SsdProvider::enumInstanceNames - Reference " + std::string("o") + kSsd.substr(1) + "\\n"},
      {"drvEnumInstances", "drvEnumInstances - provider=", "",
       [](Context context, Result result, Path path) {
         return drvEnumInstances(&instanceMI, context, result, path, nullptr);
       },
       true, "SsdProvider::enumInstances - Reference " + std::string("o") + kSsd.substr(1) + "\\n"},
      {"drvGetInstance", "drvGetInstance - provider=", "",
       [](Context context, Result result, Path path) {
         return drvGetInstance(&instanceMI, context, result, path, nullptr);
       },
       true, "SsdProvider::getInstance - " + kSsd},
      {"drvAuthorizeFilter", "drvAuthorizeFilter - provider = ", "",
       [](Context context, Result, Path path) {
         return drvAuthorizeFilter(&indicationMI, context, nullptr, "class", path, "owner");
       },
       false, "SsdProvider::authorizeFilter - " + kFilter},
      {"drvMustPoll", "drvMustPoll - provider=", "",
       [](Context context, Result, Path path) {
         return drvMustPoll(&indicationMI, context, nullptr, "class", path);
       },
       false, "SsdProvider::mustPoll - not supported"},
      {"drvActivateFilter", "drvActivateFilter - provider = ", "",
       [](Context context, Result, Path path) {
         return drvActivateFilter(&indicationMI, context, nullptr, "class", path, 1);
       },
       false, "SsdProvider::activateFilter - " + kFilter},
      {"drvDeActivateFilter", "drvDeActivateFilter - provider = ", "",
       [](Context context, Result, Path path) {
         return drvDeActivateFilter(&indicationMI, context, nullptr, "class", path, 1);
       },
       false, "SsdProvider::deActivateFilter - " + kFilter},
      {"drvEnableIndications", "enableIndications - provider = ", "",
       [](Context context, Result, Path) {
         drvEnableIndications(&indicationMI, context);
         return CMPIStatus{CMPI_RC_ERR_METHOD_NOT_AVAILABLE, nullptr};
       },
       false, ""},
      {"drvDisableIndications", "drvDisableIndications - provider = ", "",
       [](Context context, Result, Path) {
         drvDisableIndications(&indicationMI, context);
         return CMPIStatus{CMPI_RC_ERR_METHOD_NOT_AVAILABLE, nullptr};
       },
       false, ""},
  };
  return all;
}

class ForwardingEntries : public EntryPoints {
 protected:
  std::string run(const Forwarding& forwarding) {
    const CMPIObjectPath* path = forwarding.ofInstances ? ssds : failures;
    return entry([&] { return forwarding.call(context, result, path); });
  }
  static std::string ownLines(const Forwarding& forwarding, const std::string& provider) {
    std::string own;
    if (!forwarding.toStandardError.empty()) {
      own += "err: " + forwarding.toStandardError + provider + '\n';
    }
    return own + "log 3: " + forwarding.text + provider + '\n';
  }
};

TEST_F(ForwardingEntries, LogTheirOwnLineAndAnswer16WithoutAProvider) {
  for (const Forwarding& forwarding : forwardings()) {
    SCOPED_TRACE(forwarding.name);
    EXPECT_EQ(run(forwarding), ownLines(forwarding, "(nil)"));
    isStatus(CMPI_RC_ERR_METHOD_NOT_AVAILABLE);
  }
}

TEST_F(ForwardingEntries, LogTheirOwnLineAndAnswer16WithAnUninitialisedProvider) {
  core().initialiseCode = 3;
  (void)createInstanceMi();
  for (const Forwarding& forwarding : forwardings()) {
    SCOPED_TRACE(forwarding.name);
    EXPECT_EQ(run(forwarding), ownLines(forwarding, provider()));
    isStatus(CMPI_RC_ERR_METHOD_NOT_AVAILABLE);
  }
}

TEST_F(ForwardingEntries, LogTheirOwnLineThenPassTheRequestOn) {
  (void)createInstanceMi();
  for (const Forwarding& forwarding : forwardings()) {
    SCOPED_TRACE(forwarding.name);
    const std::string seen = run(forwarding);
    const std::string own = ownLines(forwarding, provider());
    const std::string operation =
        forwarding.operation.empty()
            ? format("SsdProvider::%s(%p,%p)",
                     forwarding.name == std::string("drvEnableIndications") ? "enableIndications"
                                                                            : "disableIndications",
                     static_cast<void*>(&indicationMI), static_cast<const void*>(context))
            : forwarding.operation;
    EXPECT_EQ(seen.substr(0, own.size() + operation.size() + 8),
              own + "log 3: " + operation + '\n');
  }
}

TEST_F(ForwardingEntries, AnswerWithTheStatusOfTheOperation) {
  (void)createInstanceMi();
  const auto status_of = [this](const char* name, const CMPIObjectPath* path) {
    for (const Forwarding& forwarding : forwardings()) {
      if (forwarding.name == std::string(name)) {
        (void)entry([&] { return forwarding.call(context, result, path); });
      }
    }
    EXPECT_EQ(status.msg, nullptr);
    return status.rc;
  };
  const CMPIObjectPath* elsewhere = broker.path("root/other", "KAV_SSDLifeMonitor");
  const CMPIObjectPath* key = broker.path(std::string(kModelBId));
  EXPECT_EQ(status_of("drvEnumInstanceNames", ssds), CMPI_RC_OK);
  EXPECT_EQ(status_of("drvEnumInstanceNames", elsewhere), CMPI_RC_ERR_INVALID_NAMESPACE);
  EXPECT_EQ(status_of("drvEnumInstances", ssds), CMPI_RC_OK);
  EXPECT_EQ(status_of("drvEnumInstances", failures), CMPI_RC_ERR_INVALID_CLASS);
  EXPECT_EQ(status_of("drvGetInstance", key), CMPI_RC_OK);
  EXPECT_EQ(status_of("drvGetInstance", elsewhere), CMPI_RC_ERR_INVALID_NAMESPACE);
  EXPECT_EQ(status_of("drvAuthorizeFilter", failures), CMPI_RC_OK);
  EXPECT_EQ(status_of("drvAuthorizeFilter", ssds), CMPI_RC_ERR_INVALID_CLASS);
  EXPECT_EQ(status_of("drvMustPoll", failures), CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(status_of("drvActivateFilter", failures), CMPI_RC_OK);
  EXPECT_EQ(status_of("drvActivateFilter", ssds), CMPI_RC_ERR_INVALID_CLASS);
  EXPECT_EQ(status_of("drvDeActivateFilter", failures), CMPI_RC_OK);
  EXPECT_EQ(status_of("drvDeActivateFilter", ssds), CMPI_RC_ERR_INVALID_CLASS);
}

TEST_F(ForwardingEntries, PassTheResultAndThePathOn) {
  (void)createInstanceMi();
  const std::string names = run(forwardings()[0]);
  EXPECT_EQ(events::count(names, "broker: result.returnObjectPath"), 3U);
  EXPECT_EQ(events::count(names, "broker: result.returnDone"), 1U);
  const std::string instances = run(forwardings()[1]);
  EXPECT_EQ(events::count(instances, "broker: result.returnInstance"), 3U);
  const std::string one = entry([&] {
    return drvGetInstance(&instanceMI, context, result, broker.path(std::string(kModelBId)),
                          nullptr);
  });
  EXPECT_EQ(events::count(one, "getKey(DeviceID)"), 2U);
  EXPECT_EQ(events::count(one, "broker: result.returnInstance(instance4)"), 1U);
}

TEST_F(ForwardingEntries, PassTheActivationFlagsOn) {
  (void)createInstanceMi();
  for (const CMPIBoolean flag : std::initializer_list<CMPIBoolean>{0, 1, 2, 255}) {
    const std::size_t set = flag != 0 ? 1 : 0;
    EXPECT_EQ(events::count(entry([&] {
                              return drvActivateFilter(&indicationMI, context, nullptr, nullptr,
                                                       failures, flag);
                            }),
                            "First activiation"),
              set);
    EXPECT_EQ(events::count(entry([&] {
                              return drvDeActivateFilter(&indicationMI, context, nullptr, nullptr,
                                                         failures, flag);
                            }),
                            "Last deActiviation"),
              set);
  }
}

TEST_F(ForwardingEntries, PrepareTheIndicationContextFromTheRequestsOwn) {
  (void)createInstanceMi();
  const std::string seen = entry(
      [&] { return drvActivateFilter(&indicationMI, context, nullptr, nullptr, failures, 0); });
  EXPECT_EQ(events::count(seen, "broker: prepareAttachThread(context) = prepared1"), 1U);
}

TEST_F(ForwardingEntries, EnableAndDisableIndications) {
  (void)createInstanceMi();
  (void)entry(
      [&] { return drvActivateFilter(&indicationMI, context, nullptr, nullptr, failures, 1); });
  const auto event = [] {
    return events::during(
        [] { core().listener->SsdFailureImminent("Model A", "Serial A", "sda", 96); });
  };
  (void)events::during([&] { drvEnableIndications(&indicationMI, context); });
  EXPECT_EQ(events::count(event(), "newThread"), 1U);
  (void)events::during([&] { drvDisableIndications(&indicationMI, context); });
  EXPECT_EQ(events::count(event(), "newThread"), 0U);
}

// ---- Refused entries ------------------------------------------------------------------------

TEST_F(EntryPoints, OperationsThatWouldChangeInstancesAreRefusedWith7EvenWithoutAProvider) {
  const auto refusedWith = [this](const char* line, const std::function<CMPIStatus()>& call) {
    EXPECT_EQ(entry(call), std::string("out: ") + line + '\n');
    isStatus(CMPI_RC_ERR_NOT_SUPPORTED);
  };
  for (int round = 0; round < 2; ++round) {
    refusedWith("drvCreateInstance - Unsupported",
                [&] { return drvCreateInstance(&instanceMI, context, result, ssds, nullptr); });
    refusedWith("drvModifyInstance - Unsupported", [&] {
      return drvModifyInstance(&instanceMI, context, result, ssds, nullptr, nullptr);
    });
    refusedWith("drvDeleteInstance - Unsupported",
                [&] { return drvDeleteInstance(&instanceMI, context, result, ssds); });
    refusedWith("drvExecQuery - Unsupported", [&] {
      return drvExecQuery(&instanceMI, context, result, ssds, "SELECT *", "WQL");
    });
    (void)createInstanceMi();
  }
}

TEST_F(EntryPoints, RefusedOperationsDoNotWaitForTheProviderLock) {
  __drv_synch();
  EXPECT_EQ(entry([&] { return drvDeleteInstance(&instanceMI, context, result, ssds); }),
            "out: drvDeleteInstance - Unsupported\n");
  __drv_unsynch();
}

// ---- Clean-ups ------------------------------------------------------------------------------

std::string countsDown(const std::string& provider, int from) {
  const std::string line =
      format("__drv_cleanup - provider=%s, use_count=%i", provider.c_str(), from);
  return lines({"err: " + line, "log 3: " + line,
                format("out: __drv_cleanup -  use_count=%d after decrement", from - 1)});
}

std::string instanceCleanup(const std::string& provider, unsigned terminating) {
  return format("log 3: drvInstanceCleanup - provider = %s, terminating=%x\n", provider.c_str(),
                terminating);
}

std::string indicationCleanup(const std::string& provider, unsigned terminating) {
  const std::string line =
      format("drvIndicationCleanup - provider=%s, terminating=%x", provider.c_str(), terminating);
  return lines({"err: " + line, "log 3: " + line});
}

std::string closesTheGate() {
  return lines({"log 3: SsdProvider::indicationCleanup", "core: unregisterSsdListener"});
}

std::string destroys(const void* service) {
  return lines({"core: withdrawSsdListener",
                format("log 3: SsdProvider::destructor - service=0x%p", service),
                "log 3: deleting service object", "log 2: SsdProvider - provider destroyed"});
}

TEST_F(EntryPoints, ACleanUpThatDoesNotTerminateAnswers50AndChangesNothing) {
  EXPECT_EQ(cleanInstanceMi(0), instanceCleanup("(nil)", 0));
  isStatus(CMPI_RC_DO_NOT_UNLOAD);
  (void)createInstanceMi();
  (void)createIndicationMi();
  EXPECT_EQ(cleanInstanceMi(0), instanceCleanup(provider(), 0));
  isStatus(CMPI_RC_DO_NOT_UNLOAD);
  EXPECT_EQ(cleanIndicationMi(0), indicationCleanup(provider(), 0));
  isStatus(CMPI_RC_DO_NOT_UNLOAD);
  EXPECT_EQ(use_count, 2);
  EXPECT_NE(drvProvider, nullptr);
}

TEST_F(EntryPoints, ATerminatingCleanUpWithoutAProviderAnswers0AndLeavesTheCount) {
  EXPECT_EQ(cleanInstanceMi(1), instanceCleanup("(nil)", 1));
  isStatus(CMPI_RC_OK);
  EXPECT_EQ(cleanIndicationMi(1), indicationCleanup("(nil)", 1));
  isStatus(CMPI_RC_OK);
  EXPECT_EQ(use_count, 0);
}

TEST_F(EntryPoints, TheFirstOfTwoCleanUpsOnlyCountsAndTheSecondDestroys) {
  (void)createInstanceMi();
  (void)createIndicationMi();
  const std::string theProvider = provider();
  const void* service = core().api;
  EXPECT_EQ(cleanInstanceMi(1), instanceCleanup(theProvider, 1) + countsDown(theProvider, 2));
  isStatus(CMPI_RC_OK);
  EXPECT_EQ(use_count, 1);
  (void)entry([&] { return drvEnumInstances(&instanceMI, context, result, ssds, nullptr); });
  isStatus(CMPI_RC_OK);

  EXPECT_EQ(cleanIndicationMi(1), indicationCleanup(theProvider, 1) + closesTheGate() +
                                      countsDown(theProvider, 1) + destroys(service));
  isStatus(CMPI_RC_OK);
  EXPECT_EQ(use_count, 0);
  EXPECT_EQ(drvProvider, nullptr);
  (void)entry([&] { return drvEnumInstances(&instanceMI, context, result, ssds, nullptr); });
  isStatus(CMPI_RC_ERR_METHOD_NOT_AVAILABLE);
}

TEST_F(EntryPoints, TheCleanUpsMayComeInTheOtherOrder) {
  (void)createInstanceMi();
  (void)createIndicationMi();
  const std::string theProvider = provider();
  EXPECT_EQ(cleanIndicationMi(1),
            indicationCleanup(theProvider, 1) + closesTheGate() + countsDown(theProvider, 2));
  isStatus(CMPI_RC_OK);
  EXPECT_EQ(cleanInstanceMi(1),
            instanceCleanup(theProvider, 1) + countsDown(theProvider, 1) + destroys(core().api));
  isStatus(CMPI_RC_OK);
}

TEST_F(EntryPoints, AnyTerminatingFlagButZeroTerminatesAndShowsInHexadecimal) {
  (void)createInstanceMi();
  (void)createIndicationMi();
  const std::string theProvider = provider();
  EXPECT_EQ(events::count(cleanInstanceMi(0xAB), "terminating=ab\n"), 1U);
  isStatus(CMPI_RC_OK);
  EXPECT_EQ(events::count(cleanIndicationMi(16), "terminating=10\n"), 2U);
  isStatus(CMPI_RC_OK);
  EXPECT_EQ(drvProvider, nullptr);
}

TEST_F(EntryPoints, AFreshProviderIsMadeAfterTheLastCleanUp) {
  (void)createInstanceMi();
  (void)cleanInstanceMi();
  ASSERT_EQ(drvProvider, nullptr);
  std::string banner;
  std::string rest;
  splitBanner(createInstanceMi(), banner, rest);
  EXPECT_EQ(rest, instanceFactoryLine(broker) + initialises());
  EXPECT_EQ(use_count, 1);
}

TEST_F(EntryPoints, AProviderThatSaysThatItIsGoneIsForgotten) {
  (void)createInstanceMi();
  bool forgotten = false;
  events::onEach([&](const std::string& line) {
    if (line == "log 2: SsdProvider - provider destroyed") {
      forgotten = drvProvider == nullptr;
    }
  });
  (void)cleanInstanceMi();
  EXPECT_TRUE(forgotten);
}

TEST_F(EntryPoints, AnUninitialisedProviderIsCleanedUpLikeAnyOther) {
  core().initialiseCode = 3;
  (void)createIndicationMi();
  const std::string theProvider = provider();
  EXPECT_EQ(cleanIndicationMi(1), indicationCleanup(theProvider, 1) + closesTheGate() +
                                      countsDown(theProvider, 1) + destroys(core().api));
  isStatus(CMPI_RC_OK);
}

TEST_F(EntryPoints, ACleanUpReleasesTheIndicationContext) {
  (void)createIndicationMi();
  (void)entry(
      [&] { return drvActivateFilter(&indicationMI, context, nullptr, nullptr, failures, 1); });
  const std::string seen = cleanIndicationMi(1);
  EXPECT_EQ(events::only("broker", seen), "broker: prepared1.release()\n");
  EXPECT_LT(seen.find("log 3: deleting indication context object"), seen.find("prepared1"));
}

TEST_F(EntryPoints, NoEventReachesAProviderThatWentByInstanceCleanUpsAlone) {
  (void)createInstanceMi();
  (void)entry(
      [&] { return drvActivateFilter(&indicationMI, context, nullptr, nullptr, failures, 1); });
  ASSERT_NE(core().listener, nullptr);
  (void)cleanInstanceMi();
  EXPECT_EQ(core().listener, nullptr);
}

// ---- The exported helpers -------------------------------------------------------------------

TEST_F(EntryPoints, TheUseCountGoesUpAndDownByOneAndIsNeverClamped) {
  __incrUseCount();
  EXPECT_EQ(use_count, 1);
  __decrUseCount();
  __decrUseCount();
  EXPECT_EQ(use_count, -1);
}

TEST_F(EntryPoints, CountingDownWithoutAProviderIsHarmless) {
  EXPECT_EQ(events::during([] {
              __drv_synch();
              __drv_cleanup();
              __drv_unsynch();
            }),
            countsDown("(nil)", 0));
  EXPECT_EQ(use_count, -1);
}

}  // namespace
