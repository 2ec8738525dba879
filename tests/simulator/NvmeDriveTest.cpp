#include "simulator/NvmeDrive.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "tests/simulator/Requests.h"

namespace simulator {
namespace {

using test::NvmeRequest;

constexpr std::uint32_t kAll = 0xffffffff;
constexpr std::uint32_t kHealthLog = 0x007f0002;

NvmeDescription controller() {
  NvmeDescription description;
  description.node = "nvme0";
  description.model = "KINGSTON SNV2S250G";
  description.serial = "50026B7686C1F0A2";
  description.firmware = "SBM02103";
  description.namespaces = 3;
  description.hours = {0x0102030405060708, 0x1112131415161718};
  description.wear = Wear::readings({12, 13});
  return description;
}

std::string text(const Bytes& bytes, std::size_t offset, std::size_t length) {
  return {bytes.begin() + static_cast<std::ptrdiff_t>(offset),
          bytes.begin() + static_cast<std::ptrdiff_t>(offset + length)};
}

TEST(NvmeDrive, IdentifyControllerCarriesTextsAndNamespaceCount) {
  NvmeDrive drive(controller());
  NvmeRequest request(0x06, 0, 1, 4096);
  EXPECT_EQ(request.ask(drive).result, 0);
  EXPECT_EQ(request.command.result, 0U);
  EXPECT_EQ(text(request.data, 4, 20), "50026B7686C1F0A2    ");
  EXPECT_EQ(text(request.data, 24, 40), "KINGSTON SNV2S250G" + std::string(22, ' '));
  EXPECT_EQ(text(request.data, 64, 8), "SBM02103");
  EXPECT_EQ(toHex(request.data.data() + 516, 4), "03 00 00 00");
}

TEST(NvmeDrive, IdentifyNamespaceAnswersForTheNamespacesThatItCounts) {
  NvmeDrive drive(controller());
  EXPECT_EQ(NvmeRequest(0x06, 3, 0, 4096).ask(drive).result, 0);
  EXPECT_EQ(NvmeRequest(0x06, 4, 0, 4096).ask(drive).result, 0x400b);
  EXPECT_EQ(NvmeRequest(0x06, 0, 0, 4096).ask(drive).result, 0x400b);
}

TEST(NvmeDrive, RejectedCommandReturnsItsStatusAndTouchesNothingButTheResult) {
  NvmeDrive drive(controller());
  NvmeRequest request(0x06, 0, 0x7f, 4096);
  const Reply reply = request.ask(drive);
  EXPECT_EQ(reply.result, 0x4002);
  EXPECT_EQ(reply.error, 0);
  EXPECT_EQ(request.command.result, 0U);
  EXPECT_EQ(request.data, Bytes(4096, 0));
  EXPECT_EQ(NvmeRequest(0x02, kAll, 0x007f0077, 512).ask(drive).result, 0x4109);
  EXPECT_EQ(NvmeRequest(0x55, 0, 0, 0).ask(drive).result, 0x4001);
}

TEST(NvmeDrive, HealthLogCarriesWearAndHoursOf128Bits) {
  NvmeDrive drive(controller());
  NvmeRequest request(0x02, kAll, kHealthLog, 512);
  EXPECT_EQ(request.ask(drive).result, 0);
  EXPECT_EQ(request.data[5], 12);
  EXPECT_EQ(toHex(request.data.data() + 128, 16),
            "08 07 06 05 04 03 02 01 18 17 16 15 14 13 12 11");
}

TEST(NvmeDrive, WearMovesWithEachReadingOfTheHealthLog) {
  NvmeDrive drive(controller());
  for (const int percent : {12, 13, 13}) {
    NvmeRequest(0x06, 0, 1, 4096).ask(drive);
    NvmeRequest request(0x02, kAll, kHealthLog, 512);
    request.ask(drive);
    EXPECT_EQ(request.data[5], percent);
  }
}

TEST(NvmeDrive, NoMoreDataComesThanTheCommandAsksForOrTheBufferHolds) {
  NvmeDrive drive(controller());
  NvmeRequest fewDwords(0x02, kAll, 0x00010002, 512);  // two dwords
  fewDwords.data.assign(512, 0xee);
  fewDwords.ask(drive);
  EXPECT_EQ(fewDwords.data[5], 12);
  EXPECT_EQ(fewDwords.data[8], 0xee);
  NvmeRequest shortBuffer(0x02, kAll, kHealthLog, 512);
  shortBuffer.data.assign(512, 0xee);
  shortBuffer.command.data_len = 8;
  shortBuffer.ask(drive);
  EXPECT_EQ(shortBuffer.data[5], 13);
  EXPECT_EQ(shortBuffer.data[8], 0xee);
}

TEST(NvmeDrive, NodeOfTheControllerHasNoNamespaceIdUnlessTheMachineSaysSo) {
  NvmeDrive drive(controller());
  const Reply reply = test::askNamespaceId(drive);
  EXPECT_EQ(reply.result, -1);
  EXPECT_EQ(reply.error, ENOTTY);
  NvmeDescription odd = controller();
  odd.namespaceId = 3;
  NvmeDrive oddDrive(odd);
  EXPECT_EQ(test::askNamespaceId(oddDrive).result, 3);
}

TEST(NvmeDrive, NodeOfANamespaceHasItsIdAndPassesAdminCommandsOn) {
  NvmeDrive drive(controller());
  NvmeNamespace node(drive, 3);
  EXPECT_EQ(node.node(), "nvme0n3");
  EXPECT_EQ(test::askNamespaceId(node).result, 3);
  NvmeRequest request(0x02, kAll, kHealthLog, 512);
  EXPECT_EQ(request.ask(node).result, 0);
  EXPECT_EQ(request.data[5], 12);
}

TEST(NvmeDrive, OddCompletionResultComesWithTheData) {
  NvmeDrive drive(controller());
  Circumstances circumstances;
  circumstances.fault.nvmeResult = 0x1234;
  NvmeRequest request(0x02, kAll, kHealthLog, 512);
  EXPECT_EQ(request.ask(drive, circumstances).result, 0);
  EXPECT_EQ(request.command.result, 0x1234U);
  EXPECT_EQ(request.data[5], 12);
}

TEST(NvmeDrive, UnprivilegedProcessAndUnknownFlagsAreRefusedByTheKernel) {
  NvmeDrive drive(controller());
  Circumstances circumstances;
  circumstances.privileged = false;
  NvmeRequest request(0x06, 0, 1, 4096);
  EXPECT_EQ(request.ask(drive, circumstances).error, EACCES);
  EXPECT_EQ(request.command.result, NvmeRequest::kResultBefore);
  NvmeRequest flagged(0x06, 0, 1, 4096);
  flagged.command.flags = 1;
  EXPECT_EQ(flagged.ask(drive).error, EINVAL);
}

TEST(NvmeDrive, ThatNeverAnswersIsCancelledByTheKernel) {
  NvmeDrive drive(controller());
  Circumstances circumstances;
  circumstances.fault.hang = true;
  const Reply reply = NvmeRequest(0x06, 0, 1, 4096).ask(drive, circumstances);
  EXPECT_EQ(reply.error, EINTR);
  EXPECT_EQ(reply.delay, std::chrono::seconds(60));
}

TEST(NvmeDrive, RawDataComesBackByteForByte) {
  NvmeDescription description = controller();
  description.rawController.assign(4096, 0x21);
  description.rawNamespaces[2].assign(4096, 0x22);
  description.rawHealth.assign(512, 0x23);
  NvmeDrive drive(description);
  NvmeRequest first(0x06, 0, 1, 4096);
  first.ask(drive);
  EXPECT_EQ(first.data, Bytes(4096, 0x21));
  NvmeRequest second(0x06, 2, 0, 4096);
  second.ask(drive);
  EXPECT_EQ(second.data, Bytes(4096, 0x22));
  NvmeRequest third(0x02, kAll, kHealthLog, 512);
  third.ask(drive);
  EXPECT_EQ(third.data, Bytes(512, 0x23));
}

}  // namespace
}  // namespace simulator
