// When a device tells its listener that it is about to fail, and when for the sake of a test.

#include <algorithm>
#include <future>
#include <new>
#include <thread>

#include "tests/core/SsdDeviceTest.h"

using namespace testkit;

namespace {

class DebuggedDevice : public Device {
 protected:
  DebuggedDevice() : Device("DebugIndications=1\n") {}
};

const std::string kAlreadyFired =
    "Trace: SsdDevice::fireSsdFailureImminent - already fired one Failure Imminent event - exiting";
const std::string kNoListeners =
    "Trace: SsdDevice::fireSsdFailureImminent - no registered listeners - exiting";
const std::string kDebugIndication = "Trace: SsdDevice::fireRmaDebugIndication";

}  // namespace

// The failure that is imminent

namespace {

struct Limit {
  const char* name;
  const char* settings;
  std::uint8_t percentage;
  bool fails;
};

class Threshold : public Device, public testing::WithParamInterface<Limit> {
 protected:
  Threshold() : Device(GetParam().settings) {}
};

}  // namespace

TEST_P(Threshold, IsPassedOnlyAboveIt) {
  startP4(0, &listener_);
  readP4(GetParam().percentage);
  EXPECT_EQ(device_->isFalureImminent(), GetParam().fails);
  EXPECT_EQ(information().failureImminent, GetParam().fails);
  EXPECT_EQ(listener_.events, GetParam().fails ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(
    , Threshold,
    testing::Values(Limit{"Nought", "", 0, false}, Limit{"AtTheDefault", "", 95, false},
                    Limit{"AboveTheDefault", "", 96, true}, Limit{"Above100", "", 254, true},
                    Limit{"Unknown", "", 255, false},
                    Limit{"AtTen", "PercentUsedThreshold=10\n", 10, false},
                    Limit{"AboveTen", "PercentUsedThreshold=10\n", 11, true},
                    Limit{"At100", "PercentUsedThreshold=100\n", 100, false},
                    Limit{"AboveOneHundred", "PercentUsedThreshold=100\n", 101, true},
                    Limit{"UnknownAtTen", "PercentUsedThreshold=10\n", 255, false}),
    [](const auto& instance) { return instance.param.name; });

TEST_F(Device, ReportsItsFailureAfterTheReading) {
  startP4(95, &listener_);
  EXPECT_EQ(readP4(96), (Lines{kRead, readingLine(8760, 96), kTold96}));
}

TEST_F(Device, ReportsItsFailureOnceInItsLife) {
  startP4(95, &listener_);
  readP4(96);
  EXPECT_EQ(readP4(96), (Lines{kRead, readingLine(8760, 96), kAlreadyFired}));
  EXPECT_EQ(readP4(50), (Lines{kRead, readingLine(8760, 50)}));
  EXPECT_FALSE(device_->isFalureImminent());
  EXPECT_EQ(readP4(99), (Lines{kRead, readingLine(8760, 99), kAlreadyFired}));
  EXPECT_TRUE(information().failureImminent);
  EXPECT_EQ(listener_.events, 1);
}

TEST_F(Device, ReportsAFailureThatItBeginsWith) {
  startP4(96, &listener_);
  EXPECT_EQ(listener_.events, 1);
  EXPECT_EQ(readP4(96).back(), kAlreadyFired);
}

TEST_F(Device, WithoutListenerHasItsFailureStillToReport) {
  startP4(95, nullptr);
  EXPECT_EQ(readP4(96), (Lines{kRead, readingLine(8760, 96), kNoListeners}));
  EXPECT_EQ(readP4(96), (Lines{kRead, readingLine(8760, 96), kNoListeners}));
}

TEST_F(Device, LooksFirstWhetherItHasReported) {
  for (ISsdDeviceListener* listener :
       {static_cast<ISsdDeviceListener*>(&listener_), static_cast<ISsdDeviceListener*>(nullptr)}) {
    willEnableSmart("/dev/sda");
    willReadP4("/dev/sda", 96);
    threads().refuseNext(EAGAIN);
    EXPECT_FALSE(device_->initialise(ataDrive(kP4), "sda", "/dev/sda", listener));
  }
  const Lines log = takeLog();
  EXPECT_EQ(std::count(log.begin(), log.end(), kTold96), 1);
  EXPECT_EQ(std::count(log.begin(), log.end(), kAlreadyFired), 1);
  EXPECT_EQ(std::count(log.begin(), log.end(), kNoListeners), 0);
}

TEST_F(Device, ReportsAgainWhatItsListenerFailedToTake) {
  startP4(95, &listener_);
  listener_.then = [] { throw std::bad_alloc(); };
  willReadP4("/dev/sda", 96);
  EXPECT_THROW(device_->getSsdData(), std::bad_alloc);
  listener_.then = nullptr;
  takeLog();
  EXPECT_EQ(readP4(96), (Lines{kRead, readingLine(8760, 96), kTold96}));
  EXPECT_EQ(readP4(96).back(), kAlreadyFired);
}

TEST_F(Device, MayBeAskedToReportAtAnyTime) {
  startP4(1, &listener_);
  device_->fireSsdDeviceFailureImminent();
  device_->fireSsdDeviceFailureImminent();
  EXPECT_EQ(takeLog(), (Lines{"Info: listener: sda at 1", kAlreadyFired}));
}

TEST_F(Device, MarksItsFailureAsReportedOnlyAfterTheListenerWasTold) {
  startP4(95, &listener_);
  listener_.then = [this] {
    listener_.then = nullptr;
    device_->fireSsdDeviceFailureImminent();  // still being sent: not twice
  };
  EXPECT_EQ(readP4(96), (Lines{kRead, readingLine(8760, 96), kTold96, kAlreadyFired}));
  EXPECT_EQ(listener_.events, 1);
}

// Debug indications

TEST_F(Device, SendsNoDebugIndicationUnlessConfigured) {
  startP4(42, &listener_);
  readP4(42);
  EXPECT_EQ(listener_.events, 0);
}

TEST_F(DebuggedDevice, SendsOneForEveryReadingThatSucceeds) {
  startP4(42, &listener_);
  EXPECT_EQ(listener_.events, 1);
  EXPECT_EQ(readP4(255),
            (Lines{kRead, readingLine(8760, 255), kDebugIndication, "Info: listener: sda at 255"}));
  willFailAttributes("/dev/sda");
  device_->getSsdData();
  EXPECT_EQ(takeLog().back(), kAlgorithmFailed);
  EXPECT_EQ(listener_.events, 2);
}

TEST_F(DebuggedDevice, SendsItBeforeTheRealOneWhichComesOnceAllTheSame) {
  startP4(42, &listener_);
  EXPECT_EQ(readP4(96), (Lines{kRead, readingLine(8760, 96), kDebugIndication, kTold96, kTold96}));
  EXPECT_EQ(readP4(96),
            (Lines{kRead, readingLine(8760, 96), kDebugIndication, kTold96, kAlreadyFired}));
}

TEST_F(DebuggedDevice, SendsNoneWithoutListener) {
  startP4(42, nullptr);
  EXPECT_EQ(readP4(96), (Lines{kRead, readingLine(8760, 96), kDebugIndication, kNoListeners}));
}

// Several threads

TEST_F(DebuggedDevice, TellsItsListenerOnceItsValuesMayBeCopied) {
  startP4(1, &listener_);
  SsdInformation copy;
  listener_.then = [&] { device_->copySsdInformation(copy); };
  readP4(2, 9999);
  EXPECT_EQ(copy.percentageUsed, 2);
  EXPECT_EQ(copy.poweredOnHours, 9999U);
}

TEST_F(Device, TellsItsListenerWithoutHoldingUpAnotherReading) {
  startP4(95, &listener_);
  std::promise<void> told;
  std::promise<void> goOn;
  listener_.then = [&] {
    told.set_value();
    goOn.get_future().wait();
  };
  willReadP4("/dev/sda", 96);
  std::thread first([this] { device_->getSsdData(); });
  told.get_future().wait();
  willReadP4("/dev/sda", 97);
  takeLog();
  device_->getSsdData();  // while the first is still telling
  EXPECT_EQ(takeLog(), (Lines{kRead, readingLine(8760, 97), kAlreadyFired}));
  goOn.set_value();
  first.join();
  EXPECT_EQ(listener_.events, 1);
}
