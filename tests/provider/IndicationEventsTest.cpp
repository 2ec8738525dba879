// An event of the core: what it marks, and the thread that it starts.

#include "tests/provider/IndicationsTest.h"

namespace {

using events::format;

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

TEST_F(Indications, AnEventDuringARequestLeavesWhatThatReturnsAlone) {
  subscribe();
  core().drives = {a, b};
  events::onEach([&](const std::string& line) {
    if (line.find("= path1") != std::string::npos) {
      events::onEach({});
      provider->SsdFailureImminent(a.model, a.serialNumber, a.physicalDrive, 96);
      provider->SsdFailureImminent(b.model, b.serialNumber, b.physicalDrive, 96);
    }
  });
  const std::string seen = events::during([&] {
    (void)provider->enumInstances(nullptr, request, broker.result(),
                                  broker.path("root/cimv2", "KAV_SSDLifeMonitor"), nullptr);
  });
  EXPECT_EQ(events::count(seen, "broker: newThread"), 2U);
  for (const char* instance : {"instance1", "instance2"}) {
    const std::string property =
        std::string("broker: ") + instance + ".setProperty(FailureImminent";
    EXPECT_EQ(events::only(property, seen), property + ", boolean 0)\n");
  }
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

}  // namespace
