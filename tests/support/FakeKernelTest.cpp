#include <cerrno>

#include <fcntl.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <linux/hdreg.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "tests/support/DriveAnswers.h"
#include "tests/support/FakeKernel.h"

// A test double that lets everything pass would make every test of the rooms worthless.

using namespace testkit;

namespace {

FakeKernel& kernel() { return FakeKernel::instance(); }

}  // namespace

TEST(FakeKernel, AnswersTheExpectedCallsInTheirOrder) {
  const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
  kernel().willIdentify(fd, Bytes(512, 0x5A));
  kernel().willClose(fd);
  std::uint8_t sector[512] = {};
  EXPECT_EQ(open("/dev/sda", O_RDONLY), fd);
  EXPECT_TRUE(kernel().isOpen(fd));
  EXPECT_EQ(ioctl(fd, HDIO_GET_IDENTITY, sector), 0);
  EXPECT_EQ(sector[511], 0x5A);
  EXPECT_EQ(close(fd), 0);
  EXPECT_EQ(errno, EBADMSG);
}

TEST(FakeKernel, NoticesACallThatNobodyExpects) {
  EXPECT_NONFATAL_FAILURE(EXPECT_EQ(open("/dev/sda", O_RDONLY), -1), "unexpected: open /dev/sda");
  EXPECT_EQ(errno, ENOSYS);
  EXPECT_EQ(kernel().unexpected(), 1U);
}

TEST(FakeKernel, NoticesOtherFlags) {
  kernel().willRefuseOpen("/dev/sda", O_RDONLY, ENOENT);
  EXPECT_NONFATAL_FAILURE(open("/dev/sda", O_RDONLY | O_CLOEXEC), "unexpected: open /dev/sda");
  EXPECT_EQ(open("/dev/sda", O_RDONLY), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST(FakeKernel, NoticesAnotherByteInACommand) {
  const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
  kernel().willCommand(fd, kSmartReadData, {});
  kernel().willClose(fd);
  std::uint8_t block[4 + 512] = {0xB0, 0x01, 0xD0, 0x01};
  open("/dev/sda", O_RDONLY);
  EXPECT_NONFATAL_FAILURE(ioctl(fd, HDIO_DRIVE_CMD, block), "block");
  close(fd);
}

TEST(FakeKernel, NoticesARoomThatWasNotCleared) {
  const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
  kernel().willCommand(fd, kSmartReadData, {});
  kernel().willClose(fd);
  std::uint8_t block[4 + 512] = {0xB0, 0x00, 0xD0, 0x01};
  block[515] = 1;
  open("/dev/sda", O_RDONLY);
  EXPECT_NONFATAL_FAILURE(ioctl(fd, HDIO_DRIVE_CMD, block), "the data room not zeroed");
  close(fd);
}

TEST(FakeKernel, NoticesWhatWasNeverCalled) {
  kernel().willRefuseOpen("/dev/sda", O_RDONLY, ENOENT);
  EXPECT_NONFATAL_FAILURE(kernel().verify(), "never called: open /dev/sda");
}

TEST(FakeKernel, NoticesADescriptorThatWasLeftOpen) {
  const int fd = kernel().willOpen("/dev/nvme0", O_RDONLY);
  open("/dev/nvme0", O_RDONLY);
  EXPECT_NONFATAL_FAILURE(kernel().verify(), "/dev/nvme0 was left open");
  kernel().staysOpen(fd);
}

TEST(FakeKernel, NoticesADescriptorThatWasClosedTwice) {
  const int fd = kernel().willOpen("/dev/nvme0", O_RDONLY);
  kernel().willClose(fd);
  open("/dev/nvme0", O_RDONLY);
  close(fd);
  EXPECT_NONFATAL_FAILURE(close(fd), "unexpected: close");
}
