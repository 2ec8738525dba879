#include "device/SmartIo.h"
#include "tests/device/DeviceTest.h"
#include "tests/support/Allocations.h"

using namespace testkit;

// Each rule holds on both roads to the page; what differs is in `Road`.

namespace {

struct Road {
  const char* name;
  const char* prefix;
  bool (*read)(const std::string& path, SsdValues& values);
  void (*willGiveDirectory)(const Bytes& directory, Outcome outcome);
  void (*willGivePage)(const Bytes& page, Outcome outcome);
  /// What the road itself logs before the caller goes on: for a good read, and for one that fails.
  Lines readLines;
  const char* openFailure;
};

FakeKernel& kernel() { return FakeKernel::instance(); }

void willReadSmartLog(std::uint8_t address, std::uint8_t sectors, const Bytes& data,
                      Outcome outcome) {
  const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
  kernel().willCommand(fd, smartReadLog(address, sectors), data, outcome);
  kernel().willClose(fd);
}

void willPassThrough(std::uint8_t address, std::uint8_t page, const Bytes& data, Outcome outcome) {
  const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
  kernel().willPassThrough(fd, address, page, {data, kGoodSense, outcome});
  kernel().willClose(fd);
}

const Road kDriveCommand = {
    "DriveCommand",
    "SmartIo::getSsdDeviceStatisticsLogDataAtaSmart - ",
    SmartIo::getSsdDeviceStatisticsLogDataAtaSmart,
    [](const Bytes& directory, Outcome outcome) { willReadSmartLog(0x00, 1, directory, outcome); },
    [](const Bytes& page, Outcome outcome) {
      willReadSmartLog(0x04, 8, statisticsPages(page), outcome);
    },
    {},
    "Debug: SmartIo::getSmartLogDataAtaSmart - Ioctl failed, 0x0000006e",
};

const Road kScsi = {
    "Scsi",
    "SmartIo::getSsdDeviceStatisticsLogDataSpt - ",
    SmartIo::getSsdDeviceStatisticsLogDataSpt,
    [](const Bytes& directory, Outcome outcome) { willPassThrough(0x00, 0, directory, outcome); },
    [](const Bytes& page, Outcome outcome) { willPassThrough(0x04, 7, page, outcome); },
    {"Debug: SmartIo::getSmartLogDataSpt \n\nSense: 0x72 0x01 0x00 0x1d 0x00 0x00 0x00 0x0e 0x09 "
     "0x0c 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x50 ",
     "Debug: SmartIo::getSmartLogDataSpt - error=0x00, status=0x50"},
    "Debug: SmartIo::getSmartLogDataSpt - Ioctl failed, 0x0000006e",
};

class DeviceStatistics : public DeviceTest, public testing::WithParamInterface<const Road*> {
 protected:
  [[nodiscard]] const Road& road() const { return *GetParam(); }

  [[nodiscard]] std::string line(const std::string& level, const std::string& text) const {
    return level + ": " + road().prefix + text;
  }

  /// What is logged for a directory of version 1 whose log 4 has `pages` pages, and no other any.
  [[nodiscard]] Lines directoryLines(int pages) const {
    Lines lines = road().readLines;
    lines.push_back(line("Debug", "SMART Logging version = 1"));
    for (int address = 1; address <= 15; ++address) {
      lines.push_back("Debug: num pages at addr " + std::to_string(address) + " is " +
                      std::to_string(address == 4 ? pages : 0));
    }
    lines.push_back(line("Debug", "Log pages for device statistics = " + std::to_string(pages)));
    return lines;
  }

  [[nodiscard]] Lines pageLines(const std::string& flags) const {
    Lines lines = road().readLines;
    lines.push_back(line("Trace",
                         "SSD Device Statistics log page is 07 - confidence good that it is "
                         "populated correctly"));
    lines.push_back(line("Trace", "SSD Device Statistics Flags: " + flags));
    return lines;
  }

  bool read() { return road().read("/dev/sda", values_); }

  SsdValues values_;
};

Lines operator+(Lines first, const Lines& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(, DeviceStatistics, testing::Values(&kDriveCommand, &kScsi),
                         [](const auto& instance) { return instance.param->name; });

TEST_P(DeviceStatistics, GiveThePercentageOfPageSeven) {
  values_.poweredOnHours = 4711;
  road().willGiveDirectory(logDirectory({{4, 8}}), kGood);
  road().willGivePage(statisticsPage(42, 0xE0), kGood);
  EXPECT_TRUE(read());
  EXPECT_EQ(values_.percentageUsed, 42);
  EXPECT_EQ(values_.poweredOnHours, 4711U);
  EXPECT_TRUE(values_.attributes.empty());
  EXPECT_EQ(takeLog(), directoryLines(8) + pageLines("supported valid normalized"));
}

TEST_P(DeviceStatistics, TakeTheValueWhateverItsFlagsWhichAreOnlyLogged) {
  struct Case {
    std::uint8_t flags;
    const char* text;
  };
  for (const Case& known :
       {Case{0x80, "supported  "}, Case{0x40, " valid "}, Case{0x20, "  normalized"},
        Case{0x00, "  "}, Case{0x1F, "  "}, Case{0xC0, "supported valid "}}) {
    road().willGiveDirectory(logDirectory({{4, 8}}), kGood);
    road().willGivePage(statisticsPage(101, known.flags), kGood);
    values_.percentageUsed = 0;
    EXPECT_TRUE(read());
    EXPECT_EQ(values_.percentageUsed, 101);
    EXPECT_EQ(values_.isStandardStatistic, known.flags == 0xC0);
    EXPECT_EQ(takeLog(), directoryLines(8) + pageLines(known.text));
  }
}

TEST_P(DeviceStatistics, OfAnUnknownPercentageAreNoStandardStatistic) {
  road().willGiveDirectory(logDirectory({{4, 8}}), kGood);
  road().willGivePage(statisticsPage(255, 0xC0), kGood);
  EXPECT_TRUE(read());
  EXPECT_FALSE(values_.isStandardStatistic);
}

TEST_P(DeviceStatistics, ListTheLowBytesOfTheDirectorysWords) {
  Bytes directory = logDirectory({});
  directory[0] = 0x34;
  directory[1] = 0x92;
  for (std::size_t address = 1; address <= 16; ++address) {
    directory[2 * address] = static_cast<std::uint8_t>(200 + address);
    directory[2 * address + 1] = 0x77;
  }
  road().willGiveDirectory(directory, kGood);
  road().willGivePage(statisticsPage(1), kGood);
  EXPECT_TRUE(read());
  Lines expected = road().readLines;
  expected.push_back(line("Debug", "SMART Logging version = 37428"));
  for (int address = 1; address <= 15; ++address) {
    expected.push_back("Debug: num pages at addr " + std::to_string(address) + " is " +
                       std::to_string(200 + address));
  }
  expected.push_back(line("Debug", "Log pages for device statistics = 204"));
  EXPECT_EQ(takeLog(), expected + pageLines("supported valid "));
}

TEST_P(DeviceStatistics, NeedEightPagesAndAreNotAskedForWithLess) {
  for (const int pages : {7, 0}) {
    road().willGiveDirectory(logDirectory({{4, static_cast<std::uint16_t>(pages)}}), kGood);
    values_.percentageUsed = 17;
    EXPECT_FALSE(read());
    EXPECT_EQ(values_.percentageUsed, 17);
    EXPECT_EQ(
        takeLog(),
        (directoryLines(pages) +
         Lines{line("Error", "Log pages for device statistics is less than 8, aborting read")}));
  }
}

TEST_P(DeviceStatistics, CountPagesByTheLowByteAlone) {
  road().willGiveDirectory(logDirectory({{4, 0x0108}}), kGood);
  road().willGivePage(statisticsPage(5), kGood);
  EXPECT_TRUE(read());
  road().willGiveDirectory(logDirectory({{4, 0x0100}}), kGood);
  EXPECT_FALSE(read());
}

TEST_P(DeviceStatistics, OfAnotherPageAreNotTaken) {
  road().willGiveDirectory(logDirectory({{4, 9}}), kGood);
  road().willGivePage(statisticsPage(42, 0xE0, 6), kGood);
  values_.percentageUsed = 17;
  EXPECT_FALSE(read());
  EXPECT_EQ(values_.percentageUsed, 17);
  EXPECT_EQ(takeLog(),
            (directoryLines(9) + road().readLines +
             Lines{line("Error", "SSD Device Statistics log page not 07, aborting read")}));
}

TEST_P(DeviceStatistics, ReportADirectoryThatCannotBeRead) {
  road().willGiveDirectory(logDirectory({{4, 8}}), fails(ETIMEDOUT));
  values_.percentageUsed = 17;
  EXPECT_FALSE(read());
  EXPECT_EQ(values_.percentageUsed, 17);
  EXPECT_EQ(takeLog(), (Lines{road().openFailure,
                              line("Error", "failed to get log directory, err=0x0000006e")}));
}

TEST_P(DeviceStatistics, ReportAPageThatCannotBeRead) {
  road().willGiveDirectory(logDirectory({{4, 8}}), kGood);
  road().willGivePage(statisticsPage(42), fails(ETIMEDOUT));
  values_.percentageUsed = 17;
  EXPECT_FALSE(read());
  EXPECT_EQ(values_.percentageUsed, 17);
  EXPECT_EQ(
      takeLog(),
      (directoryLines(8) +
       Lines{road().openFailure,
             line("Error", "failed to get device stats log, err=0x0000006e, aborting read")}));
}

namespace {

class DriveCommandStatistics : public DeviceTest {};
class ScsiStatistics : public DeviceTest {};

}  // namespace

TEST_F(DriveCommandStatistics, FailSilentlyWithoutMemoryForTheDirectory) {
  SsdValues values;
  allocations::refuseNothrow(512);
  EXPECT_FALSE(SmartIo::getSsdDeviceStatisticsLogDataAtaSmart("/dev/sda", values));
  allocations::refuseNone();
  EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(ScsiStatistics, ReportMissingMemoryForTheDirectory) {
  SsdValues values;
  allocations::refuseNothrow(512);
  EXPECT_FALSE(SmartIo::getSsdDeviceStatisticsLogDataSpt("/dev/sda", values));
  allocations::refuseNone();
  EXPECT_EQ(takeLog(),
            (Lines{"Error: SmartIo::getSsdDeviceStatisticsLogDataSpt - failed to allocate "
                   "buffer err = 0x0000000c"}));
}

TEST_F(DriveCommandStatistics, ReportMissingMemoryForTheEightPages) {
  SsdValues values;
  willReadSmartLog(0x00, 1, logDirectory({{4, 8}}), kGood);
  allocations::refuseNothrow(4096);
  EXPECT_FALSE(SmartIo::getSsdDeviceStatisticsLogDataAtaSmart("/dev/sda", values));
  allocations::refuseNone();
  EXPECT_EQ(takeLog().back(),
            "Error: SmartIo::getSsdDeviceStatisticsLogDataAtaSmart - failed to allocate buffer for "
            "device stats log data, err=0x0000000c, aborting read");
}

TEST_F(ScsiStatistics, ReportMissingMemoryForThePage) {
  SsdValues values;
  willPassThrough(0x00, 0, logDirectory({{4, 8}}), kGood);
  kernel().meanwhile([] { allocations::refuseNothrow(512); });  // the directory has its buffer
  EXPECT_FALSE(SmartIo::getSsdDeviceStatisticsLogDataSpt("/dev/sda", values));
  allocations::refuseNone();
  EXPECT_EQ(
      takeLog().back(),
      "Error: SmartIo::getSsdDeviceStatisticsLogDataSpt - failed to allocate buffer for device "
      "stats log data, err=0x0000000c, aborting read");
}

namespace {

class RoadByDefault : public DeviceTest {};

class RoadTurnedOff : public DeviceTest {
 protected:
  RoadTurnedOff() : DeviceTest("SptLogAccess=0\n") {}
};

}  // namespace

TEST_F(RoadByDefault, IsScsiPassThrough) {
  SsdValues values;
  willPassThrough(0x00, 0, logDirectory({{4, 8}}), kGood);
  willPassThrough(0x04, 7, statisticsPage(3), kGood);
  EXPECT_TRUE(SmartIo::getSsdDeviceStatisticsLogData("/dev/sda", values));
  EXPECT_EQ(values.percentageUsed, 3);
  EXPECT_EQ(takeLog()[0],
            "Trace: SmartIo::getSsdDeviceStatisticsLogData - selecting SCSI Pass Thru method");
}

TEST_F(RoadByDefault, HasNoOtherToFallBackTo) {
  SsdValues values;
  willPassThrough(0x00, 0, {}, fails(ENOTTY));
  EXPECT_FALSE(SmartIo::getSsdDeviceStatisticsLogData("/dev/sda", values));
}

TEST_F(RoadTurnedOff, IsTheDriveCommandAlone) {
  SsdValues values;
  willReadSmartLog(0x00, 1, logDirectory({{4, 8}}), kGood);
  willReadSmartLog(0x04, 8, statisticsPages(statisticsPage(4)), kGood);
  EXPECT_TRUE(SmartIo::getSsdDeviceStatisticsLogData("/dev/sda", values));
  EXPECT_EQ(values.percentageUsed, 4);
  EXPECT_EQ(takeLog()[0],
            "Trace: SmartIo::getSsdDeviceStatisticsLogData - selecting ATA SMART Pass Thru method");
  willReadSmartLog(0x00, 1, {}, fails(EIO));
  EXPECT_FALSE(SmartIo::getSsdDeviceStatisticsLogData("/dev/sda", values));
}
