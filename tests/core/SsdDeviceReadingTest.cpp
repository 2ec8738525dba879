// What a device keeps of its readings, and how many may run at a time.

#include <algorithm>
#include <atomic>
#include <thread>

#include "tests/core/SsdDeviceTest.h"
#include "tests/support/Allocations.h"

using namespace testkit;

namespace {

class TracedDevice : public Device {
 protected:
  TracedDevice() : Device("DebugTraceAttributes=1\n") {}
};

}  // namespace

TEST_F(Device, KeepsTheValuesOfItsLastReading) {
  startP4(42, &listener_);
  EXPECT_EQ(readP4(43, 9000), (Lines{kRead, readingLine(9000, 43)}));
  EXPECT_EQ(information().percentageUsed, 43);
  EXPECT_EQ(information().poweredOnHours, 9000U);
  EXPECT_EQ(information().percentageUsedSource, 3);
  EXPECT_EQ(listener_.events, 0);
}

TEST_F(Device, ShowsHoursOf64Bits) {
  startP4(42, nullptr);
  EXPECT_EQ(readP4(43, 0xFFFFFFFFFFFF), (Lines{kRead, readingLine(281474976710655, 43)}));
  EXPECT_EQ(information().poweredOnHours, 0xFFFFFFFFFFFFU);
}

TEST_F(Device, KeepsItsValuesAndIsSilentWhenAReadingFails) {
  startP4(42, &listener_);
  willFailAttributes("/dev/sda");
  device_->getSsdData();
  const Lines log = takeLog();
  EXPECT_EQ(log.front(), kRead);
  EXPECT_EQ(log.back(), kAlgorithmFailed);
  EXPECT_EQ(log.size(), 5U);
  EXPECT_EQ(information().percentageUsed, 42);
  EXPECT_EQ(information().poweredOnHours, 8760U);
  EXPECT_EQ(readP4(44), (Lines{kRead, readingLine(8760, 44)}));  // unlocked again
}

TEST_F(Device, ShowsNoughtForAnNvmeDriveThatFails) {
  willReadHealth("/dev/nvme0", 42, 8760);
  EXPECT_TRUE(device_->initialise(nvmeDrive("M"), "nvme0", "/dev/nvme0", nullptr));
  kernel().willRefuseOpen("/dev/nvme0", O_RDONLY | O_NONBLOCK, ENODEV);
  device_->getSsdData();
  EXPECT_EQ(information().percentageUsed, 0);
  EXPECT_EQ(information().poweredOnHours, 0U);
  EXPECT_EQ(information().percentageUsedSource, 2);
}

TEST_F(Device, TracesNoAttributesUnlessConfigured) {
  startP4(42, nullptr);
  const Lines log = readP4(42);
  EXPECT_EQ(std::count(log.begin(), log.end(), "Trace: Index: 230"), 0);
}

TEST_F(TracedDevice, TracesItsAttributes) {
  startP4(42, nullptr);
  const Lines log = readP4(42);
  EXPECT_EQ(log[0], kRead);
  EXPECT_EQ(std::count(log.begin(), log.end(), "Trace: Index: 230"), 1);
  EXPECT_EQ(log.back(), readingLine(8760, 42));
}

TEST_F(PolledDevice, IsReadByItsThread) {
  willEnableSmart("/dev/sda");
  willReadP4("/dev/sda", 1);
  willReadP4("/dev/sda", 2);
  EXPECT_TRUE(device_->initialise(ataDrive(kP4), "sda", "/dev/sda", &listener_));
  threads().waitUntilAllSleep();
  EXPECT_EQ(information().percentageUsed, 2);
  willReadP4("/dev/sda", 96);
  threads().tick();
  EXPECT_EQ(information().percentageUsed, 96);
  EXPECT_EQ(listener_.events, 1);
}

TEST_F(PolledDevice, LosesOnlyTheReadingForWhichThereWasNoMemory) {
  willEnableSmart("/dev/sda");
  willReadP4("/dev/sda", 1);
  willReadP4("/dev/sda", 2);
  EXPECT_TRUE(device_->initialise(ataDrive(kP4), "sda", "/dev/sda", nullptr));
  threads().waitUntilAllSleep();
  willReadP4("/dev/sda", 3);
  kernel().meanwhile([] { allocations::refuseAfter(0); });
  threads().tick();
  EXPECT_EQ(information().percentageUsed, 2);
  willReadP4("/dev/sda", 4);
  threads().tick();
  EXPECT_EQ(information().percentageUsed, 4);
}

// Several threads

TEST_F(Device, IsReadByOneThreadAtATime) {
  startP4(1, nullptr);
  FakeThreads::watchMutexes(device_.get(), sizeof(SsdDevice));
  std::thread second;
  willReadP4("/dev/sda", 2);
  kernel().meanwhile([&] {  // the first is about to close the node
    second = std::thread([this] { device_->getSsdData(); });
    while (FakeThreads::contended() == 0 && kernel().unexpected() == 0) {
      std::this_thread::yield();
    }
  });
  willReadP4("/dev/sda", 3);
  device_->getSsdData();
  second.join();
  EXPECT_EQ(kernel().unexpected(), 0U);
  EXPECT_EQ(information().percentageUsed, 3);
}

TEST_F(Device, IsNotCopiedInTheMiddleOfAReading) {
  startP4(1, nullptr);
  FakeThreads::watchMutexes(device_.get(), sizeof(SsdDevice));
  std::thread copier;
  std::atomic<bool> copied{false};
  SsdInformation copy;
  willReadP4("/dev/sda", 2, 9999);
  kernel().meanwhile([&] {
    copier = std::thread([&] {
      device_->copySsdInformation(copy);
      copied = true;
    });
    while (FakeThreads::contended() == 0 && !copied) {
      std::this_thread::yield();
    }
  });
  device_->getSsdData();
  copier.join();
  EXPECT_EQ(copy.percentageUsed, 2);
  EXPECT_EQ(copy.poweredOnHours, 9999U);
}

TEST_F(Device, IsReadWhileAnotherOneIs) {
  startP4(1, nullptr);
  SsdDevice other;
  willEnableSmart("/dev/sdb");
  willReadP4("/dev/sdb", 1);
  EXPECT_TRUE(other.initialise(ataDrive(kP4), "sdb", "/dev/sdb", nullptr));
  willReadP4("/dev/sda", 2);
  kernel().meanwhile([&other] { other.getSsdData(); });
  willReadP4("/dev/sdb", 3);
  device_->getSsdData();
  EXPECT_EQ(information().percentageUsed, 2);
  EXPECT_EQ(other.percentageUsed(), 3);
}
