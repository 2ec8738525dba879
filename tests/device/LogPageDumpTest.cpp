#include "device/SmartIo.h"
#include "tests/device/DeviceTest.h"

using namespace testkit;

namespace {

class LogPageDump : public DeviceTest {
 protected:
  LogPageDump() : DeviceTest("DebugTraceLogs=1\n") {}
};

class UntracedLogPage : public DeviceTest {};

Bytes countingSector() {
  Bytes sector(512);
  for (std::size_t i = 0; i < sector.size(); ++i) {
    sector[i] = static_cast<std::uint8_t>(i);
  }
  return sector;
}

/// The 32 lines of a sector whose bytes count up, as they always have looked.
std::string countingSectorDump() {
  std::string text = "Debug: \n";
  constexpr char kDigits[] = "0123456789abcdef";
  for (unsigned offset = 0; offset < 512; offset += 16) {
    text += "\n00000";
    text += kDigits[offset >> 8];
    text += kDigits[offset >> 4 & 15];
    text += "0: ";
    for (unsigned i = 0; i < 16; ++i) {
      text += kDigits[offset >> 4 & 15];
      text += kDigits[i];
      text += ' ';
    }
  }
  return text + "\n";
}

/// A sector of equal bytes.
std::string dumpOf(const char* byte) {
  std::string text = countingSectorDump();
  std::size_t line = 0;
  while ((line = text.find(": ", line + 8)) != std::string::npos) {
    for (std::size_t i = 0; i < 16; ++i) {
      text.replace(line + 2 + 3 * i, 2, byte);
    }
  }
  return text;
}

constexpr char kBanner[] = "Debug: \n\n*** Solid State device Statistics log page ***\n";

}  // namespace

TEST_F(LogPageDump, HasSixteenBytesToALineBehindTheirOffset) {
  SmartIo::dumpSector(countingSector().data());
  const Lines log = takeLog();
  ASSERT_EQ(log.size(), 1U);
  EXPECT_EQ(log[0], countingSectorDump());
  EXPECT_EQ(log[0].substr(0, 193),
            "Debug: \n\n00000000: 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f "
            "\n00000010: 10 11 12 13 14 15 16 17 18 19 1a 1b 1c 1d 1e 1f "
            "\n00000020: 20 21 22 23 24 25 26 27 28 29 2a 2b 2c 2d 2e 2f \n0000003");
}

TEST_F(LogPageDump, HasABannerForTheSolidStateStatistics) {
  SmartIo::dumpSmartLogPage(countingSector().data(), 4, 7);
  EXPECT_EQ(takeLog(),
            (Lines{kBanner, "Debug: Dump Data Buffer for Log # 4 Statistics Page/Sector 7",
                   countingSectorDump()}));
}

TEST_F(LogPageDump, HasNoBannerForAnyOtherPage) {
  SmartIo::dumpSmartLogPage(countingSector().data(), 4, 6);
  SmartIo::dumpSmartLogPage(countingSector().data(), 5, 7);
  EXPECT_EQ(takeLog(), (Lines{"Debug: Dump Data Buffer for Log # 4 Statistics Page/Sector 6",
                              countingSectorDump(),
                              "Debug: Dump Data Buffer for Log # 5 Statistics Page/Sector 7",
                              countingSectorDump()}));
}

TEST_F(LogPageDump, ShowsPageZeroUnderTheLabelOfSevenOnTheDriveCommandRoad) {
  const int directory = kernel().willOpen("/dev/sda", O_RDONLY);
  kernel().willCommand(directory, smartReadLog(0x00, 1), logDirectory({{4, 8}}));
  kernel().willClose(directory);
  const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
  Bytes pages = statisticsPages(statisticsPage(42, 0, 6));
  std::fill_n(pages.begin(), 512, std::uint8_t{0xAB});
  kernel().willCommand(fd, smartReadLog(0x04, 8), pages);
  kernel().willClose(fd);
  SsdValues values;
  EXPECT_FALSE(SmartIo::getSsdDeviceStatisticsLogDataAtaSmart("/dev/sda", values));
  Lines log = takeLog();
  log.erase(log.begin(), log.end() - 4);
  EXPECT_EQ(log, (Lines{kBanner, "Debug: Dump Data Buffer for Log # 4 Statistics Page/Sector 7",
                        dumpOf("ab"),
                        "Error: SmartIo::getSsdDeviceStatisticsLogDataAtaSmart - SSD Device "
                        "Statistics log page not 07, aborting read"}));
}

TEST_F(LogPageDump, ShowsPageSevenOnTheScsiRoadBeforeItIsChecked) {
  const int directory = kernel().willOpen("/dev/sda", O_RDONLY);
  kernel().willPassThrough(directory, 0x00, 0, {logDirectory({{4, 8}}), kGoodSense, kGood});
  kernel().willClose(directory);
  const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
  kernel().willPassThrough(fd, 0x04, 7, {Bytes(512, 0xCD), kGoodSense, kGood});
  kernel().willClose(fd);
  SsdValues values;
  EXPECT_FALSE(SmartIo::getSsdDeviceStatisticsLogDataSpt("/dev/sda", values));
  Lines log = takeLog();
  log.erase(log.begin(), log.end() - 4);
  EXPECT_EQ(log, (Lines{kBanner, "Debug: Dump Data Buffer for Log # 4 Statistics Page/Sector 7",
                        dumpOf("cd"),
                        "Error: SmartIo::getSsdDeviceStatisticsLogDataSpt - SSD Device Statistics "
                        "log page not 07, aborting read"}));
}

TEST_F(UntracedLogPage, IsNotDumped) {
  SmartIo::dumpSmartLogPage(countingSector().data(), 4, 7);
  EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(UntracedLogPage, IsDumpedAsASectorAllTheSame) {
  SmartIo::dumpSector(countingSector().data());
  EXPECT_EQ(takeLog(), Lines{countingSectorDump()});
}
