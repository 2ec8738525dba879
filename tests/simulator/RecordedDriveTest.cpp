#include "simulator/RecordedDrive.h"

#include <gtest/gtest.h>
#include <linux/nvme_ioctl.h>
#include <sys/ioctl.h>

#include <cerrno>

#include "tests/simulator/Requests.h"

namespace simulator {
namespace {

using test::DriveCmdRequest;
using test::IdentityRequest;
using test::LogRequest;
using test::NvmeRequest;

RecordedAnswer data(std::uint8_t value, std::size_t size) {
  RecordedAnswer answer;
  answer.data.assign(size, value);
  return answer;
}

TEST(RecordedDrive, GivesTheAnswersInTheirOrderAndThenTheLast) {
  RecordedAnswer failure;
  failure.result = -1;
  failure.error = EIO;
  RecordedDrive drive({"sda",
                       {{RequestKind::hdioDriveCmd,
                         {0xb0, 0x00, 0xd0, 0x01},
                         {data(0x11, 512), data(0x22, 512), failure}}}});
  DriveCmdRequest first({0xb0, 0x00, 0xd0, 0x01});
  EXPECT_EQ(first.ask(drive).result, 0);
  EXPECT_EQ(first.data()[511], 0x11);
  EXPECT_EQ(first.data()[512], 0x00);
  DriveCmdRequest second({0xb0, 0x00, 0xd0, 0x01});
  second.ask(drive);
  EXPECT_EQ(second.data()[0], 0x22);
  EXPECT_EQ(DriveCmdRequest({0xb0, 0x00, 0xd0, 0x01}).ask(drive).error, EIO);
  EXPECT_EQ(DriveCmdRequest({0xb0, 0x00, 0xd0, 0x01}).ask(drive).error, EIO);
}

TEST(RecordedDrive, TellsRequestsApartByTheBytesSent) {
  RecordedAnswer enabled;
  enabled.header = {0x50, 0, 0, 0};
  RecordedDrive drive({"sda",
                       {{RequestKind::hdioGetIdentity, {}, {data(0x33, 512)}},
                        {RequestKind::hdioDriveCmd, {0xb0, 0x01, 0xd8, 0x00}, {enabled}}}});
  DriveCmdRequest enable({0xb0, 0x01, 0xd8, 0x00});
  EXPECT_EQ(enable.ask(drive).result, 0);
  EXPECT_EQ(enable.header(), "50 00 00 00");
  EXPECT_EQ(DriveCmdRequest({0xb0, 0x00, 0xd0, 0x01}).ask(drive).error, ENOTTY);
  IdentityRequest identity;
  EXPECT_EQ(identity.ask(drive).result, 0);
  EXPECT_EQ(identity.data[511], 0x33);
}

TEST(RecordedDrive, PlaysSenseAndStatusOfAPassThrough) {
  RecordedAnswer answer = data(0x44, 512);
  answer.sense = {0x72, 0x01, 0x00, 0x1d};
  answer.status = 2;
  answer.hostStatus = 3;
  answer.driverStatus = 8;
  LogRequest request(4, 7);
  RecordedDrive drive({"sda", {{RequestKind::sgIo, request.request().sent, {answer}}}});
  EXPECT_EQ(request.ask(drive).result, 0);
  EXPECT_EQ(toHex(request.sense.data(), 5), "72 01 00 1d 00");
  EXPECT_EQ(request.header.sb_len_wr, 4);
  EXPECT_EQ(request.header.status, 2);
  EXPECT_EQ(request.header.masked_status, 1);
  EXPECT_EQ(request.header.host_status, 3);
  EXPECT_EQ(request.header.driver_status, 8);
  EXPECT_EQ(request.header.info & SG_INFO_CHECK, unsigned{SG_INFO_CHECK});
  EXPECT_EQ(request.data[511], 0x44);
  LogRequest other(4, 6);
  EXPECT_EQ(other.ask(drive).error, ENOTTY);
}

TEST(RecordedDrive, PlaysNvmeStatusAndResult) {
  NvmeRequest request(0x02, 0xffffffff, 0x007f0002, 512);
  const Bytes sent = decodeRequest(NVME_IOCTL_ADMIN_CMD, &request.command).sent;
  RecordedAnswer good = data(0x55, 512);
  good.nvmeResult = 0x1234;
  RecordedAnswer rejected;
  rejected.result = 0x4002;
  RecordedAnswer noId;
  noId.result = -1;
  noId.error = ENOTTY;
  RecordedDrive drive(
      {"nvme0",
       {{RequestKind::nvmeAdmin, sent, {good, rejected}}, {RequestKind::nvmeId, {}, {noId}}}});
  EXPECT_EQ(request.ask(drive).result, 0);
  EXPECT_EQ(request.command.result, 0x1234U);
  EXPECT_EQ(request.data, Bytes(512, 0x55));
  EXPECT_EQ(NvmeRequest(0x02, 0xffffffff, 0x007f0002, 512).ask(drive).result, 0x4002);
  EXPECT_EQ(test::askNamespaceId(drive).error, ENOTTY);
}

}  // namespace
}  // namespace simulator
