// The two factories.

#include <unistd.h>

#include "provider/SsdProvider.h"
#include "tests/provider/EntryPointsTest.h"

namespace {

using events::format;

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
  EXPECT_EQ(rest, instanceFactoryLine() + initialises());
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
  EXPECT_EQ(rest, instanceFactoryLine());
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

}  // namespace
