#include <functional>
#include <memory>

#include "provider/SsdProvider.h"
#include "tests/provider/ProviderFixture.h"

namespace {

class InstanceRequests : public InitialisedProvider {
 protected:
  void SetUp() override {
    InitialisedProvider::SetUp();
    ASSERT_TRUE(provider->isInitialised());
  }

  /// Runs a request; what was seen goes to `seen`, its code is returned.
  CMPIrc code(const std::function<CMPIStatus()>& request) {
    CMPIStatus status{};
    seen = events::during([&] { status = request(); });
    EXPECT_EQ(status.msg, nullptr);
    return status.rc;
  }
  CMPIrc enumerateNames(const CMPIObjectPath* path) {
    return code([&] {
      return provider->enumInstanceNames(nullptr, broker.context(), broker.result(), path);
    });
  }
  CMPIrc enumerate(const CMPIObjectPath* path) {
    return code([&] {
      return provider->enumInstances(nullptr, broker.context(), broker.result(), path, nullptr);
    });
  }
  CMPIrc get(const CMPIObjectPath* path) {
    return code([&] {
      return provider->getInstance(nullptr, broker.context(), broker.result(), path, nullptr);
    });
  }
  CMPIObjectPath* ssdClass() { return broker.path("root/cimv2", "KAV_SSDLifeMonitor"); }

  std::string seen;

  const SsdInformation a = drive('A', "sda");
  const SsdInformation b = drive('B', "sdb");
  const SsdInformation c = drive('C', "nvme0");
};

std::string reads() {
  return "log 3: SsdProvider::update\ncore: getSsdInformationList of 0 records\n";
}

constexpr char kDone[] = "broker: result.returnDone()\n";
constexpr char kNamesRequest[] =
    "log 3: SsdProvider::enumInstanceNames - Reference object path: class = KAV_SSDLifeMonitor, "
    "namespace = root/cimv2\\n\n";
constexpr char kInstancesRequest[] =
    "log 3: SsdProvider::enumInstances - Reference object path: class = KAV_SSDLifeMonitor, "
    "namespace = root/cimv2\\n\n";
constexpr char kGetRequest[] =
    "log 3: SsdProvider::getInstance - Object path: class = KAV_SSDLifeMonitor, "
    "namespace = root/cimv2\n";

std::string returnsPath(unsigned n) {
  return events::format("broker: result.returnObjectPath(path%u)\n", n);
}
std::string returnsInstance(unsigned n) {
  return events::format("broker: result.returnInstance(instance%u)\n", n);
}

TEST_F(InstanceRequests, EnumeratingNamesReadsTheDrivesAndReturnsAPathForEachInOrder) {
  EXPECT_EQ(enumerateNames(ssdClass()), CMPI_RC_OK);
  EXPECT_EQ(seen, kNamesRequest + reads() + pathCalls(a, 1) + returnsPath(1) + pathCalls(b, 2) +
                      returnsPath(2) + pathCalls(c, 3) + returnsPath(3) + kDone);
}

TEST_F(InstanceRequests, EnumeratingInstancesReadsTheDrivesAndReturnsAllPropertiesOfEachInOrder) {
  EXPECT_EQ(enumerate(ssdClass()), CMPI_RC_OK);
  EXPECT_EQ(seen, kInstancesRequest + reads() + instanceCalls(a, 1) + returnsInstance(1) +
                      instanceCalls(b, 2) + returnsInstance(2) + instanceCalls(c, 3) +
                      returnsInstance(3) + kDone);
}

TEST_F(InstanceRequests, ReturnEveryPropertyWhateverListOfThemComesAlong) {
  const char* wanted[] = {"DeviceID", nullptr};
  core().drives = {a};
  EXPECT_EQ(code([&] {
              return provider->enumInstances(nullptr, broker.context(), broker.result(), ssdClass(),
                                             wanted);
            }),
            CMPI_RC_OK);
  EXPECT_EQ(seen, kInstancesRequest + reads() + instanceCalls(a, 1) + returnsInstance(1) + kDone);
  EXPECT_EQ(code([&] {
              return provider->getInstance(nullptr, broker.context(), broker.result(),
                                           broker.path(std::string(kModelAId)), wanted);
            }),
            CMPI_RC_OK);
  EXPECT_EQ(events::count(seen, "setProperty"), 15U);
}

TEST_F(InstanceRequests, ShowTheDrivesAsTheyAreNow) {
  EXPECT_EQ(enumerateNames(ssdClass()), CMPI_RC_OK);
  core().drives = {drive('D', "sdd")};
  core().drives[0].percentageUsed = 255;
  core().drives[0].failureImminent = true;
  EXPECT_EQ(enumerate(ssdClass()), CMPI_RC_OK);
  EXPECT_EQ(
      seen, kInstancesRequest + reads() + pathCalls(core().drives[0], 4) +
                [&] {
                  // Instances are numbered by themselves.
                  std::string calls = instanceCalls(core().drives[0], 1);
                  calls.erase(0, pathCalls(core().drives[0], 1).size());
                  const std::size_t at = calls.find("path1");
                  return calls.replace(at, 5, "path4");
                }() +
                returnsInstance(1) + kDone);
}

TEST_F(InstanceRequests, AcceptTheNamespaceInAnyLetterCase) {
  for (const char* name : {"ROOT/CIMV2", "Root/CimV2", "root/cimv2"}) {
    EXPECT_EQ(enumerateNames(broker.path(name, "KAV_SSDLifeMonitor")), CMPI_RC_OK) << name;
    EXPECT_EQ(enumerate(broker.path(name, "KAV_SSDLifeMonitor")), CMPI_RC_OK) << name;
  }
  EXPECT_EQ(events::only("log 3: SsdProvider::enumInstances", seen), kInstancesRequest);
}

TEST_F(InstanceRequests, RefuseAnyOtherNamespaceWith3) {
  for (const char* name : {"root/cimv3", "root/cimv", "root/cimv22", "/root/cimv2", ""}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(enumerateNames(broker.path(name, "KAV_SSDLifeMonitor")),
              CMPI_RC_ERR_INVALID_NAMESPACE);
    EXPECT_EQ(seen,
              lines({events::format("log 3: SsdProvider::enumInstanceNames - Reference object "
                                    "path: class = KAV_SSDLifeMonitor, namespace = %s\\n",
                                    name)}) +
                  kDone);
    EXPECT_EQ(enumerate(broker.path(name, "KAV_SSDLifeMonitor")), CMPI_RC_ERR_INVALID_NAMESPACE);
    EXPECT_EQ(seen, lines({events::format("log 3: SsdProvider::enumInstances - Reference object "
                                          "path: class = KAV_SSDLifeMonitor, namespace = %s\\n",
                                          name)}) +
                        kDone);
    EXPECT_EQ(get(broker.path(name, "KAV_SSDLifeMonitor")), CMPI_RC_ERR_INVALID_NAMESPACE);
    EXPECT_EQ(seen, lines({events::format("log 3: SsdProvider::getInstance - Object path: class = "
                                          "KAV_SSDLifeMonitor, namespace = %s",
                                          name)}) +
                        kDone);
  }
}

TEST_F(InstanceRequests, RefuseAnyOtherClassWith5LetterCaseIncluded) {
  for (const char* name : {"kav_ssdlifemonitor", "KAV_SSDLifeMonito", "KAV_SSDLifeMonitors",
                           "KAV_SSDLifeMonitorFailureImminent", ""}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(enumerateNames(broker.path("root/cimv2", name)), CMPI_RC_ERR_INVALID_CLASS);
    EXPECT_EQ(seen, lines({events::format("log 3: SsdProvider::enumInstanceNames - Reference "
                                          "object path: class = %s, namespace = root/cimv2\\n",
                                          name)}) +
                        kDone);
    EXPECT_EQ(enumerate(broker.path("root/cimv2", name)), CMPI_RC_ERR_INVALID_CLASS);
    EXPECT_EQ(events::only("broker", seen), kDone);
    EXPECT_EQ(get(broker.path("root/cimv2", name)), CMPI_RC_ERR_INVALID_CLASS);
    EXPECT_EQ(events::only("broker", seen), kDone);
  }
}

TEST_F(InstanceRequests, LookAtTheNamespaceBeforeTheClass) {
  EXPECT_EQ(enumerateNames(broker.path("root/other", "Other")), CMPI_RC_ERR_INVALID_NAMESPACE);
  EXPECT_EQ(enumerate(broker.path("root/other", "Other")), CMPI_RC_ERR_INVALID_NAMESPACE);
  EXPECT_EQ(get(broker.path("root/other", "Other")), CMPI_RC_ERR_INVALID_NAMESPACE);
}

TEST_F(InstanceRequests, TakeAMissingNamespaceOrClassForAnEmptyOne) {
  EXPECT_EQ(enumerate(broker.path(nullptr, "KAV_SSDLifeMonitor")), CMPI_RC_ERR_INVALID_NAMESPACE);
  EXPECT_EQ(enumerate(broker.path("root/cimv2", nullptr)), CMPI_RC_ERR_INVALID_CLASS);
  EXPECT_EQ(get(broker.path(nullptr, nullptr)), CMPI_RC_ERR_INVALID_NAMESPACE);
}

TEST_F(InstanceRequests, AnswerAMachineWithoutSsdsWith1AndSaySo) {
  core().drives.clear();
  EXPECT_EQ(enumerateNames(ssdClass()), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(seen, kNamesRequest + reads() +
                      "log 3: SsdProvider::enumerateInstanceNames - No instances found\n" + kDone);
  EXPECT_EQ(enumerate(ssdClass()), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(seen, kInstancesRequest + reads() +
                      "log 3: SsdProvider::enumerateInstances - No instances found\n" + kDone);
  EXPECT_EQ(get(broker.path(std::string())), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(seen, kGetRequest + reads() + "log 3: SsdProvider::getInstance - No instance found\n" +
                      kDone);
}

TEST_F(InstanceRequests, AnswerAFailureOfTheCoreWith1) {
  core().listCode = 0xABCD1234;
  const std::string failure =
      "log 1: SsdProvider::update - getSsdInformationList failed, sscode=0xabcd1234\n";
  EXPECT_EQ(enumerateNames(ssdClass()), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(seen, kNamesRequest + reads() + failure + kDone);
  EXPECT_EQ(get(broker.path(std::string(kModelAId))), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(seen, kGetRequest + reads() + failure + kDone);
}

TEST_F(InstanceRequests, EnumeratingInstancesAloneShowsTheCoresCodeInDecimalToo) {
  core().listCode = 3;
  EXPECT_EQ(enumerate(ssdClass()), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(seen, kInstancesRequest + reads() +
                      "log 1: SsdProvider::update - getSsdInformationList failed, "
                      "sscode=0x00000003\n"
                      "log 3: SsdProvider::enumInstances - error: 3\n" +
                      kDone);
  core().listCode = 0xFFFFFFFE;
  EXPECT_EQ(enumerate(ssdClass()), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(events::only("log 3: SsdProvider::enumInstances - error", seen),
            "log 3: SsdProvider::enumInstances - error: -2\n");
}

TEST_F(InstanceRequests, IgnoreTheStatusOfReturningOne) {
  broker.fail("returnObjectPath", 1, CMPI_RC_ERR_FAILED);
  broker.fail("returnInstance", 2, CMPI_RC_ERR_FAILED);
  broker.fail("returnDone", 1, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(enumerateNames(ssdClass()), CMPI_RC_OK);
  EXPECT_EQ(events::count(seen, "returnObjectPath"), 3U);
  EXPECT_EQ(enumerate(ssdClass()), CMPI_RC_OK);
  EXPECT_EQ(events::count(seen, "returnInstance"), 3U);
  broker.fail("returnInstance", 1, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(get(broker.path(std::string(kModelAId))), CMPI_RC_OK);
  EXPECT_EQ(events::only("log 1", seen), "");
}

TEST_F(InstanceRequests, EnumeratingNamesLogsAStatusThatStopsItAtTheFirstDrive) {
  broker.fail("newObjectPath", 1, CMPI_RC_ERR_ALREADY_EXISTS, "no more");
  EXPECT_EQ(enumerateNames(ssdClass()), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(seen, kNamesRequest + reads() +
                      lines({"broker: newObjectPath(root/cimv2, KAV_SSDLifeMonitor) = path1",
                             "out: Utils::MakeNewObjectPath - bad status 11",
                             "log 1: SsdProvider::enumerateInstanceNames - CMPIStatus 11, no more",
                             "log 3: SsdProvider::enumerateInstanceNames - No instances found"}) +
                      kDone);
}

TEST_F(InstanceRequests, EnumeratingNamesKeepsWhatItReturnedBeforeAFailure) {
  broker.fail("newObjectPath", 2, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(enumerateNames(ssdClass()), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(seen, kNamesRequest + reads() + pathCalls(a, 1) + returnsPath(1) +
                      lines({"broker: newObjectPath(root/cimv2, KAV_SSDLifeMonitor) = path2",
                             "out: Utils::MakeNewObjectPath - bad status 1",
                             "log 1: SsdProvider::enumerateInstanceNames - CMPIStatus 1, (null)"}) +
                      kDone);
}

TEST_F(InstanceRequests, EnumeratingInstancesLogsAStatusThatStopsItAtTheFirstDrive) {
  broker.fail("setProperty", 11, CMPI_RC_ERR_FAILED, "worn out");
  EXPECT_EQ(enumerate(ssdClass()), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(seen, kInstancesRequest + reads() + instanceCallsUpTo(a, 1, "PercentageUsed") +
                      lines({"out: Utils::SetUint8Property - bad status 1",
                             "log 1: SsdProvider::enumerateInstances - CMPIStatus 1, worn out",
                             "log 3: SsdProvider::enumerateInstances - No instances found"}) +
                      kDone);
}

TEST_F(InstanceRequests, EnumeratingInstancesKeepsWhatItReturnedBeforeAFailure) {
  broker.fail("newInstance", 3, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(enumerate(ssdClass()), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(seen, kInstancesRequest + reads() + instanceCalls(a, 1) + returnsInstance(1) +
                      instanceCalls(b, 2) + returnsInstance(2) + pathCalls(c, 3) +
                      lines({"broker: newInstance(path3) = instance3",
                             "out: Utils::MakeNewInstance - bad status 1",
                             "log 1: SsdProvider::enumerateInstances - CMPIStatus 1, (null)"}) +
                      kDone);
}

TEST_F(InstanceRequests, LogAnythingElseThatIsThrownAsUnknown) {
  broker.throwFrom("newObjectPath", 1);
  EXPECT_EQ(enumerateNames(ssdClass()), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(seen, kNamesRequest + reads() +
                      lines({"broker: newObjectPath(root/cimv2, KAV_SSDLifeMonitor) = path1",
                             "log 1: SsdProvider::enumerateInstanceNames -  Unknown Exception",
                             "log 3: SsdProvider::enumerateInstanceNames - No instances found"}) +
                      kDone);
  broker.throwFrom("returnInstance", 2);
  EXPECT_EQ(enumerate(ssdClass()), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(events::only("log 1", seen),
            "log 1: SsdProvider::enumerateInstances -  Unknown Exception\n");
  EXPECT_EQ(events::count(seen, "No instances found"), 0U);
  EXPECT_EQ(events::count(seen, kDone), 1U);
  broker.throwFrom("getKey", 1);
  EXPECT_EQ(get(broker.path(std::string(kModelAId))), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(seen, kGetRequest + reads() +
                      lines({"broker: request.getKey(DeviceID)",
                             "log 1: SsdProvider::getInstance -  Unknown Exception",
                             "log 3: SsdProvider::getInstance - No instance found"}) +
                      kDone);
}

// ---- Getting one ----------------------------------------------------------------------------

std::string readsKey() { return "broker: request.getKey(DeviceID)\nbroker: string.getCharPtr()\n"; }

TEST_F(InstanceRequests, GettingOneReadsTheKeyAnewForEachDriveUpToTheMatch) {
  EXPECT_EQ(get(broker.path(std::string(kModelCId))), CMPI_RC_OK);
  EXPECT_EQ(seen, kGetRequest + reads() + readsKey() + readsKey() + readsKey() +
                      instanceCalls(c, 1) + returnsInstance(1) + kDone);
}

TEST_F(InstanceRequests, GettingOneTakesTheFirstDriveThatBeginsWithTheKey) {
  for (const char* key : {"", "M", "Model ", "Model A", "Model A___", kModelAId}) {
    SCOPED_TRACE(key);
    EXPECT_EQ(get(broker.path(std::string(key))), CMPI_RC_OK);
    EXPECT_EQ(events::count(seen, "getKey"), 1U);
    EXPECT_EQ(events::count(seen, "setProperty(DriveModel, chars \"Model A\")"), 1U);
    EXPECT_EQ(events::count(seen, "returnInstance"), 1U);
    EXPECT_EQ(events::count(seen, kDone), 1U);
  }
  EXPECT_EQ(get(broker.path(std::string("Model B"))), CMPI_RC_OK);
  EXPECT_EQ(events::count(seen, "getKey"), 2U);
  EXPECT_EQ(events::count(seen, "setProperty(DriveModel, chars \"Model B\")"), 1U);
}

TEST_F(InstanceRequests, GettingOneThatNoDriveBeginsWithAnswers1) {
  for (const char* key :
       {"Model D", "model A", "Model A___Serial A___sda1", "odel A", " Model A"}) {
    SCOPED_TRACE(key);
    EXPECT_EQ(get(broker.path(std::string(key))), CMPI_RC_ERR_FAILED);
    EXPECT_EQ(seen, kGetRequest + reads() + readsKey() + readsKey() + readsKey() +
                        "log 3: SsdProvider::getInstance - No instance found\n" + kDone);
  }
}

TEST_F(InstanceRequests, GettingOneByANullKeyGivesTheFirst) {
  CMPIData null{CMPI_string, CMPI_keyValue | CMPI_nullValue, {}};
  EXPECT_EQ(get(broker.pathWithKey(null)), CMPI_RC_OK);
  EXPECT_EQ(seen, kGetRequest + reads() + "broker: request.getKey(DeviceID)\n" +
                      instanceCalls(a, 1) + returnsInstance(1) + kDone);
}

TEST_F(InstanceRequests, GettingOneLogsAKeyThatCantBeRead) {
  broker.fail("getKey", 2, CMPI_RC_ERR_NOT_FOUND, "no key");
  EXPECT_EQ(get(broker.path(std::string(kModelCId))), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(seen, kGetRequest + reads() + readsKey() +
                      lines({"broker: request.getKey(DeviceID)",
                             "out: Utils::GetCharsKeyValue - CMGetKey failed, status 6",
                             "log 1: SsdProvider::getInstance - CMPIStatus 6, no key",
                             "log 3: SsdProvider::getInstance - No instance found"}) +
                      kDone);
}

TEST_F(InstanceRequests, GettingOneByAKeyOfAnotherTypeLogsTheSuccessfulStatus) {
  EXPECT_EQ(get(broker.pathWithKey({CMPI_uint8, CMPI_goodValue, {}})), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(seen, kGetRequest + reads() +
                      lines({"broker: request.getKey(DeviceID)",
                             "out: Utils::GetCharsKeyValue - bad type 128(0x80)",
                             "log 1: SsdProvider::getInstance - CMPIStatus 0, (null)",
                             "log 3: SsdProvider::getInstance - No instance found"}) +
                      kDone);
}

TEST_F(InstanceRequests, GettingOneLogsAnInstanceThatCantBeMade) {
  broker.fail("setProperty", 10, CMPI_RC_ERR_INVALID_DATA_TYPE, "");
  EXPECT_EQ(get(broker.path(std::string(kModelAId))), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(seen, kGetRequest + reads() + readsKey() + instanceCallsUpTo(a, 1, "PoweredOnHours") +
                      lines({"out: Utils::SetUint16Property - bad status 61",
                             "log 1: SsdProvider::getInstance - CMPIStatus 61, ",
                             "log 3: SsdProvider::getInstance - No instance found"}) +
                      kDone);
}

// ---- Identifiers ----------------------------------------------------------------------------

TEST(Identifiers, AreModelSerialNumberAndDriveJoinedByThreeUnderscoresAsTheyAre) {
  EXPECT_EQ(SsdProvider::makeDeviceID("Acme X", "S/N 1", "sda"), "Acme X___S/N 1___sda");
  EXPECT_EQ(SsdProvider::makeDeviceID(" a ", " b ", " c "), " a ___ b ___ c ");
  EXPECT_EQ(SsdProvider::makeDeviceID("", "", ""), "______");
  EXPECT_EQ(SsdProvider::makeDeviceID("a___b", "c", "d"), "a___b___c___d");
}

// ---- The life of a provider -----------------------------------------------------------------

TEST_F(ProviderTest, IsMadeEmptyAndSaysSo) {
  std::unique_ptr<SsdProvider> provider;
  EXPECT_EQ(events::during([&] { provider = std::make_unique<SsdProvider>(); }),
            "log 3: SsdProvider::constructor\n");
  EXPECT_FALSE(provider->isInitialised());
  EXPECT_EQ(events::during([&] { provider.reset(); }),
            lines({"core: withdrawSsdListener", "log 3: SsdProvider::destructor - service=0x(nil)",
                   "log 2: SsdProvider - provider destroyed"}));
}

TEST_F(ProviderTest, InitialisesTheDriverThenFillsItsCache) {
  SsdProvider provider;
  EXPECT_EQ(events::during([&] { provider.initialise(broker.context()); }),
            lines({"log 3: SsdProvider::initialise", "core: initialiseSsdDriver",
                   "log 3: SsdProvider::initSensorProvider", "log 3: SsdProvider::update",
                   "core: getSsdInformationList of 0 records",
                   "log 2: SsdProvider created and initialised"}));
  EXPECT_TRUE(provider.isInitialised());
}

TEST_F(ProviderTest, StaysUninitialisedWhenTheDriverFails) {
  core().initialiseCode = 3;
  SsdProvider provider;
  EXPECT_EQ(events::during([&] { provider.initialise(broker.context()); }),
            lines({"log 3: SsdProvider::initialise", "core: initialiseSsdDriver",
                   "log 1: SsdProvider::initialize - Initialise SSD Driver failed - "
                   "sscode=0x00000003"}));
  EXPECT_FALSE(provider.isInitialised());
}

TEST_F(ProviderTest, StaysUninitialisedWhenItsFirstUpdateFails) {
  core().listCode = 0xF0000001;
  SsdProvider provider;
  EXPECT_EQ(events::during([&] { provider.initialise(broker.context()); }),
            lines({"log 3: SsdProvider::initialise", "core: initialiseSsdDriver",
                   "log 3: SsdProvider::initSensorProvider", "log 3: SsdProvider::update",
                   "core: getSsdInformationList of 0 records",
                   "log 1: SsdProvider::update - getSsdInformationList failed, sscode=0xf0000001",
                   "log 1: SsdProvider::initialize - initSsdProvider failed to initialize - "
                   "sscode=0xf0000001"}));
  EXPECT_FALSE(provider.isInitialised());
}

TEST_F(ProviderTest, GivesUpItsServiceWhenItGoes) {
  auto provider = std::make_unique<SsdProvider>();
  (void)events::during([&] { provider->initialise(broker.context()); });
  const void* service = core().api;
  EXPECT_EQ(events::during([&] { provider.reset(); }),
            lines({"core: withdrawSsdListener",
                   events::format("log 3: SsdProvider::destructor - service=0x%p", service),
                   "log 3: deleting service object", "log 2: SsdProvider - provider destroyed"}));
}

}  // namespace
