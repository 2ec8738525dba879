#include "simulator/AtaDrive.h"

#include <gtest/gtest.h>
#include <linux/nvme_ioctl.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <cerrno>
#include <numeric>

#include "simulator/ScsiDisk.h"
#include "tests/simulator/Requests.h"

namespace simulator {
namespace {

using test::DriveCmdRequest;
using test::IdentityRequest;
using test::LogRequest;

constexpr std::array<std::uint8_t, 4> kSmartEnable{0xb0, 0x01, 0xd8, 0x00};
constexpr std::array<std::uint8_t, 4> kReadData{0xb0, 0x00, 0xd0, 0x01};
constexpr std::array<std::uint8_t, 4> kReadDirectory{0xb0, 0x00, 0xd5, 0x01};
constexpr std::array<std::uint8_t, 4> kReadStatistics{0xb0, 0x04, 0xd5, 0x08};

AtaDescription ssd() {
  AtaDescription description;
  description.node = "sda";
  description.model = "TS64GHSD630";
  description.serial = "E214870391";
  description.firmware = "20180526";
  description.statistics.emplace();
  description.wear = Wear::constant(33);
  return description;
}

unsigned sum(const std::uint8_t* data) { return std::accumulate(data, data + 512, 0U) % 256; }

TEST(AtaDrive, IdentityHasTextsInReadingOrderPaddedWithBlanks) {
  AtaDrive drive(ssd());
  IdentityRequest request;
  EXPECT_EQ(request.ask(drive).result, 0);
  EXPECT_EQ(request.text(54, 40), "TS64GHSD630" + std::string(29, ' '));
  EXPECT_EQ(request.text(20, 20), "E214870391" + std::string(10, ' '));
  EXPECT_EQ(request.text(46, 8), "20180526");
}

TEST(AtaDrive, IdentityTellsVersionRotationAndFeatures) {
  AtaDescription description = ssd();
  description.rotation = 7200;
  description.majorVersion = 0x00f0;
  AtaDrive drive(description);
  IdentityRequest request;
  request.ask(drive);
  EXPECT_EQ(request.word(80), 0x00f0U);
  EXPECT_EQ(request.word(217), 7200U);
  EXPECT_EQ(request.word(82) & 1U, 1U);
  EXPECT_EQ(request.word(84) & 0x21U, 0x21U);
  EXPECT_EQ(request.word(85) & 1U, 1U);
  EXPECT_EQ(sum(request.data.data()), 0U);
}

TEST(AtaDrive, IdentityOfADriveWithoutSmartOrGeneralPurposeLogsSaysSo) {
  AtaDescription description = ssd();
  description.smart = false;
  description.generalPurposeLogs = false;
  AtaDrive drive(description);
  IdentityRequest request;
  request.ask(drive);
  EXPECT_EQ(request.word(82) & 1U, 0U);
  EXPECT_EQ(request.word(84) & 0x21U, 0U);
}

TEST(AtaDrive, TheDriveItselfSendsItsTextsWithSwappedBytes) {
  AtaDrive drive(ssd());
  AtaCommand identify;
  identify.command = 0xec;
  const AtaAnswer answer = drive.device().execute(identify, 0);
  EXPECT_EQ(answer.result.status, 0x50);
  EXPECT_EQ(std::string(answer.data.begin() + 54, answer.data.begin() + 60), "ST46HG");
}

TEST(AtaDrive, RawIdentifyComesBackByteForByte) {
  AtaDescription description = ssd();
  description.rawIdentify.resize(512);
  std::iota(description.rawIdentify.begin(), description.rawIdentify.end(), std::uint8_t{0});
  AtaDrive drive(description);
  IdentityRequest request;
  request.ask(drive);
  EXPECT_TRUE(
      std::equal(request.data.begin(), request.data.end(), description.rawIdentify.begin()));
}

TEST(AtaDrive, SmartEnableBringsItsRegistersBackInTheHeader) {
  AtaDrive drive(ssd());
  DriveCmdRequest request(kSmartEnable);
  EXPECT_EQ(request.ask(drive).result, 0);
  EXPECT_EQ(request.header(), "50 00 00 00");
}

TEST(AtaDrive, SmartReadDataLeavesTheHeaderAndSealsTheSector) {
  AtaDescription description = ssd();
  SmartAttribute attribute;
  attribute.id = 230;
  attribute.flags = 0x0123;
  attribute.current = 97;
  attribute.worst = 98;
  attribute.raw = 0x060504030201;
  attribute.reserved = 7;
  description.attributes = {SmartAttribute{}, attribute};
  AtaDrive drive(description);
  DriveCmdRequest request(kReadData);
  EXPECT_EQ(request.ask(drive).result, 0);
  EXPECT_EQ(request.header(), "b0 00 d0 01");
  EXPECT_EQ(request.data()[2], 0);  // an entry with id 0 is an empty slot
  EXPECT_EQ(toHex(request.data() + 14, 12), "e6 23 01 61 62 01 02 03 04 05 06 07");
  EXPECT_EQ(request.data()[26], 0);
  EXPECT_EQ(sum(request.data()), 0U);
}

TEST(AtaDrive, DriveWithoutSmartAbortsEverySmartCommand) {
  AtaDescription description = ssd();
  description.smart = false;
  AtaDrive drive(description);
  for (const auto& header : {kSmartEnable, kReadData, kReadDirectory}) {
    DriveCmdRequest request(header);
    const std::string before = request.header();
    const Reply reply = request.ask(drive);
    EXPECT_EQ(reply.result, -1);
    EXPECT_EQ(reply.error, EIO);
    EXPECT_EQ(request.header(), before);
  }
}

TEST(AtaDrive, CommandsThatItDoesNotKnowAreAborted) {
  AtaDrive drive(ssd());
  DriveCmdRequest request({0xe0, 0, 0, 0});
  EXPECT_EQ(request.ask(drive).error, EIO);
}

TEST(AtaDrive, BothLogDirectoriesCountTheStatisticsPages) {
  AtaDescription description = ssd();
  description.statistics->pages = 0x0108;
  AtaDrive drive(description);
  DriveCmdRequest smart(kReadDirectory);
  ASSERT_EQ(smart.ask(drive).result, 0);
  EXPECT_EQ(toHex(smart.data(), 10), "01 00 01 00 00 00 00 00 08 01");
  LogRequest general(0, 0);
  ASSERT_EQ(general.ask(drive).result, 0);
  EXPECT_EQ(toHex(general.data.data(), 10), "01 00 00 00 00 00 00 00 08 01");
}

TEST(AtaDrive, StatisticsPageSevenCarriesPercentageAndFlagsOnBothRoads) {
  AtaDescription description = ssd();
  description.statistics->flags = 0xc0;
  AtaDrive drive(description);
  DriveCmdRequest smart(kReadStatistics);
  ASSERT_EQ(smart.ask(drive).result, 0);
  EXPECT_EQ(toHex(smart.data() + 3584, 16), "01 00 07 00 00 00 00 00 21 00 00 00 00 00 00 c0");
  LogRequest sat(4, 7);
  ASSERT_EQ(sat.ask(drive).result, 0);
  EXPECT_EQ(toHex(sat.data.data(), 16), "01 00 07 00 00 00 00 00 21 00 00 00 00 00 00 c0");
}

TEST(AtaDrive, EachStatisticsPageBearsItsNumberUnlessTheMachineSaysOtherwise) {
  AtaDescription description = ssd();
  description.statistics->pageNumber = 6;
  AtaDrive drive(description);
  DriveCmdRequest request(kReadStatistics);
  ASSERT_EQ(request.ask(drive).result, 0);
  for (unsigned page = 0; page < 7; ++page) {
    EXPECT_EQ(request.data()[page * 512 + 2], page);
  }
  EXPECT_EQ(request.data()[3586], 6);
}

TEST(AtaDrive, PagesBehindTheLastAreAborted) {
  AtaDescription description = ssd();
  description.statistics->pages = 7;
  AtaDrive drive(description);
  EXPECT_EQ(DriveCmdRequest(kReadStatistics).ask(drive).error, EIO);
  LogRequest request(4, 7);
  EXPECT_EQ(request.ask(drive).result, 0);
  EXPECT_EQ(request.sense[0], 0x70);
}

TEST(AtaDrive, WearMovesWithEachReadingOfPageSevenAndNotWithOtherPages) {
  AtaDescription description = ssd();
  description.wear = Wear::readings({94, 95, 96});
  AtaDrive drive(description);
  const auto percent = [&drive] {
    LogRequest request(4, 7);
    request.ask(drive);
    return request.data[8];
  };
  EXPECT_EQ(percent(), 94);
  LogRequest(0, 0).ask(drive);
  LogRequest(4, 1).ask(drive);
  EXPECT_EQ(percent(), 95);
  DriveCmdRequest smart(kReadStatistics);
  smart.ask(drive);
  EXPECT_EQ(smart.data()[3592], 96);
  EXPECT_EQ(percent(), 96);
}

TEST(AtaDrive, WearInAnAttributeMovesWithEachReadingOfTheSmartData) {
  AtaDescription description = ssd();
  description.wear = Wear::readings({94, 95});
  SmartAttribute attribute;
  attribute.id = 230;
  attribute.currentIsWear = true;
  description.attributes = {attribute};
  AtaDrive drive(description);
  LogRequest(4, 7).ask(drive);
  for (const int percent : {94, 95, 95}) {
    DriveCmdRequest request(kReadData);
    request.ask(drive);
    EXPECT_EQ(request.data()[5], percent);
  }
}

TEST(AtaDrive, RawLogsAndSmartDataComeBackByteForByte) {
  AtaDescription description = ssd();
  description.rawSmartData.assign(512, 0x5a);
  description.rawGeneralPurposeLogs[4].assign(8 * 512, 0x77);
  description.rawSmartLogs[0].assign(512, 0x66);
  AtaDrive drive(description);
  DriveCmdRequest data(kReadData);
  data.ask(drive);
  EXPECT_EQ(data.data()[511], 0x5a);
  DriveCmdRequest directory(kReadDirectory);
  directory.ask(drive);
  EXPECT_EQ(directory.data()[0], 0x66);
  LogRequest page(4, 7);
  page.ask(drive);
  EXPECT_EQ(page.data[0], 0x77);
}

TEST(AtaDrive, HangingDriveFailsTheDriveCommandAfterTheKernelsPatience) {
  AtaDrive drive(ssd());
  Circumstances circumstances;
  circumstances.fault.hang = true;
  const Reply reply = DriveCmdRequest(kReadData).ask(drive, circumstances);
  EXPECT_EQ(reply.result, -1);
  EXPECT_EQ(reply.error, EIO);
  EXPECT_EQ(reply.delay, std::chrono::milliseconds(10'100));
}

TEST(AtaDrive, HangingDriveEndsAPassThroughWithFixedSense) {
  AtaDrive drive(ssd());
  Circumstances circumstances;
  circumstances.fault.hang = true;
  LogRequest request(4, 7);
  const Reply reply = request.ask(drive, circumstances);
  EXPECT_EQ(reply.result, 0);
  EXPECT_EQ(reply.delay, std::chrono::milliseconds(7'060));
  EXPECT_EQ(request.sense[0], 0x70);
  EXPECT_EQ(request.sense[8], 0x00);
  EXPECT_EQ(request.sense[9], 0x40);
  EXPECT_EQ(request.header.host_status, 0);
}

TEST(AtaDrive, PassThroughWithoutCheckConditionBringsNoSenseOnSuccess) {
  AtaDrive drive(ssd());
  LogRequest request(4, 7);
  request.block[2] = 0x0e;
  EXPECT_EQ(request.ask(drive).result, 0);
  EXPECT_EQ(request.header.status, 0);
  EXPECT_EQ(request.header.driver_status, 0);
  EXPECT_EQ(request.header.sb_len_wr, 0);
  EXPECT_EQ(request.data[8], 33);
}

TEST(AtaDrive, SenseIsCutToTheCallersBuffer) {
  AtaDrive drive(ssd());
  LogRequest request(4, 7);
  request.header.mx_sb_len = 10;
  request.sense.fill(0xaa);
  request.ask(drive);
  EXPECT_EQ(request.header.sb_len_wr, 10);
  EXPECT_EQ(request.sense[9], 0x0c);
  EXPECT_EQ(request.sense[10], 0xaa);
}

TEST(AtaDrive, DataIsCutToTheCallersBuffer) {
  AtaDrive drive(ssd());
  LogRequest request(4, 7);
  request.header.dxfer_len = 8;
  request.ask(drive);
  EXPECT_EQ(request.data[2], 7);
  EXPECT_EQ(request.data[8], LogRequest::kUntouched);
}

TEST(AtaDrive, MalformedScsiRequestsAreRefusedBeforeTheDriveSeesThem) {
  AtaDrive drive(ssd());
  LogRequest wrongInterface(4, 7);
  wrongInterface.header.interface_id = 'Q';
  EXPECT_EQ(wrongInterface.ask(drive).error, EINVAL);
  LogRequest noBlock(4, 7);
  noBlock.header.cmdp = nullptr;
  EXPECT_EQ(noBlock.ask(drive).error, EFAULT);
  LogRequest noBuffer(4, 7);
  noBuffer.header.dxferp = nullptr;
  EXPECT_EQ(noBuffer.ask(drive).error, EFAULT);
  LogRequest wrongDirection(4, 7);
  wrongDirection.header.dxfer_direction = 17;
  EXPECT_EQ(wrongDirection.ask(drive).error, EINVAL);
}

TEST(AtaDrive, NvmeRequestsAreNoneOfItsBusiness) {
  AtaDrive drive(ssd());
  EXPECT_EQ(test::askNamespaceId(drive).error, ENOTTY);
}

TEST(ScsiDisk, KnowsNeitherIdentityNorDriveCommands) {
  ScsiDisk disk("sdb");
  EXPECT_EQ(IdentityRequest().ask(disk).error, EINVAL);
  EXPECT_EQ(DriveCmdRequest(kSmartEnable).ask(disk).error, EINVAL);
  EXPECT_EQ(test::askNamespaceId(disk).error, ENOTTY);
}

}  // namespace
}  // namespace simulator
