#include "device/SmartIo.h"
#include "tests/device/DeviceTest.h"

using namespace testkit;

// A node that fails stays open: each test that says `staysOpen` holds that.

namespace {

constexpr char kNode[] = "/dev/nvme0";
constexpr int kFlags = O_RDONLY | O_NONBLOCK;

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
