#include "core/SsdDevice.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <functional>
#include <future>
#include <memory>
#include <new>
#include <thread>

#include "config/Config.h"
#include "log/Log.h"
#include "tests/core/CoreTest.h"
#include "tests/support/Allocations.h"

using namespace testkit;

namespace {

/// Notes every event in the log, so that its place among the other lines can be seen.
class NotingListener : public ISsdDeviceListener {
 public:
  void SsdDeviceFailureImminent(SsdDevice& device) override {
    Log(LOG_LEVEL_INFO, "listener: %s at %d", device.physicalDrive().c_str(),
        device.percentageUsed());
    ++events;
    if (then) {
      then();
    }
  }

  std::atomic<int> events{0};
  std::function<void()> then;
};

std::string pointerText(const void* pointer) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%p", pointer);
  return text.data();
}

class Device : public CoreTest {
 protected:
  explicit Device(const std::string& settings = "") : CoreTest(settings) {
    Config::GetInstance();
    device_ = std::make_unique<SsdDevice>();
    takeLog();
  }

  /// Sets up a P4 that reads `percentage`; its polling thread sleeps afterwards.
  void startP4(std::uint8_t percentage, ISsdDeviceListener* listener) {
    willEnableSmart("/dev/sda");
    willReadP4("/dev/sda", percentage);
    EXPECT_TRUE(device_->initialise(ataDrive(kP4), "sda", "/dev/sda", listener));
    threads().waitUntilAllSleep();
    takeLog();
  }

  /// Has the device read `percentage`, and gives what was logged.
  Lines readP4(std::uint8_t percentage, std::uint64_t hours = 8760) {
    willReadP4("/dev/sda", percentage, hours);
    device_->getSsdData();
    return takeLog();
  }

  SsdInformation information() {
    SsdInformation information;
    device_->copySsdInformation(information);
    return information;
  }

  static std::string initialiseLine(const std::string& drive, const void* listener) {
    return "Trace: SsdDevice::initialise - drive " + drive + " devPath /dev/" + drive +
           ", listener=0x" + pointerText(listener);
  }

  NotingListener listener_;
  std::unique_ptr<SsdDevice> device_;
};

class DebuggedDevice : public Device {
 protected:
  DebuggedDevice() : Device("DebugIndications=1\n") {}
};

class TracedDevice : public Device {
 protected:
  TracedDevice() : Device("DebugTraceAttributes=1\n") {}
};

class PolledDevice : public Device {
 protected:
  PolledDevice() : Device("PollRate=1\n") {}
};

const std::string kTold96 = "Info: listener: sda at 96";
const std::string kRead = "Trace: SsdDevice::getSsdData";
const std::string kAlreadyFired =
    "Trace: SsdDevice::fireSsdFailureImminent - already fired one Failure Imminent event - exiting";
const std::string kNoListeners =
    "Trace: SsdDevice::fireSsdFailureImminent - no registered listeners - exiting";
const std::string kDebugIndication = "Trace: SsdDevice::fireRmaDebugIndication";
const std::string kAlgorithmFailed = "Debug: SsdDevice::getSsdData - algo failed";

}  // namespace

// Construction and destruction

TEST_F(CoreTest, ADeviceIsConstructedAroundItsPollingThread) {
  { const SsdDevice device; }
  EXPECT_EQ(
      takeLog(),
      (Lines{"Trace: Config::initialise", "Debug: Config constructed",
             "Debug: Config::GetInstance - new instance = " + low32(Config::GetInstance()),
             "Debug: PollingThread constructed - pollingRate=10", "Debug: SsdDevice constructed",
             "Debug: SsdDevice destroyed", "Debug: PollingThread Destroyed"}));
}

TEST(SsdInformation, BeginsEmpty) {
  const SsdInformation information;
  EXPECT_EQ(information.model + information.serialNumber + information.physicalDrive +
                information.firmwareVersion,
            "");
  EXPECT_EQ(information.poweredOnHours, 0U);
  EXPECT_EQ(information.percentageUsed, 0);
  EXPECT_EQ(information.percentageUsedSource, 0);
  EXPECT_FALSE(information.failureImminent);
}

TEST_F(Device, IsEmptyBeforeItIsSetUp) {
  const SsdInformation empty = information();
  EXPECT_EQ(empty.model + empty.serialNumber + empty.physicalDrive + empty.firmwareVersion, "");
  EXPECT_EQ(empty.poweredOnHours, 0U);
  EXPECT_EQ(empty.percentageUsed, 0);
  EXPECT_EQ(empty.percentageUsedSource, 0);
  EXPECT_FALSE(empty.failureImminent);
  EXPECT_FALSE(device_->isFalureImminent());
}

TEST_F(Device, StopsItsThreadBeforeItGoes) {
  startP4(1, nullptr);
  device_.reset();
  EXPECT_EQ(takeLog(),
            (stopLines() + Lines{"Debug: SsdDevice destroyed", "Debug: PollingThread Destroyed"}));
  EXPECT_EQ(threads().alive(), 0U);
}

TEST_F(PolledDevice, WaitsForTheReadingInProgressBeforeItGoes) {
  willEnableSmart("/dev/sda");
  willReadP4("/dev/sda", 1);
  threads().holdStarts();
  EXPECT_TRUE(device_->initialise(ataDrive(kP4), "sda", "/dev/sda", nullptr));
  takeLog();
  std::promise<void> reading;
  const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
  kernel().meanwhile([&reading] {
    reading.set_value();
    threads().waitUntilJoining();
  });
  kernel().willCommand(fd, kSmartReadData, smartSector({{9, 100, 77}, {230, 2}}));
  kernel().willClose(fd);
  threads().releaseStarts();
  reading.get_future().wait();
  device_.reset();
  Lines expected = {"Debug: readThread - entered", kRead, "Trace: PollingThread::terminate entered",
                    readingLine(77, 2)};
  const Lines stop = stopLines();
  expected.insert(expected.end(), stop.begin() + 1, stop.end());
  EXPECT_EQ(takeLog(),
            (expected + Lines{"Debug: SsdDevice destroyed", "Debug: PollingThread Destroyed"}));
}

// Setting up

TEST_F(Device, OfASupportedModelIsSetUpInThisOrder) {
  willEnableSmart("/dev/sda");
  willReadP4("/dev/sda", 42, 8760);
  threads().holdStarts();
  EXPECT_TRUE(device_->initialise(ataDrive(kP4), "sda", "/dev/sda", &listener_));
  EXPECT_EQ(
      takeLog(),
      (Lines{initialiseLine("sda", &listener_),
             "Debug: SsdDevice::initialise - found supported model ", kRead, readingLine(8760, 42),
             "Debug: PollingThread::initialise - _ssdDevice=" + low32(device_.get()),
             startedLine()}));
  EXPECT_EQ(listener_.events, 0);
}

TEST_F(Device, KeepsWhatItWasToldOfTheDrive) {
  willEnableSmart("/dev/sdb");
  willReadP4("/dev/sdb", 42, 8760);
  IdentifyData identify = ataDrive(kP4);
  identify.serialNumber = "serial";
  identify.firmwareVersion = "firmware";
  EXPECT_TRUE(device_->initialise(identify, "sdb", "/dev/sdb", nullptr));
  const SsdInformation known = information();
  EXPECT_EQ(known.model, kP4);
  EXPECT_EQ(known.serialNumber, "serial");
  EXPECT_EQ(known.physicalDrive, "sdb");
  EXPECT_EQ(known.firmwareVersion, "firmware");
  EXPECT_EQ(known.poweredOnHours, 8760U);
  EXPECT_EQ(known.percentageUsed, 42);
  EXPECT_EQ(known.percentageUsedSource, 3);
  EXPECT_FALSE(known.failureImminent);
  EXPECT_EQ(device_->model(), kP4);
  EXPECT_EQ(device_->serialNumber(), "serial");
  EXPECT_EQ(device_->physicalDrive(), "sdb");
  EXPECT_EQ(device_->percentageUsed(), 42);
}

TEST_F(Device, ShowsThatItHasNoListener) {
  willReadHealth("/dev/nvme0", 1, 1);
  EXPECT_TRUE(device_->initialise(nvmeDrive("M"), "nvme0", "/dev/nvme0", nullptr));
  EXPECT_EQ(takeLog()[0],
            "Trace: SsdDevice::initialise - drive nvme0 devPath /dev/nvme0, listener=0x   (nil)");
}

TEST_F(Device, WithoutSmartIsNotSetUp) {
  kernel().willRefuseOpen("/dev/sda", O_RDONLY, ENODEV);
  IdentifyData identify = ataDrive("M");
  EXPECT_FALSE(device_->initialise(identify, "sda", "/dev/sda", &listener_));
  EXPECT_EQ(takeLog(), (Lines{initialiseLine("sda", &listener_),
                              "Debug: SmartIo::smartEnable - Open /dev/sda failed, 0x00000013",
                              "Error: SsdDevice::initialise - smartEnable failed"}));
  EXPECT_TRUE(threads().created().empty());
  // It has its listener, but neither a table nor an algorithm.
  device_->fireRmaDebugIndication();
  EXPECT_EQ(listener_.events, 1);
  takeLog();
  device_->getSsdData();
  EXPECT_EQ(takeLog(), (Lines{kRead,
                              "Debug: SsdDevice::getSsdData - internal error - no algo to "
                              "read this device model M"}));
}

TEST_F(Device, WithoutAlgorithmLogsNoModelThatTheLocaleDoesNotConvert) {
  kernel().willRefuseOpen("/dev/sda", O_RDONLY, ENODEV);
  EXPECT_FALSE(device_->initialise(ataDrive(kP4), "sda", "/dev/sda", nullptr));
  takeLog();
  device_->getSsdData();
  EXPECT_EQ(takeLog(), Lines{kRead});
}

TEST_F(Device, WhoseThreadCannotBeStartedHasBeenReadAlready) {
  willEnableSmart("/dev/sda");
  willReadP4("/dev/sda", 96);
  threads().refuseNext(ENOMEM);
  EXPECT_FALSE(device_->initialise(ataDrive(kP4), "sda", "/dev/sda", &listener_));
  EXPECT_EQ(
      takeLog(),
      (Lines{initialiseLine("sda", &listener_),
             "Debug: SsdDevice::initialise - found supported model ", kRead, readingLine(8760, 96),
             kTold96, "Debug: PollingThread::initialise - _ssdDevice=" + low32(device_.get()),
             "Error: PollingThread::Start - failed to start readThread rc=0x0000000c",
             "Error: SsdDevice::initialise - Polling Thread did not start"}));
  device_.reset();
  EXPECT_EQ(takeLog(), (Lines{"Debug: SsdDevice destroyed", "Debug: PollingThread Destroyed"}));
}

// Choosing the algorithm

namespace {

struct Choice {
  const char* name;
  const char* model;
  std::uint32_t identifySource;
  enum { kVendor, kStatistics, kHealth } reads;
  std::uint8_t source;
  Lines lines;
};

const Lines kFound = {"Debug: SsdDevice::initialise - found supported model "};
const Lines kAtaFallback = {"Debug: SsdDevice::initialise - cannot find model ",
                            "Debug: using defult ata spec SSD Statistics Log algo as backup"};
const Lines kNvmeFallback = {"Debug: using defult DEF_SSDNVME_LOG_ALGO Statistics Log algo"};

class Model : public Device, public testing::WithParamInterface<Choice> {};

}  // namespace

TEST_P(Model, DecidesHowTheDriveIsRead) {
  const Choice& choice = GetParam();
  if ((choice.identifySource & 2) != 0) {
    willEnableSmart("/dev/sda");
  }
  switch (choice.reads) {
    case Choice::kVendor:
      willReadP4("/dev/sda", 42);
      break;
    case Choice::kStatistics:
      willReadStatistics("/dev/sda", 42, 8760);
      break;
    case Choice::kHealth:
      willReadHealth("/dev/sda", 42, 8760);
      break;
  }
  IdentifyData identify = ataDrive(choice.model);
  identify.identifySource = choice.identifySource;
  EXPECT_TRUE(device_->initialise(identify, "sda", "/dev/sda", &listener_));
  Lines log = withoutCommands(takeLog());
  log.resize(3 + choice.lines.size());
  EXPECT_EQ(log, Lines{initialiseLine("sda", &listener_)} + choice.lines +
                     Lines({kRead, readingLine(8760, 42)}));
  EXPECT_EQ(information().percentageUsed, 42);
  EXPECT_EQ(information().percentageUsedSource, choice.source);
}

INSTANTIATE_TEST_SUITE_P(
    , Model,
    testing::Values(
        Choice{"P4", "SanDisk SSD P4 64GB", 2, Choice::kVendor, 3, kFound},
        Choice{"U100", "SanDisk SSD U100 64GB", 2, Choice::kStatistics, 2, kFound},
        Choice{"U100Large", "SanDisk SSD U100 128GB", 2, Choice::kStatistics, 2, kFound},
        Choice{"A1", "SanDisk SD6SA1M064G", 2, Choice::kStatistics, 2, kFound},
        Choice{"A1Large", "SanDisk SD6SA1M128G", 2, Choice::kStatistics, 2, kFound},
        Choice{"N1", "SanDisk SD6SN1M064G", 2, Choice::kStatistics, 2, kFound},
        Choice{"N1Large", "SanDisk SD6SN1M128G", 2, Choice::kStatistics, 2, kFound},
        Choice{"A1Of1011", "SanDisk SD6SA1M064G1011", 2, Choice::kStatistics, 2, kFound},
        Choice{"A1LargeOf1011", "SanDisk SD6SA1M128G1011", 2, Choice::kStatistics, 2, kFound},
        Choice{"Transcend", "TS64GHSD630", 2, Choice::kStatistics, 2, kFound},
        Choice{"NamedAsTheAtaDefault", "DEF_SSDLOG_ALGO", 2, Choice::kStatistics, 2, kFound},
        Choice{"NamedAsTheNvmeDefault", "DEF_NVME_ALGO", 2, Choice::kHealth, 2, kFound},
        Choice{"NvmeNamedAsATableModel", "SanDisk SSD P4 64GB", 1, Choice::kVendor, 3, kFound},
        Choice{"NvmeNamedAsTheAtaDefault", "DEF_SSDLOG_ALGO", 1, Choice::kStatistics, 2, kFound},
        Choice{"UnknownAta", "Fast SSD", 2, Choice::kStatistics, 2, kAtaFallback},
        Choice{"WithATrailingBlank", "SanDisk SSD P4 64GB ", 2, Choice::kStatistics, 2,
               kAtaFallback},
        Choice{"InAnotherLetterCase", "SANDISK SSD P4 64GB", 2, Choice::kStatistics, 2,
               kAtaFallback},
        Choice{"ThatOnlyBeginsAsOne", "SanDisk SSD P4 64GBX", 2, Choice::kStatistics, 2,
               kAtaFallback},
        Choice{"UnknownNvme", "KINGSTON SNVS250G", 1, Choice::kHealth, 2, kNvmeFallback},
        Choice{"UnknownByBoth", "KINGSTON SNVS250G", 3, Choice::kHealth, 2, kNvmeFallback},
        Choice{"UnknownByNeither", "Fast SSD", 0, Choice::kStatistics, 2, kAtaFallback}),
    [](const auto& instance) { return instance.param.name; });

TEST_F(Device, ShowsAModelThatTheLocaleConverts) {
  willEnableSmart("/dev/sda");
  willReadStatistics("/dev/sda", 1, 1);
  EXPECT_TRUE(device_->initialise(ataDrive("M"), "sda", "/dev/sda", nullptr));
  EXPECT_EQ(takeLog()[1],
            "Debug: SsdDevice::initialise - cannot find model M in supported models list");
}

// Reading

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
