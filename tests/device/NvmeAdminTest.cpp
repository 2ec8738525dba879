#include <limits>

#include "device/SmartIo.h"
#include "tests/device/DeviceTest.h"

using namespace testkit;

// A node that fails stays open: each test that says `staysOpen` holds that.

namespace {

constexpr char kNode[] = "/dev/nvme0";
constexpr int kFlags = O_RDONLY | O_NONBLOCK;

class NvmeCommand : public DeviceTest {
 protected:
  /// An open controller.
  int openController() {
    const int fd = kernel().willOpen(kNode, kFlags);
    EXPECT_EQ(open(kNode, kFlags), fd);
    return fd;
  }

  Bytes buffer_ = Bytes(4096 + 16, 0xEE);
};

class NvmeHealth : public DeviceTest {
 protected:
  NvmeHealth() {
    values_.percentageUsed = 17;
    values_.poweredOnHours = 18;
  }

  void expectUntouched() const {
    EXPECT_EQ(values_.percentageUsed, 17);
    EXPECT_EQ(values_.poweredOnHours, 18U);
  }

  int willOpenController() {
    const int fd = kernel().willOpen(kNode, kFlags);
    kernel().willSetCloseOnExec(fd);
    return fd;
  }

  SsdValues values_;
};

}  // namespace

TEST_F(NvmeCommand, IdentifyFillsTheBufferAndLeavesTheNodeOpen) {
  const int fd = openController();
  Bytes answer(4096);
  answer[0] = 1;
  answer[4095] = 2;
  kernel().willAdmin(fd, {0x06, 0x01020304, 4096, 0xC1}, {answer, 0, kGood});
  EXPECT_TRUE(SmartIo::nvme_read_identify(fd, 0x01020304, 0xC1, buffer_.data(), 4096));
  answer.insert(answer.end(), 16, 0xEE);
  EXPECT_EQ(buffer_, answer);
  EXPECT_EQ(takeLog(), Lines{});
  kernel().staysOpen(fd);
}

TEST_F(NvmeCommand, IdentifySendsTheLengthAsked) {
  const int fd = openController();
  kernel().willAdmin(fd, {0x06, 1, 512, 0x00}, {Bytes(512, 1), 0, kGood});
  EXPECT_TRUE(SmartIo::nvme_read_identify(fd, 1, 0, buffer_.data(), 512));
  EXPECT_EQ(buffer_[512], 0xEE);
  kernel().staysOpen(fd);
}

TEST_F(NvmeCommand, IdentifyReportsAFailedIoctlInWordsOverAClearedBuffer) {
  const int fd = openController();
  kernel().willAdmin(fd, kIdentifyController, {{}, 0, fails(EACCES)});
  EXPECT_FALSE(SmartIo::nvme_read_identify(fd, 0, 1, buffer_.data(), 4096));
  EXPECT_EQ(errno, EACCES);
  EXPECT_EQ(buffer_[0], 0);
  EXPECT_EQ(buffer_[4095], 0);
  EXPECT_EQ(takeLog(), (Lines{"Error: SmartIo::nvme_read_identify - NVME_IOCTL_ADMIN_CMD failed: "
                              "Permission denied"}));
  kernel().staysOpen(fd);
}

TEST_F(NvmeCommand, IdentifyTakesAPositiveStatusForAFailureWithAnErrorOfItsOwn) {
  const int fd = openController();
  errno = ENOENT;
  kernel().willAdmin(fd, kIdentifyController, {Bytes(4096, 1), 0, refused(0x4002)});
  EXPECT_FALSE(SmartIo::nvme_read_identify(fd, 0, 1, buffer_.data(), 4096));
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(takeLog(), (Lines{"Error: SmartIo::nvme_read_identify - NVME_IOCTL_ADMIN_CMD failed: "
                              "Input/output error"}));
  kernel().staysOpen(fd);
}

TEST_F(NvmeCommand, IdentifyReportsANonZeroResultAsASignedNumber) {
  const int fd = openController();
  kernel().willAdmin(fd, kIdentifyController, {{}, 5, kGood});
  EXPECT_FALSE(SmartIo::nvme_read_identify(fd, 0, 1, buffer_.data(), 4096));
  kernel().willAdmin(fd, kIdentifyController, {{}, 0xFFFFFFFE, kGood});
  EXPECT_FALSE(SmartIo::nvme_read_identify(fd, 0, 1, buffer_.data(), 4096));
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(takeLog(), (Lines{"Error: SmartIo::nvme_read_identify - result failed: 5",
                              "Error: SmartIo::nvme_read_identify - result failed: -2"}));
  kernel().staysOpen(fd);
}

TEST_F(NvmeCommand, ReadLogPageFillsTheBufferAndClosesTheNode) {
  const int fd = openController();
  kernel().willAdmin(fd, {0x02, 0xFFFFFFFF, 512, 0x007F0002}, {Bytes(512, 0x77), 0, kGood});
  kernel().willClose(fd);
  EXPECT_TRUE(SmartIo::nvme_read_log_page(fd, 0x02, buffer_.data(), 512));
  EXPECT_EQ(buffer_[511], 0x77);
  EXPECT_EQ(buffer_[512], 0xEE);
  EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(NvmeCommand, ReadLogPageCountsDwordsFromNought) {
  const int fd = openController();
  kernel().willAdmin(fd, {0x02, 0xFFFFFFFF, 4096, 0x03FF00CA}, {{}, 0, kGood});
  kernel().willClose(fd);
  EXPECT_TRUE(SmartIo::nvme_read_log_page(fd, 0xCA, buffer_.data(), 4096));
  const int other = openController();
  kernel().willAdmin(other, {0x02, 0xFFFFFFFF, 4, 0x000000FF}, {{}, 0, kGood});
  kernel().willClose(other);
  EXPECT_TRUE(SmartIo::nvme_read_log_page(other, 0xFF, buffer_.data(), 4));
}

TEST_F(NvmeCommand, ReadLogPageReportsUnderTheNameOfIdentifyAndLeavesTheNodeOpen) {
  const int fd = openController();
  kernel().willAdmin(fd, kReadHealthLog, {{}, 0, fails(ENOTTY)});
  EXPECT_FALSE(SmartIo::nvme_read_log_page(fd, 0x02, buffer_.data(), 512));
  EXPECT_EQ(errno, ENOTTY);
  EXPECT_EQ(buffer_[511], 0);
  kernel().willAdmin(fd, kReadHealthLog, {{}, 7, kGood});
  EXPECT_FALSE(SmartIo::nvme_read_log_page(fd, 0x02, buffer_.data(), 512));
  EXPECT_EQ(takeLog(), (Lines{"Error: SmartIo::nvme_read_identify - NVME_IOCTL_ADMIN_CMD failed: "
                              "Inappropriate ioctl for device",
                              "Error: SmartIo::nvme_read_identify - result failed: 7"}));
  kernel().staysOpen(fd);
}

TEST_F(NvmeHealth, GivesPercentageAndHours) {
  const int fd = willOpenController();
  Bytes log = healthLog(42, 0x0807060504030201);
  log[4] = 0x11;
  log[6] = 0x22;
  log[127] = 0x33;
  kernel().willAdmin(fd, kReadHealthLog, {log, 0, kGood});
  kernel().willClose(fd);
  EXPECT_TRUE(SmartIo::nvme_read_smart_log(kNode, values_));
  EXPECT_EQ(values_.percentageUsed, 42);
  EXPECT_EQ(values_.poweredOnHours, 0x0807060504030201U);
  EXPECT_TRUE(values_.attributes.empty());
  EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(NvmeHealth, PassesAPercentageAbove100On) {
  for (const std::uint8_t percentage : {std::uint8_t{101}, std::uint8_t{255}}) {
    willReadHealth(kNode, percentage, 1);
    EXPECT_TRUE(SmartIo::nvme_read_smart_log(kNode, values_));
    EXPECT_EQ(values_.percentageUsed, percentage);
  }
}

TEST_F(NvmeHealth, TakesTheLow64BitsOfTheHours) {
  const int fd = willOpenController();
  kernel().willAdmin(fd, kReadHealthLog,
                     {healthLog(1, std::numeric_limits<std::uint64_t>::max(), 3), 0, kGood});
  kernel().willClose(fd);
  EXPECT_TRUE(SmartIo::nvme_read_smart_log(kNode, values_));
  EXPECT_EQ(values_.poweredOnHours, std::numeric_limits<std::uint64_t>::max());
}

TEST_F(NvmeHealth, ReportsANodeThatCannotBeOpenedUnderTheNameOfIdentify) {
  kernel().willRefuseOpen(kNode, kFlags, ENOMEDIUM);
  EXPECT_FALSE(SmartIo::nvme_read_smart_log(kNode, values_));
  EXPECT_EQ(errno, ENOMEDIUM);
  EXPECT_EQ(takeLog(),
            (Lines{"Error: SmartIo::getIdentifyNVMeData - Open /dev/nvme0 failed, 123"}));
  expectUntouched();
}

TEST_F(NvmeHealth, ReportsAFailedFcntlAndLeavesTheNodeOpen) {
  const int fd = kernel().willOpen(kNode, kFlags);
  kernel().willSetCloseOnExec(fd, fails(EBADF));
  kernel().staysOpen(fd);
  EXPECT_FALSE(SmartIo::nvme_read_smart_log(kNode, values_));
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(takeLog(), (Lines{"Error: SmartIo::getIdentifyNVMeData - fcntl /dev/nvme0 failed, 9"}));
  expectUntouched();
}

TEST_F(NvmeHealth, LeavesTheNodeOpenAfterAFailedCommand) {
  const int fd = willOpenController();
  kernel().willAdmin(fd, kReadHealthLog, {healthLog(99, 99), 0, refused(2)});
  kernel().staysOpen(fd);
  EXPECT_FALSE(SmartIo::nvme_read_smart_log(kNode, values_));
  EXPECT_EQ(takeLog(), (Lines{"Error: SmartIo::nvme_read_identify - NVME_IOCTL_ADMIN_CMD failed: "
                              "Input/output error"}));
  expectUntouched();
}

TEST_F(NvmeHealth, LeavesTheNodeOpenAfterANonZeroResult) {
  const int fd = willOpenController();
  kernel().willAdmin(fd, kReadHealthLog, {healthLog(99, 99), 1, kGood});
  kernel().staysOpen(fd);
  EXPECT_FALSE(SmartIo::nvme_read_smart_log(kNode, values_));
  expectUntouched();
}

// The host process may have closed its standard input.
TEST_F(NvmeHealth, WorksOnTheDescriptorNought) {
  kernel().willOpenAs(0, kNode, kFlags);
  kernel().willSetCloseOnExec(0);
  kernel().willAdmin(0, kReadHealthLog, {healthLog(42, 1), 0, kGood});
  kernel().willClose(0);
  EXPECT_TRUE(SmartIo::nvme_read_smart_log(kNode, values_));
  EXPECT_EQ(values_.percentageUsed, 42);
}
