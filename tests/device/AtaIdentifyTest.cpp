#include "device/SmartIo.h"
#include "tests/device/DeviceTest.h"

using namespace testkit;

namespace {

class AtaIdentify : public DeviceTest {
 protected:
  /// Has "/dev/sda" answer with `sector`.
  static void willAnswer(const Bytes& sector) {
    const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
    kernel().willIdentify(fd, sector);
    kernel().willClose(fd);
  }

  IdentifyData identify_;
};

class SmartEnable : public DeviceTest {};

}  // namespace

TEST(IdentifyData, BeginsKnowingNothing) {
  const IdentifyData identify;
  EXPECT_FALSE(identify.nonRotating);
  EXPECT_EQ(identify.ataMajorVersion, 0U);
  EXPECT_EQ(identify.serialNumber + identify.model + identify.firmwareVersion, "");
  EXPECT_EQ(identify.namespaceId, -1);
  EXPECT_EQ(identify.identifySource, 0U);
}

TEST_F(AtaIdentify, FillsTheRecordFromTheWordsOfTheSector) {
  willAnswer(identifySector({"SanDisk SSD U100 64GB", "123456789012", "10.52.01", 1, 0x03F0}));
  EXPECT_TRUE(SmartIo::getIdentifyData("/dev/sda", identify_));
  EXPECT_TRUE(identify_.nonRotating);
  EXPECT_EQ(identify_.ataMajorVersion, 0x03F0U);
  EXPECT_EQ(identify_.model, "SanDisk SSD U100 64GB");
  EXPECT_EQ(identify_.serialNumber, "123456789012");
  EXPECT_EQ(identify_.firmwareVersion, "10.52.01");
  EXPECT_EQ(identify_.namespaceId, -1);
  EXPECT_EQ(identify_.identifySource, 2U);
}

TEST_F(AtaIdentify, LogsWhatItFoundInThisOrder) {
  willAnswer(identifySector({"SanDisk SSD U100 64GB", "123456789012", "10.52.01", 1, 0x03F0}));
  EXPECT_TRUE(SmartIo::getIdentifyData("/dev/sda", identify_));
  EXPECT_EQ(takeLog(), (Lines{
                           "Debug: ATA Major version = 000003f0",
                           "Debug: model: SanDisk SSD U100 64GB",
                           "Debug: serial no: 123456789012",
                           "Debug: fw rev: 10.52.01",
                           "Debug: Rotation word: 0x0001",
                           "Debug: SSD Heuristics: ' SSD ' in model - Yes",
                           "Debug: Non-rotating SSD Yes",
                       }));
}

TEST_F(AtaIdentify, LogsADiskThatRotates) {
  willAnswer(identifySector({"ST500DM002", "Z2A", "KC45", 7200, 0xFFFE}));
  EXPECT_TRUE(SmartIo::getIdentifyData("/dev/sda", identify_));
  EXPECT_EQ(takeLog(), (Lines{
                           "Debug: ATA Major version = 0000fffe",
                           "Debug: model: ST500DM002",
                           "Debug: serial no: Z2A",
                           "Debug: fw rev: KC45",
                           "Debug: Rotation word: 0x1c20",
                           "Debug: SSD Heuristics: ' SSD ' in model - No",
                           "Debug: Non-rotating SSD No",
                       }));
}

TEST_F(AtaIdentify, TakesTheWordsLittleEndian) {
  Bytes sector(512);
  sector[160] = 0x12;
  sector[161] = 0x34;
  sector[434] = 0x00;
  sector[435] = 0x01;
  willAnswer(sector);
  EXPECT_TRUE(SmartIo::getIdentifyData("/dev/sda", identify_));
  EXPECT_EQ(identify_.ataMajorVersion, 0x3412U);
  EXPECT_FALSE(identify_.nonRotating);
  EXPECT_EQ(takeLog()[4], "Debug: Rotation word: 0x0100");
}

TEST_F(AtaIdentify, TakesNoOtherRotationRateThanOneForAnSsd) {
  for (const int rate : {0, 2, 5400, 0xFFFF, 0x0101}) {
    willAnswer(identifySector({"Fast SSD 1", "1", "1", static_cast<std::uint16_t>(rate), 0}));
    EXPECT_TRUE(SmartIo::getIdentifyData("/dev/sda", identify_));
    EXPECT_FALSE(identify_.nonRotating) << rate;
  }
}

TEST_F(AtaIdentify, LeavesNonRotatingAsItWasForAnotherRate) {
  identify_.nonRotating = true;
  willAnswer(identifySector({"M", "S", "F", 7200, 0}));
  EXPECT_TRUE(SmartIo::getIdentifyData("/dev/sda", identify_));
  EXPECT_TRUE(identify_.nonRotating);
  EXPECT_EQ(takeLog().back(), "Debug: Non-rotating SSD Yes");
}

TEST_F(AtaIdentify, AddsItsSourceToTheOthers) {
  identify_.identifySource = 1;
  willAnswer(Bytes(512));
  EXPECT_TRUE(SmartIo::getIdentifyData("/dev/sda", identify_));
  EXPECT_EQ(identify_.identifySource, 3U);
}

TEST_F(AtaIdentify, TakesEachFieldAtItsFullWidth) {
  const std::string model = "M234567890123456789012345678901234567890";
  const std::string serialNumber = "S2345678901234567890";
  const std::string firmware = "F2345678";
  Bytes sector = identifySector({model, serialNumber, firmware, 1, 0});
  for (const std::size_t neighbour : {19U, 40U, 45U, 94U}) {
    sector[neighbour] = 'x';
  }
  willAnswer(sector);
  EXPECT_TRUE(SmartIo::getIdentifyData("/dev/sda", identify_));
  EXPECT_EQ(identify_.model, model);
  EXPECT_EQ(identify_.serialNumber, serialNumber);
  EXPECT_EQ(identify_.firmwareVersion, firmware);
}

TEST_F(AtaIdentify, TrimsBlanksAtBothEndsAndNothingElse) {
  willAnswer(identifySector({"  Two  words ", "   S1", "\tF1\n", 1, 0}));
  EXPECT_TRUE(SmartIo::getIdentifyData("/dev/sda", identify_));
  EXPECT_EQ(identify_.model, "Two  words");
  EXPECT_EQ(identify_.serialNumber, "S1");
  EXPECT_EQ(identify_.firmwareVersion, "\tF1\n");
}

TEST_F(AtaIdentify, MakesAFieldOfBlanksEmpty) {
  willAnswer(identifySector({"", "", "", 1, 0}));
  EXPECT_TRUE(SmartIo::getIdentifyData("/dev/sda", identify_));
  EXPECT_EQ(identify_.model, "");
  EXPECT_EQ(identify_.serialNumber, "");
  EXPECT_EQ(identify_.firmwareVersion, "");
}

TEST_F(AtaIdentify, KeepsZeroBytesInsideATextAndAtItsEnds) {
  willAnswer(identifySector({std::string("A\0B", 3), std::string("\0S", 2), "F", 1, 0}));
  EXPECT_TRUE(SmartIo::getIdentifyData("/dev/sda", identify_));
  EXPECT_EQ(identify_.model, std::string("A\0B", 3));
  EXPECT_EQ(identify_.serialNumber, std::string("\0S", 2));
  EXPECT_EQ(takeLog()[1], "Debug: model: A");
}

TEST_F(AtaIdentify, ReportsANodeThatCannotBeOpened) {
  kernel().willRefuseOpen("/dev/sdb", O_RDONLY, ENXIO);
  EXPECT_FALSE(SmartIo::getIdentifyData("/dev/sdb", identify_));
  EXPECT_EQ(errno, ENXIO);
  EXPECT_EQ(takeLog(),
            (Lines{"Debug: SmartIo::getIdentifyData - Open /dev/sdb failed, 0x00000006"}));
}

TEST_F(AtaIdentify, ReportsAFailedIoctlThenClosesAndLeavesTheRecordAlone) {
  identify_ = {false, 7, "serial", "model", "firmware", 5, 0};
  const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
  kernel().willIdentify(fd, identifySector({}), fails(ENOMSG));
  kernel().willClose(fd);
  EXPECT_FALSE(SmartIo::getIdentifyData("/dev/sda", identify_));
  EXPECT_EQ(errno, ENOMSG);
  EXPECT_EQ(takeLog(), (Lines{"Debug: SmartIo::getIdentifyData - Ioctl failed, 0x0000002a"}));
  EXPECT_FALSE(identify_.nonRotating);
  EXPECT_EQ(identify_.ataMajorVersion, 7U);
  EXPECT_EQ(identify_.serialNumber, "serial");
  EXPECT_EQ(identify_.model, "model");
  EXPECT_EQ(identify_.firmwareVersion, "firmware");
  EXPECT_EQ(identify_.namespaceId, 5);
  EXPECT_EQ(identify_.identifySource, 0U);
}

TEST_F(AtaIdentify, TakesAPositiveResultForAFailureWithAnErrorOfItsOwn) {
  errno = ENOENT;
  const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
  kernel().willIdentify(fd, identifySector({}), refused(1));
  kernel().willClose(fd);
  EXPECT_FALSE(SmartIo::getIdentifyData("/dev/sda", identify_));
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(takeLog(), (Lines{"Debug: SmartIo::getIdentifyData - Ioctl failed, 0x00000005"}));
}

TEST(SsdHeuristic, FindsSsdBetweenTwoBlanksInAnyLetterCase) {
  EXPECT_TRUE(SmartIo::isSsdHeuristic("SanDisk SSD P4"));
  EXPECT_TRUE(SmartIo::isSsdHeuristic("fast ssd disk"));
  EXPECT_TRUE(SmartIo::isSsdHeuristic("a sSd "));
  EXPECT_TRUE(SmartIo::isSsdHeuristic(" SSD "));
}

TEST(SsdHeuristic, FindsNothingAtTheEndsOrGluedToAWord) {
  for (const char* model : {"", "SSD", "SSD one", "one SSD", "one SSDs two", "mySSD two",
                            "one\tSSD\ttwo", "one S SD two", "Samsung  SD "}) {
    EXPECT_FALSE(SmartIo::isSsdHeuristic(model)) << model;
  }
}

TEST(SsdHeuristic, LeavesTheModelAsItIsAndTakesBytesAbove127) {
  const std::string model = "\xC3\xA4 ssd \xFF";
  EXPECT_TRUE(SmartIo::isSsdHeuristic(model));
  EXPECT_EQ(model, "\xC3\xA4 ssd \xFF");
}

TEST_F(SmartEnable, SendsSmartEnableOperationsWithoutData) {
  const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
  kernel().willCommand(fd, {0xB0, 0x01, 0xD8, 0x00, 512}, {});
  kernel().willClose(fd);
  EXPECT_TRUE(SmartIo::smartEnable("/dev/sda"));
  EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(SmartEnable, ReportsANodeThatCannotBeOpened) {
  kernel().willRefuseOpen("/dev/sda", O_RDONLY, EACCES);
  EXPECT_FALSE(SmartIo::smartEnable("/dev/sda"));
  EXPECT_EQ(errno, EACCES);
  EXPECT_EQ(takeLog(), (Lines{"Debug: SmartIo::smartEnable - Open /dev/sda failed, 0x0000000d"}));
}

TEST_F(SmartEnable, ReportsARefusedCommandAndClosesTheNode) {
  const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
  kernel().willCommand(fd, kSmartEnable, {}, fails(EIO));
  kernel().willClose(fd);
  EXPECT_FALSE(SmartIo::smartEnable("/dev/sda"));
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(takeLog(), (Lines{"Debug: SmartIo::smartEnable - Ioctl failed, 0x00000005"}));
}

TEST_F(SmartEnable, TakesAPositiveResultForAFailure) {
  const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
  kernel().willCommand(fd, kSmartEnable, {}, refused(2));
  kernel().willClose(fd);
  EXPECT_FALSE(SmartIo::smartEnable("/dev/sda"));
}
