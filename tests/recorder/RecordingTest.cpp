#include "simulator/recorder/Recording.h"

#include <gtest/gtest.h>
#include <linux/hdreg.h>
#include <linux/nvme_ioctl.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>

#include <array>
#include <cerrno>

using namespace simulator;

namespace {

RecordedAnswer said(std::uint8_t byte) {
  RecordedAnswer answer;
  answer.data = {byte};
  return answer;
}

DriveRequest identity() {
  DriveRequest request;
  request.kind = RequestKind::hdioGetIdentity;
  return request;
}

std::string bytesOf(const std::vector<RecordedAnswer>& answers) {
  std::string text;
  for (const RecordedAnswer& answer : answers) {
    text += std::to_string(answer.data.at(0)) + ' ';
  }
  return text;
}

// ---- What is kept -----------------------------------------------------------------------------

TEST(Recording, KeepsTheAnswersToEqualRequestsInTheirOrder) {
  Recording recording;
  EXPECT_TRUE(recording.empty());
  DriveRequest smart;
  smart.kind = RequestKind::hdioDriveCmd;
  smart.sent = {0xb0, 0, 0xd0, 1};
  recording.answered("sda", identity(), said(1));
  recording.answered("sda", smart, said(7));
  recording.answered("sda", identity(), said(2));
  smart.sent[2] = 0xd5;
  recording.answered("sda", smart, said(8));
  const auto drives = recording.drives();
  ASSERT_EQ(drives.size(), 1U);
  ASSERT_EQ(drives[0].requests.size(), 3U);
  EXPECT_EQ(bytesOf(drives[0].requests[0].answers), "1 2 ");
  EXPECT_EQ(bytesOf(drives[0].requests[1].answers), "7 ");
  EXPECT_EQ(bytesOf(drives[0].requests[2].answers), "8 ");
  EXPECT_FALSE(recording.empty());
}

TEST(Recording, NeedsAnAnswerThatStaysOnlyOnce) {
  Recording recording;
  for (const std::uint8_t byte : Bytes{1, 1, 2, 2, 2}) {
    recording.answered("sda", identity(), said(byte));
  }
  EXPECT_EQ(bytesOf(recording.drives().at(0).requests.at(0).answers), "1 1 2 ");
}

TEST(Recording, LeavesOutRequestsThatMachineFilesDoNotKnow) {
  Recording recording;
  recording.opened("sda", 0);
  recording.answered("sda", DriveRequest{}, said(1));
  EXPECT_TRUE(recording.drives().at(0).requests.empty());
}

TEST(Recording, HasItsDrivesInTheOrderInWhichTheyWereOpened) {
  Recording recording;
  recording.opened("nvme1", 0);
  recording.opened("nvme0", ENXIO);
  recording.opened("nvme1", 0);
  const auto drives = recording.drives();
  ASSERT_EQ(drives.size(), 2U);
  EXPECT_EQ(drives[0].node, "nvme1");
  EXPECT_EQ(drives[1].node, "nvme0");
}

TEST(Recording, MakesAFaultOfEachRunOfFailedOpenings) {
  Recording recording;
  for (const int error : {0, EIO, EIO, 0, ENXIO}) {
    recording.opened("sda", error);
  }
  const auto faults = recording.faults();
  ASSERT_EQ(faults.size(), 2U);
  EXPECT_EQ(faults[0].pattern.call, "open");
  EXPECT_EQ(faults[0].pattern.path, "/dev/sda");
  EXPECT_EQ(faults[0].outcome.error, EIO);
  EXPECT_EQ(faults[0].nth, 2U);
  EXPECT_EQ(faults[0].count, 2U);
  EXPECT_EQ(faults[1].outcome.error, ENXIO);
  EXPECT_EQ(faults[1].nth, 5U);
  EXPECT_EQ(faults[1].count, FaultDescription::kForever);
}

// ---- What an answer is ------------------------------------------------------------------------

TEST(AnAnswer, OfACallThatFailedIsItsErrno) {
  std::array<std::uint8_t, 512> data{};
  const DriveRequest request = decodeRequest(HDIO_GET_IDENTITY, data.data());
  const RecordedAnswer answer = answerTo(request, -1, ENOTTY);
  EXPECT_EQ(answer.result, -1);
  EXPECT_EQ(answer.error, ENOTTY);
  EXPECT_TRUE(answer.data.empty());
}

TEST(AnAnswer, OfADriveCommandHasAsManySectorsAsWereAskedFor) {
  std::array<std::uint8_t, 4 + 1024> block{0xb0, 4, 0xd5, 2};
  const DriveRequest request = decodeRequest(HDIO_DRIVE_CMD, block.data());
  block = {0x50, 0, 0, 0};
  block[4] = 0xaa;
  block[4 + 1023] = 0xbb;
  const RecordedAnswer answer = answerTo(request, 0, 0);
  EXPECT_EQ(answer.header, (Bytes{0x50, 0, 0, 0}));
  ASSERT_EQ(answer.data.size(), 1024U);
  EXPECT_EQ(answer.data.front(), 0xaa);
  EXPECT_EQ(answer.data.back(), 0xbb);
}

TEST(AnAnswer, OfAScsiRequestHasStatusSenseAndData) {
  std::array<std::uint8_t, 16> block{0x85};
  std::array<std::uint8_t, 32> sense{0x72, 1};
  std::array<std::uint8_t, 512> data{9};
  sg_io_hdr_t header{};
  header.interface_id = 'S';
  header.cmdp = block.data();
  header.cmd_len = block.size();
  header.sbp = sense.data();
  header.mx_sb_len = sense.size();
  header.dxferp = data.data();
  header.dxfer_len = data.size();
  header.dxfer_direction = SG_DXFER_FROM_DEV;
  const DriveRequest request = decodeRequest(SG_IO, &header);
  header.status = 2;
  header.host_status = 3;
  header.driver_status = 8;
  header.sb_len_wr = 2;
  const RecordedAnswer answer = answerTo(request, 0, 0);
  EXPECT_EQ(answer.status, 2);
  EXPECT_EQ(answer.hostStatus, 3);
  EXPECT_EQ(answer.driverStatus, 8);
  EXPECT_EQ(answer.sense, (Bytes{0x72, 1}));
  EXPECT_EQ(answer.data.size(), 512U);
  header.dxfer_direction = SG_DXFER_TO_DEV;
  EXPECT_TRUE(answerTo(request, 0, 0).data.empty());
}

TEST(AnAnswer, OfAnNvmeCommandKeepsStatusResultAndWhatWasRead) {
  std::array<std::uint8_t, 512> data{5};
  nvme_admin_cmd command{};
  command.opcode = 0x02;
  command.addr = reinterpret_cast<std::uintptr_t>(data.data());
  command.data_len = data.size();
  const DriveRequest request = decodeRequest(NVME_IOCTL_ADMIN_CMD, &command);
  command.result = 77;
  const RecordedAnswer answer = answerTo(request, 0x4002, 0);
  EXPECT_EQ(answer.result, 0x4002);
  EXPECT_EQ(answer.nvmeResult, 77U);
  EXPECT_EQ(answer.data.size(), 512U);
  EXPECT_EQ(answer.data.front(), 5);
  command.opcode = 0x09;  // Set Features: data goes the other way
  EXPECT_TRUE(answerTo(request, 0, 0).data.empty());
}

}  // namespace
