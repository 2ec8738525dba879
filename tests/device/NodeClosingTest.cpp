// When a node is closed, among the lines of the log: right after a drive has answered, or after the
// line about its failure. Who traces the host process sees the two side by side.

#include "device/SmartIo.h"
#include "tests/device/DeviceTest.h"

using namespace testkit;

namespace {

struct Operation {
  const char* name;
  int flags;
  void (*willAnswer)(int fd);
  void (*run)(const std::string& node);
  Lines linesBefore;
  std::size_t linesAfter;
};

class NodeClosing : public DeviceTest, public testing::WithParamInterface<Operation> {};

FakeKernel& kernel() { return FakeKernel::instance(); }

void identify(const std::string& node) {
  IdentifyData data;
  (void)SmartIo::getIdentifyData(node, data);
}

void readSat(const std::string& node) {
  Bytes buffer(512);
  (void)SmartIo::getSmartLogDataSpt(node, 4, buffer.data(), 7);
}

const Operation kOperations[] = {
    {"AfterIdentify",
     O_RDONLY,
     [](int fd) { kernel().willIdentify(fd, identifySector({})); },
     identify,
     {},
     7},
    {"AfterARefusedIdentify",
     O_RDONLY,
     [](int fd) { kernel().willIdentify(fd, identifySector({}), fails(EIO)); },
     identify,
     {"Debug: SmartIo::getIdentifyData - Ioctl failed, 0x00000005"},
     0},
    {"AfterARefusedSmartEnable",
     O_RDONLY,
     [](int fd) { kernel().willCommand(fd, kSmartEnable, {}, fails(EIO)); },
     [](const std::string& node) { (void)SmartIo::smartEnable(node); },
     {"Debug: SmartIo::smartEnable - Ioctl failed, 0x00000005"},
     0},
    {"AfterRefusedSmartData",
     O_RDONLY,
     [](int fd) { kernel().willCommand(fd, kSmartReadData, {}, fails(EIO)); },
     [](const std::string& node) {
       SsdValues values;
       (void)SmartIo::getSsdSmartValues(node, values);
     },
     {"Debug: SmartIo::getSsdSmartValues - Ioctl failed, 0x00000005"},
     1},
    {"AfterARefusedSmartLog",
     O_RDONLY,
     [](int fd) { kernel().willCommand(fd, smartReadLog(4, 1), {}, fails(EIO)); },
     [](const std::string& node) {
       Bytes buffer(512);
       (void)SmartIo::getSmartLogDataAtaSmart(node, 4, buffer.data(), 1);
     },
     {"Debug: SmartIo::getSmartLogDataAtaSmart - Ioctl failed, 0x00000005"},
     0},
    {"AfterAPassThrough",
     O_RDONLY,
     [](int fd) {
       kernel().willPassThrough(fd, 4, 7, {{}, kGoodSense, kGood});
     },
     readSat,
     {},
     2},
    {"AfterARefusedPassThrough",
     O_RDONLY,
     [](int fd) {
       kernel().willPassThrough(fd, 4, 7, {{}, kGoodSense, fails(EIO)});
     },
     readSat,
     {"Debug: SmartIo::getSmartLogDataSpt - Ioctl failed, 0x00000005"},
     0},
    {"AfterTheLinesOfAnNvmeIdentify",
     O_RDONLY | O_NONBLOCK,
     [](int fd) {
       kernel().willSetCloseOnExec(fd);
       kernel().willAskNamespace(fd, fails(ENOTTY));
       kernel().willAdmin(fd, kIdentifyController, {controllerData({"M", "S", "F", 2}), 0, kGood});
     },
     [](const std::string& node) {
       IdentifyData data;
       (void)SmartIo::getIdentifyNVMeData(node, data);
     },
     {"Debug: Model Number: M", "Debug: Serial Number: S", "Debug: Firmware Version: F"},
     0},
};

}  // namespace

TEST_P(NodeClosing, HasItsPlaceAmongTheLines) {
  const Operation& operation = GetParam();
  const int fd = kernel().willOpen("/dev/sda", operation.flags);
  operation.willAnswer(fd);
  kernel().willClose(fd);
  Lines before = {"never closed"};
  kernel().meanwhile([&before] { before = takeLog(); });
  operation.run("/dev/sda");
  EXPECT_EQ(before, operation.linesBefore);
  EXPECT_EQ(takeLog().size(), operation.linesAfter);
}

INSTANTIATE_TEST_SUITE_P(, NodeClosing, testing::ValuesIn(kOperations),
                         [](const auto& instance) { return instance.param.name; });
