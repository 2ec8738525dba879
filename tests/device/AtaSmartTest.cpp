#include "device/SmartIo.h"
#include "tests/device/DeviceTest.h"
#include "tests/support/Allocations.h"

using namespace testkit;

namespace {

class SmartSector : public DeviceTest {
 protected:
  Bytes buffer_ = Bytes(512 + 16, 0xEE);
};

class SmartAttributes : public DeviceTest {
 protected:
  bool read(const Bytes& sector) {
    const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
    kernel().willCommand(fd, kSmartReadData, sector);
    kernel().willClose(fd);
    return SmartIo::getSsdSmartValues("/dev/sda", values_);
  }

  SsdValues values_;
};

class SmartLog : public DeviceTest {
 protected:
  Bytes buffer_ = Bytes(4096 + 16, 0xEE);
};

Bytes countingBytes(std::size_t length) {
  Bytes bytes(length);
  for (std::size_t i = 0; i < length; ++i) {
    bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
  }
  return bytes;
}

Bytes firstOf(const Bytes& bytes, std::size_t length) {
  return Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
}

}  // namespace

TEST(SsdValues, BeginAsNoughtWithoutAttributes) {
  const SsdValues values;
  EXPECT_EQ(values.percentageUsed, 0);
  EXPECT_EQ(values.poweredOnHours, 0U);
  EXPECT_TRUE(values.attributes.empty());
  EXPECT_FALSE(values.traceAttributes);
  const SsdAttr attribute;
  EXPECT_EQ(attribute.index, 0);
  EXPECT_EQ(attribute.flags, 0);
  EXPECT_EQ(attribute.current, 0);
  EXPECT_EQ(attribute.worst, 0);
  EXPECT_EQ(attribute.raw, 0U);
  EXPECT_EQ(kPercentageUnknown, 255);
}

TEST(SsdValues, HaveTheirPartsInThisOrder) {
  const SsdValues values{1, 2, {SsdAttr{3, 4, 5, 6, 7}}, true};
  EXPECT_EQ(values.percentageUsed, 1);
  EXPECT_EQ(values.poweredOnHours, 2U);
  EXPECT_TRUE(values.traceAttributes);
  const SsdAttr& attribute = values.attributes.at(0);
  EXPECT_EQ(attribute.index, 3);
  EXPECT_EQ(attribute.flags, 4);
  EXPECT_EQ(attribute.current, 5);
  EXPECT_EQ(attribute.worst, 6);
  EXPECT_EQ(attribute.raw, 7U);
}

TEST_F(SmartSector, IsCopiedFromBehindTheFourRegisters) {
  const Bytes sector = countingBytes(512);
  const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
  kernel().willCommand(fd, {0xB0, 0x00, 0xD0, 0x01, 512}, sector);
  kernel().willClose(fd);
  EXPECT_TRUE(SmartIo::getSsdSmartValues("/dev/sda", buffer_.data(), 512));
  EXPECT_EQ(firstOf(buffer_, 512), sector);
  EXPECT_EQ(buffer_[512], 0xEE);
  EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(SmartSector, FillsOnly512BytesOfALongerBuffer) {
  const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
  kernel().willCommand(fd, kSmartReadData, Bytes(512));
  kernel().willClose(fd);
  EXPECT_TRUE(SmartIo::getSsdSmartValues("/dev/sda", buffer_.data(), 528));
  EXPECT_EQ(buffer_[512], 0xEE);
}

TEST_F(SmartSector, IsNotAskedForWithAShortBuffer) {
  EXPECT_FALSE(SmartIo::getSsdSmartValues("/dev/sda", buffer_.data(), 511));
  EXPECT_FALSE(SmartIo::getSsdSmartValues("/dev/sda", buffer_.data(), 0));
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(SmartSector, ReportsANodeThatCannotBeOpened) {
  kernel().willRefuseOpen("/dev/sda", O_RDONLY, ENODEV);
  EXPECT_FALSE(SmartIo::getSsdSmartValues("/dev/sda", buffer_.data(), 512));
  EXPECT_EQ(errno, ENODEV);
  EXPECT_EQ(takeLog(),
            (Lines{"Debug: SmartIo::getSsdSmartValues - Open /dev/sda failed, 0x00000013"}));
}

TEST_F(SmartSector, ReportsARefusedCommandAndLeavesTheBufferAlone) {
  for (const Outcome outcome : {fails(EIO), refused(1)}) {
    const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
    kernel().willCommand(fd, kSmartReadData, Bytes(512, 0x11), outcome);
    kernel().willClose(fd);
    EXPECT_FALSE(SmartIo::getSsdSmartValues("/dev/sda", buffer_.data(), 512));
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(takeLog(), (Lines{"Debug: SmartIo::getSsdSmartValues - Ioctl failed, 0x00000005"}));
    EXPECT_EQ(buffer_, Bytes(528, 0xEE));
  }
}

TEST_F(SmartSector, IsTakenWhateverItsChecksum) {
  Bytes sector(512);
  sector[511] = 0x55;
  const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
  kernel().willCommand(fd, kSmartReadData, sector);
  kernel().willClose(fd);
  EXPECT_TRUE(SmartIo::getSsdSmartValues("/dev/sda", buffer_.data(), 512));
}

TEST_F(SmartAttributes, AreTakenFromTheirTwelveBytes) {
  EXPECT_TRUE(read(smartSector({{230, 97, 0x060504030201, 0x1234, 45, 0xFF}})));
  ASSERT_EQ(values_.attributes.size(), 1U);
  const SsdAttr& attribute = values_.attributes[0];
  EXPECT_EQ(attribute.index, 230);
  EXPECT_EQ(attribute.flags, 0x1234);
  EXPECT_EQ(attribute.current, 97);
  EXPECT_EQ(attribute.worst, 45);
  EXPECT_EQ(attribute.raw, 0x060504030201U);
}

TEST_F(SmartAttributes, AreAppendedInTheOrderOfTheTableWithoutItsEmptySlots) {
  values_.attributes.push_back({1, 0, 0, 0, 0});
  EXPECT_TRUE(read(smartSector({{5}, {0, 100, 77}, {9, 100, 8760}, {230}})));
  ASSERT_EQ(values_.attributes.size(), 4U);
  EXPECT_EQ(values_.attributes[0].index, 1);
  EXPECT_EQ(values_.attributes[1].index, 5);
  EXPECT_EQ(values_.attributes[2].index, 9);
  EXPECT_EQ(values_.attributes[3].index, 230);
  EXPECT_EQ(values_.poweredOnHours, 8760U);
  EXPECT_EQ(values_.percentageUsed, 0);
}

TEST_F(SmartAttributes, StandInThirtySlotsAndNowhereElse) {
  EXPECT_TRUE(read(smartSectorWith(29, {9, 100, 1})));
  EXPECT_EQ(values_.attributes.size(), 1U);
  EXPECT_EQ(values_.poweredOnHours, 1U);
  EXPECT_TRUE(read(smartSectorWith(30, {9, 100, 2})));
  EXPECT_EQ(values_.attributes.size(), 1U);
  EXPECT_EQ(values_.poweredOnHours, 1U);
}

TEST_F(SmartAttributes, BeginBehindTheRevision) {
  Bytes sector(512);
  sector[0] = 9;
  sector[1] = 9;
  EXPECT_TRUE(read(sector));
  EXPECT_TRUE(values_.attributes.empty());
}

TEST_F(SmartAttributes, OfAnEmptyTableChangeNothing) {
  values_.poweredOnHours = 42;
  values_.percentageUsed = 43;
  EXPECT_TRUE(read(smartSector({})));
  EXPECT_TRUE(values_.attributes.empty());
  EXPECT_EQ(values_.poweredOnHours, 42U);
  EXPECT_EQ(values_.percentageUsed, 43);
}

TEST_F(SmartAttributes, GiveTheHoursOfTheLastEntryNine) {
  EXPECT_TRUE(read(smartSector({{9, 100, 10}, {12, 100, 99}, {9, 100, 20}})));
  EXPECT_EQ(values_.poweredOnHours, 20U);
  EXPECT_EQ(values_.attributes.size(), 3U);
}

TEST_F(SmartAttributes, WithoutANineLeaveTheHoursAlone) {
  EXPECT_TRUE(read(smartSector({{8, 100, 10}, {10, 100, 99}})));
  EXPECT_EQ(values_.poweredOnHours, 0U);
}

TEST_F(SmartAttributes, AreNotLoggedUnlessTraced) {
  EXPECT_TRUE(read(smartSector({{9, 100, 10}})));
  EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(SmartAttributes, AreAllLoggedWhenTracedThoseThatWereThereFirst) {
  values_.traceAttributes = true;
  values_.attributes.push_back({1, 0x00, 0, 0, 0});
  EXPECT_TRUE(read(smartSector({{9, 200, 0xA60504030201, 0x003F, 7}})));
  EXPECT_EQ(takeLog(), (Lines{
                           "Trace: ==============================",
                           "Trace: Index: 1",
                           "Trace: Flags: 0x00",
                           "Trace: Current: 0x00, 0",
                           "Trace: Worst: 0x00, 0",
                           "Trace: 0x00 0x00 0x00 0x00 0x00 0x00 ",
                           "Trace: ,  0x0, 0\n",
                           "Trace: ==============================",
                           "Trace: ==============================",
                           "Trace: Index: 9",
                           "Trace: Flags: 0x3f",
                           "Trace:   ATTRIBUTE_FLAGS_PREFAILURE",
                           "Trace:   ATTRIBUTE_FLAGS_ONLINE",
                           "Trace:   ATTRIBUTE_FLAGS_PERFORMANCE",
                           "Trace:   ATTRIBUTE_FLAGS_ERRORRATE",
                           "Trace:   ATTRIBUTE_FLAGS_EVENTCOUNT",
                           "Trace:   ATTRIBUTE_FLAGS_SELFPRESERVING",
                           "Trace: Current: 0xc8, 200",
                           "Trace: Worst: 0x07, 7",
                           "Trace: 0x01 0x02 0x03 0x04 0x05 0xa6 ",
                           "Trace: ,  0xa60504030201, 182540472353281\n",
                           "Trace: ==============================",
                       }));
}

TEST_F(SmartAttributes, NameEachFlagByItsBit) {
  const char* names[] = {"PREFAILURE", "ONLINE",     "PERFORMANCE",
                         "ERRORRATE",  "EVENTCOUNT", "SELFPRESERVING"};
  values_.traceAttributes = true;
  for (unsigned bit = 0; bit < 6; ++bit) {
    values_.attributes.clear();
    EXPECT_TRUE(read(smartSector({{9, 1, 1, static_cast<std::uint16_t>(1U << bit), 1}})));
    const Lines lines = takeLog();
    ASSERT_EQ(lines.size(), 9U);
    EXPECT_EQ(lines[3], std::string("Trace:   ATTRIBUTE_FLAGS_") + names[bit]);
  }
}

TEST_F(SmartAttributes, HaveNoNamesForTheOtherFlags) {
  values_.traceAttributes = true;
  EXPECT_TRUE(read(smartSector({{9, 1, 1, 0xFFC0, 1}})));
  const Lines lines = takeLog();
  ASSERT_EQ(lines.size(), 8U);
  EXPECT_EQ(lines[2], "Trace: Flags: 0xffc0");
}

TEST_F(SmartAttributes, ReportAFailedReadWithItsError) {
  values_.poweredOnHours = 5;
  values_.traceAttributes = true;
  const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
  kernel().willCommand(fd, kSmartReadData, smartSector({{9, 1, 9}}), fails(ETIMEDOUT));
  kernel().willClose(fd);
  EXPECT_FALSE(SmartIo::getSsdSmartValues("/dev/sda", values_));
  EXPECT_EQ(
      takeLog(),
      (Lines{"Debug: SmartIo::getSsdSmartValues - Ioctl failed, 0x0000006e",
             "Error: SmartIo::getSsdSmartValues - failed to get value data, err=0x0000006e"}));
  EXPECT_TRUE(values_.attributes.empty());
  EXPECT_EQ(values_.poweredOnHours, 5U);
}

TEST_F(SmartAttributes, AreNotReadWithoutMemoryForTheSector) {
  allocations::refuseNothrow(512);
  EXPECT_FALSE(SmartIo::getSsdSmartValues("/dev/sda", values_));
  allocations::refuseNone();
  EXPECT_EQ(takeLog(), (Lines{"Error: SmartIo::getSsdSmartValues - failed to get value data, "
                              "err=0x0000000c"}));
}

TEST_F(SmartLog, IsReadInAsManySectorsAsAskedFor) {
  for (const std::uint8_t sectors : {std::uint8_t{1}, std::uint8_t{8}}) {
    buffer_.assign(4096 + 16, 0xEE);
    const std::size_t length = sectors * std::size_t{512};
    const Bytes data = countingBytes(length);
    const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
    kernel().willCommand(fd, {0xB0, 0xE0, 0xD5, sectors, 4096}, data);
    kernel().willClose(fd);
    EXPECT_TRUE(SmartIo::getSmartLogDataAtaSmart("/dev/sda", 0xE0, buffer_.data(), sectors));
    EXPECT_EQ(firstOf(buffer_, length), data);
    EXPECT_EQ(buffer_[length], 0xEE);
  }
  EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(SmartLog, OfMoreThanEightSectorsIsRefusedWithoutAskingTheDrive) {
  EXPECT_FALSE(SmartIo::getSmartLogDataAtaSmart("/dev/sda", 0x04, buffer_.data(), 9));
  EXPECT_EQ(errno, EINVAL);
  EXPECT_FALSE(SmartIo::getSmartLogDataAtaSmart("/dev/sda", 0x04, buffer_.data(), 0x101));
  EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(SmartLog, ReportsANodeThatCannotBeOpened) {
  kernel().willRefuseOpen("/dev/sda", O_RDONLY, EPERM);
  EXPECT_FALSE(SmartIo::getSmartLogDataAtaSmart("/dev/sda", 0x04, buffer_.data(), 1));
  EXPECT_EQ(errno, EPERM);
  EXPECT_EQ(takeLog(),
            (Lines{"Debug: SmartIo::getSmartLogDataAtaSmart - Open /dev/sda failed, 0x00000001"}));
}

TEST_F(SmartLog, ReportsARefusedCommandAndLeavesTheBufferAlone) {
  for (const Outcome outcome : {fails(EIO), refused(4)}) {
    const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
    kernel().willCommand(fd, smartReadLog(0x04, 1), Bytes(512, 0x11), outcome);
    kernel().willClose(fd);
    EXPECT_FALSE(SmartIo::getSmartLogDataAtaSmart("/dev/sda", 0x04, buffer_.data(), 1));
    EXPECT_EQ(takeLog(),
              (Lines{"Debug: SmartIo::getSmartLogDataAtaSmart - Ioctl failed, 0x00000005"}));
    EXPECT_EQ(buffer_, Bytes(4096 + 16, 0xEE));
  }
}
