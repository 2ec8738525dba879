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

class NvmeIdentify : public DeviceTest {
 protected:
  NvmeIdentify() {
    identify_.model = "model";
    identify_.serialNumber = "serial";
    identify_.firmwareVersion = "firmware";
  }

  int willOpenNode(Outcome namespaceId) {
    const int fd = kernel().willOpen(kNode, kFlags);
    kernel().willSetCloseOnExec(fd);
    kernel().willAskNamespace(fd, namespaceId);
    return fd;
  }

  static void willIdentifyController(int fd, std::uint32_t namespaces) {
    NvmeIdentity identity;
    identity.namespaces = namespaces;
    kernel().willAdmin(fd, kIdentifyController, {controllerData(identity), 0, kGood});
  }

  void expectUntouchedBut(std::int32_t namespaceId) const {
    EXPECT_EQ(identify_.model, "model");
    EXPECT_EQ(identify_.serialNumber, "serial");
    EXPECT_EQ(identify_.firmwareVersion, "firmware");
    EXPECT_EQ(identify_.identifySource, 0U);
    EXPECT_EQ(identify_.namespaceId, namespaceId);
    EXPECT_FALSE(identify_.nonRotating);
  }

  IdentifyData identify_;
};

const Lines kIdentityLines = {"Debug: Model Number: KINGSTON SNVS250G",
                              "Debug: Serial Number: 50026B7684A1B2C3",
                              "Debug: Firmware Version: S8442101"};

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

TEST_F(NvmeIdentify, FillsTheRecordOfAControllerWithOneNamespace) {
  identify_.ataMajorVersion = 3;
  const int fd = willOpenNode(fails(ENOTTY));
  willIdentifyController(fd, 1);
  kernel().willAdmin(fd, identifyNamespace(1), {{}, 0, kGood});
  kernel().willClose(fd);
  EXPECT_TRUE(SmartIo::getIdentifyNVMeData(kNode, identify_));
  EXPECT_EQ(identify_.model, "KINGSTON SNVS250G");
  EXPECT_EQ(identify_.serialNumber, "50026B7684A1B2C3");
  EXPECT_EQ(identify_.firmwareVersion, "S8442101");
  EXPECT_EQ(identify_.namespaceId, -1);
  EXPECT_EQ(identify_.identifySource, 1U);
  EXPECT_FALSE(identify_.nonRotating);
  EXPECT_EQ(identify_.ataMajorVersion, 3U);
  EXPECT_EQ(takeLog(), kIdentityLines);
}

TEST_F(NvmeIdentify, AddsItsSourceToTheOthersAndKeepsNonRotating) {
  identify_.identifySource = 2;
  identify_.nonRotating = true;
  willIdentifyNvme(kNode, {});
  EXPECT_TRUE(SmartIo::getIdentifyNVMeData(kNode, identify_));
  EXPECT_EQ(identify_.identifySource, 3U);
  EXPECT_TRUE(identify_.nonRotating);
}

TEST_F(NvmeIdentify, TakesFieldsAtFullWidthTrimmedOfBlanksAlone) {
  const std::string model = "M234567890123456789012345678901234567890";
  const std::string serialNumber = "S2345678901234567890";
  Bytes data = controllerData({model, serialNumber, "  \tF1  ", 0});
  data[3] = 'x';
  data[72] = 'x';
  const int fd = willOpenNode(fails(ENOTTY));
  kernel().willAdmin(fd, kIdentifyController, {data, 0, kGood});
  kernel().willClose(fd);
  EXPECT_TRUE(SmartIo::getIdentifyNVMeData(kNode, identify_));
  EXPECT_EQ(identify_.model, model);
  EXPECT_EQ(identify_.serialNumber, serialNumber);
  EXPECT_EQ(identify_.firmwareVersion, "\tF1");
}

TEST_F(NvmeIdentify, ReadsNoNamespaceOfAControllerThatHasNoneOrSeveral) {
  for (const std::uint32_t namespaces : {0U, 2U, 3U, 0x101U, 0x10000U, 0x01000001U}) {
    const int fd = willOpenNode(fails(ENOTTY));
    willIdentifyController(fd, namespaces);
    kernel().willClose(fd);
    EXPECT_TRUE(SmartIo::getIdentifyNVMeData(kNode, identify_)) << namespaces;
  }
}

TEST_F(NvmeIdentify, SucceedsWhenTheOneNamespaceOfAControllerDoesNotAnswer) {
  const int fd = willOpenNode(fails(ENOTTY));
  willIdentifyController(fd, 1);
  kernel().willAdmin(fd, identifyNamespace(1), {{}, 0, fails(EIO)});
  kernel().willClose(fd);
  EXPECT_TRUE(SmartIo::getIdentifyNVMeData(kNode, identify_));
  EXPECT_EQ(takeLog(), (Lines{"Error: SmartIo::nvme_read_identify - NVME_IOCTL_ADMIN_CMD failed: "
                              "Input/output error",
                              kIdentityLines[0], kIdentityLines[1], kIdentityLines[2]}));
}

TEST_F(NvmeIdentify, AsksTheNamespaceOfANodeThatHasOneWhateverTheCount) {
  for (const std::int32_t id : {0, 1, 7}) {
    const int fd = willOpenNode({id, 0});
    willIdentifyController(fd, 3);
    kernel().willAdmin(fd, identifyNamespace(static_cast<std::uint32_t>(id)), {{}, 0, kGood});
    kernel().willClose(fd);
    EXPECT_TRUE(SmartIo::getIdentifyNVMeData(kNode, identify_));
    EXPECT_EQ(identify_.namespaceId, id);
  }
}

TEST_F(NvmeIdentify, FailsWhenTheNodesNamespaceDoesNotAnswer) {
  const int fd = willOpenNode({5, 0});
  willIdentifyController(fd, 1);
  kernel().willAdmin(fd, identifyNamespace(5), {{}, 0, refused(0xB)});
  kernel().staysOpen(fd);
  EXPECT_FALSE(SmartIo::getIdentifyNVMeData(kNode, identify_));
  EXPECT_EQ(takeLog(),
            (Lines{"Error: SmartIo::nvme_read_identify - NVME_IOCTL_ADMIN_CMD failed: "
                   "Input/output error",
                   "Error: SmartIo::getIdentifyNVMeData - nvme_read_identify failed id_ns"}));
  expectUntouchedBut(5);
}

TEST_F(NvmeIdentify, FailsWhenTheControllerDoesNotAnswer) {
  const int fd = willOpenNode({5, 0});
  kernel().willAdmin(fd, kIdentifyController, {{}, 0, fails(ENODEV)});
  kernel().staysOpen(fd);
  EXPECT_FALSE(SmartIo::getIdentifyNVMeData(kNode, identify_));
  EXPECT_EQ(errno, ENODEV);
  EXPECT_EQ(takeLog(), (Lines{"Error: SmartIo::nvme_read_identify - NVME_IOCTL_ADMIN_CMD failed: "
                              "No such device",
                              "Error: SmartIo::getIdentifyNVMeData - nvme_read_identify failed"}));
  expectUntouchedBut(5);
}

TEST_F(NvmeIdentify, FailsOnANonZeroResult) {
  const int fd = willOpenNode(fails(ENOTTY));
  kernel().willAdmin(fd, kIdentifyController, {controllerData({}), 9, kGood});
  kernel().staysOpen(fd);
  EXPECT_FALSE(SmartIo::getIdentifyNVMeData(kNode, identify_));
  EXPECT_EQ(takeLog(), (Lines{"Error: SmartIo::nvme_read_identify - result failed: 9",
                              "Error: SmartIo::getIdentifyNVMeData - nvme_read_identify failed"}));
  expectUntouchedBut(-1);
}

TEST_F(NvmeIdentify, ReportsANodeThatCannotBeOpened) {
  kernel().willRefuseOpen(kNode, kFlags, ENOENT);
  EXPECT_FALSE(SmartIo::getIdentifyNVMeData(kNode, identify_));
  EXPECT_EQ(takeLog(), (Lines{"Error: SmartIo::getIdentifyNVMeData - Open /dev/nvme0 failed, 2"}));
  expectUntouchedBut(-1);
}

TEST_F(NvmeIdentify, ReportsAFailedFcntlAndLeavesTheNodeOpen) {
  const int fd = kernel().willOpen(kNode, kFlags);
  kernel().willSetCloseOnExec(fd, fails(EINVAL));
  kernel().staysOpen(fd);
  EXPECT_FALSE(SmartIo::getIdentifyNVMeData(kNode, identify_));
  EXPECT_EQ(takeLog(),
            (Lines{"Error: SmartIo::getIdentifyNVMeData - fcntl /dev/nvme0 failed, 22"}));
  expectUntouchedBut(-1);
}

// The host process may have closed its standard input.
TEST_F(NvmeIdentify, WorksOnTheDescriptorNought) {
  kernel().willOpenAs(0, kNode, kFlags);
  kernel().willSetCloseOnExec(0);
  kernel().willAskNamespace(0, fails(ENOTTY));
  willIdentifyController(0, 0);
  kernel().willClose(0);
  EXPECT_TRUE(SmartIo::getIdentifyNVMeData(kNode, identify_));
}

TEST_F(NvmeHealth, WorksOnTheDescriptorNought) {
  kernel().willOpenAs(0, kNode, kFlags);
  kernel().willSetCloseOnExec(0);
  kernel().willAdmin(0, kReadHealthLog, {healthLog(42, 1), 0, kGood});
  kernel().willClose(0);
  EXPECT_TRUE(SmartIo::nvme_read_smart_log(kNode, values_));
  EXPECT_EQ(values_.percentageUsed, 42);
}
