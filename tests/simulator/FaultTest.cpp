#include "simulator/Fault.h"

#include <gtest/gtest.h>
#include <sys/ioctl.h>

#include <cerrno>

#include "tests/simulator/Requests.h"

namespace simulator {
namespace {

using test::DriveCmdRequest;
using test::LogRequest;
using test::NvmeRequest;

FaultDescription failing(const std::string& call, const std::string& path, int error) {
  FaultDescription fault;
  fault.pattern.call = call;
  fault.pattern.path = path;
  fault.outcome.error = error;
  return fault;
}

TEST(Faults, ConcernTheNamedCallOnTheNamedPathOnly) {
  Faults faults({failing("open", "/dev/sda", EIO)});
  EXPECT_NE(faults.meet("open", "/dev/sda"), nullptr);
  EXPECT_EQ(faults.meet("open", "/dev/sdb"), nullptr);
  EXPECT_EQ(faults.meet("access", "/dev/sda"), nullptr);
}

TEST(Faults, WithoutAPathConcernEveryPath) {
  Faults faults({failing("open", "", EIO)});
  EXPECT_NE(faults.meet("open", "/dev/sda"), nullptr);
  EXPECT_NE(faults.meet("open", "/dev/sdb"), nullptr);
}

TEST(Faults, BeginWithTheNthCallAndEndAfterTheirCount) {
  FaultDescription fault = failing("open", "/dev/sda", EIO);
  fault.nth = 2;
  fault.count = 2;
  Faults faults({fault});
  EXPECT_EQ(faults.meet("open", "/dev/sda"), nullptr);
  EXPECT_EQ(faults.meet("open", "/dev/sdb"), nullptr);  // does not count
  EXPECT_NE(faults.meet("open", "/dev/sda"), nullptr);
  EXPECT_NE(faults.meet("open", "/dev/sda"), nullptr);
  EXPECT_EQ(faults.meet("open", "/dev/sda"), nullptr);
}

TEST(Faults, LastForeverUnlessCounted) {
  FaultDescription fault = failing("open", "/dev/sda", EIO);
  fault.nth = 3;
  Faults faults({fault});
  faults.meet("open", "/dev/sda");
  faults.meet("open", "/dev/sda");
  for (int i = 0; i < 100; ++i) {
    EXPECT_NE(faults.meet("open", "/dev/sda"), nullptr);
  }
}

TEST(Faults, OfSeveralTheFirstIsMetAndAllCount) {
  FaultDescription first = failing("open", "/dev/sda", EIO);
  first.count = 1;
  FaultDescription second = failing("open", "/dev/sda", EACCES);
  second.nth = 2;
  Faults faults({first, second});
  EXPECT_EQ(faults.meet("open", "/dev/sda")->error, EIO);
  EXPECT_EQ(faults.meet("open", "/dev/sda")->error, EACCES);
}

TEST(Faults, OfAnIoctlAreToldApartByWhatIsAsked) {
  FaultDescription fault = failing("ioctl", "/dev/sda", EIO);
  fault.pattern.request = RequestKind::sgIo;
  fault.pattern.command = 0x2f;
  fault.pattern.log = 4;
  fault.pattern.page = 7;
  Faults faults({fault});
  LogRequest wanted(4, 7);
  LogRequest otherPage(4, 6);
  LogRequest otherLog(0, 7);
  const DriveRequest wantedRequest = wanted.request();
  const DriveRequest otherPageRequest = otherPage.request();
  const DriveRequest otherLogRequest = otherLog.request();
  EXPECT_EQ(faults.meet("ioctl", "/dev/sda", &otherPageRequest), nullptr);
  EXPECT_EQ(faults.meet("ioctl", "/dev/sda", &otherLogRequest), nullptr);
  EXPECT_NE(faults.meet("ioctl", "/dev/sda", &wantedRequest), nullptr);
}

Machine machineWith(const std::string& faults) {
  return Machine(test::machineOf(R"({"name": "m", "drives": [
      {"kind": "sata", "node": "sda", "statistics": true, "wear": 33},
      {"kind": "nvme", "node": "nvme0"}], "faults": [)" +
                                 faults + "]}"));
}

TEST(MachineFaults, WithAnErrnoNeverReachTheDrive) {
  Machine machine = machineWith(
      R"({"call": "ioctl", "node": "sda", "feature": "0xD8", "errno": "EBUSY", "delayMs": 30})");
  DriveCmdRequest request({0xb0, 0x01, 0xd8, 0x00});
  const Reply reply =
      machine.ioctl(*machine.drive("sda"), decodeRequest(0x031f, request.block.data()), 0);
  EXPECT_EQ(reply.result, -1);
  EXPECT_EQ(reply.error, EBUSY);
  EXPECT_EQ(reply.delay, std::chrono::milliseconds(30));
  EXPECT_EQ(request.header(), "b0 01 d8 00");
}

TEST(MachineFaults, WithAReturnValueTouchNothing) {
  Machine machine =
      machineWith(R"({"call": "ioctl", "node": "nvme0", "cns": 1, "return": "0x4002"})");
  NvmeRequest request(0x06, 0, 1, 4096);
  const Reply reply = machine.ioctl(*machine.drive("nvme0"),
                                    decodeRequest(NVME_IOCTL_ADMIN_CMD, &request.command), 0);
  EXPECT_EQ(reply.result, 0x4002);
  EXPECT_EQ(request.data, Bytes(4096, 0));
}

TEST(MachineFaults, OfARejectedNvmeCommandSetTheResultToZeroAsTheKernelDoes) {
  Machine machine =
      machineWith(R"({"call": "ioctl", "node": "nvme0", "cns": 1, "return": "0x4002"})");
  NvmeRequest request(0x06, 0, 1, 4096);
  machine.ioctl(*machine.drive("nvme0"), decodeRequest(NVME_IOCTL_ADMIN_CMD, &request.command), 0);
  EXPECT_EQ(request.command.result, 0U);
}

TEST(MachineFaults, WithSenseBytesEndAPassThroughWithExactlyThese) {
  Machine machine = machineWith(R"({"call": "ioctl", "node": "sda", "sense": "72 01 00 1d 51"})");
  LogRequest request(4, 7);
  const Reply reply = machine.ioctl(*machine.drive("sda"), request.request(), 0);
  EXPECT_EQ(reply.result, 0);
  EXPECT_EQ(toHex(request.sense.data(), 6), "72 01 00 1d 51 00");
  EXPECT_EQ(request.header.status, 2);
  EXPECT_EQ(request.data[0], LogRequest::kUntouched);
}

TEST(MachineFaults, WithDataOverwriteWhatTheDriveSent) {
  Machine machine = machineWith(R"({"call": "ioctl", "node": "sda", "log": 4, "data": "ff fe"})");
  LogRequest request(4, 7);
  machine.ioctl(*machine.drive("sda"), request.request(), 0);
  EXPECT_EQ(toHex(request.data.data(), 3), "ff fe 07");
  EXPECT_EQ(request.data[8], 33);
}

TEST(MachineFaults, WithADelayAloneOnlyTakeTime) {
  Machine machine = machineWith(R"({"call": "ioctl", "node": "sda", "delayMs": 250})");
  LogRequest request(4, 7);
  const Reply reply = machine.ioctl(*machine.drive("sda"), request.request(), 0);
  EXPECT_EQ(reply.delay, std::chrono::milliseconds(250));
  EXPECT_EQ(request.data[8], 33);
}

TEST(MachineFaults, WithRegistersFailTheDriveCommandToo) {
  Machine machine =
      machineWith(R"({"call": "ioctl", "node": "sda", "ata": {"status": "0x51", "error": 4}})");
  DriveCmdRequest request({0xb0, 0x00, 0xd0, 0x01});
  const Reply reply =
      machine.ioctl(*machine.drive("sda"), decodeRequest(0x031f, request.block.data()), 0);
  EXPECT_EQ(reply.error, EIO);
}

}  // namespace
}  // namespace simulator
