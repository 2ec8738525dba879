// The two clean-ups, and the counting that they share with the factories.

#include "tests/provider/EntryPointsTest.h"

namespace {

using events::format;

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
  EXPECT_EQ(rest, instanceFactoryLine() + initialises());
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
