// The operations that are passed on to the provider, and those that are refused at once.

#include <functional>
#include <string>
#include <vector>

#include "tests/provider/EntryPointsTest.h"

namespace {

using events::format;

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

// ---- Refused ----------------------------------------------------------------------------------

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

}  // namespace
