#include "core/SsdDevice.h"

#include <array>
#include <cstdio>
#include <future>

#include "tests/core/SsdDeviceTest.h"

using namespace testkit;

namespace {

std::string pointerText(const void* pointer) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%p", pointer);
  return text.data();
}

std::string initialiseLine(const std::string& drive, const void* listener) {
  return "Trace: SsdDevice::initialise - drive " + drive + " devPath /dev/" + drive +
         ", listener=0x" + pointerText(listener);
}

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

TEST(SsdInformation, HasItsPartsInThisOrder) {
  const SsdInformation information{"model", "serial", "sda", "firmware", 1, 2, 3, true};
  EXPECT_EQ(information.model, "model");
  EXPECT_EQ(information.serialNumber, "serial");
  EXPECT_EQ(information.physicalDrive, "sda");
  EXPECT_EQ(information.firmwareVersion, "firmware");
  EXPECT_EQ(information.poweredOnHours, 1U);
  EXPECT_EQ(information.percentageUsed, 2);
  EXPECT_EQ(information.percentageUsedSource, 3);
  EXPECT_TRUE(information.failureImminent);
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
