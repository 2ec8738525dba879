#include "device/SmartIo.h"
#include "tests/device/DeviceTest.h"

using namespace testkit;

namespace {

using Sense = std::array<std::uint8_t, 32>;

constexpr char kGoodSenseLine[] =
    "Debug: SmartIo::getSmartLogDataSpt \n\nSense: 0x72 0x01 0x00 0x1d 0x00 0x00 0x00 0x0e 0x09 "
    "0x0c "
    "0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x50 ";

class SatPassThrough : public DeviceTest {
 protected:
  SatPassThrough() = default;
  /// With a log of another level.
  explicit SatPassThrough(const std::string& logConf) : DeviceTest("", logConf) {}

 protected:
  bool readPage(const SatAnswer& answer) {
    const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
    kernel().willPassThrough(fd, 0x04, 0x07, answer);
    kernel().willClose(fd);
    return SmartIo::getSmartLogDataSpt("/dev/sda", 0x04, buffer_.data(), 7);
  }

  /// The record of one read, without that of the sense bytes.
  bool judge(const Sense& sense) {
    const bool good = readPage({Bytes(512, 0x5A), sense, kGood});
    log_ = takeLog();
    log_.erase(log_.begin());
    return good;
  }

  Bytes buffer_ = Bytes(512 + 16, 0xEE);
  Lines log_;
};

class QuietSatPassThrough : public SatPassThrough {
 protected:
  QuietSatPassThrough() : SatPassThrough("Level=1\n") {}
};

}  // namespace

TEST_F(SatPassThrough, CopiesThePageAndLogsSenseAndRegisters) {
  Bytes page(512);
  page[0] = 0x01;
  page[511] = 0xFE;
  EXPECT_TRUE(readPage({page, kGoodSense, kGood}));
  page.insert(page.end(), 16, 0xEE);
  EXPECT_EQ(buffer_, page);
  EXPECT_EQ(takeLog(), (Lines{kGoodSenseLine,
                              "Debug: SmartIo::getSmartLogDataSpt - error=0x00, status=0x50"}));
}

TEST_F(SatPassThrough, SendsTheLogAddressAndTheLowByteOfThePageNumber) {
  const int fd = kernel().willOpen("/dev/sdz", O_RDONLY);
  kernel().willPassThrough(fd, 0xE3, 0x34, {Bytes(512), kGoodSense, kGood});
  kernel().willClose(fd);
  EXPECT_TRUE(SmartIo::getSmartLogDataSpt("/dev/sdz", 0xE3, buffer_.data(), 0x1234));
}

TEST_F(SatPassThrough, LogsTheFirst22SenseBytes) {
  Sense sense{};
  for (std::uint8_t i = 0; i < 32; ++i) {
    sense[i] = static_cast<std::uint8_t>(0xF0 - i);
  }
  EXPECT_FALSE(readPage({{}, sense, kGood}));
  EXPECT_EQ(takeLog()[0],
            "Debug: SmartIo::getSmartLogDataSpt \n\nSense: 0xf0 0xef 0xee 0xed 0xec 0xeb 0xea 0xe9 "
            "0xe8 0xe7 0xe6 0xe5 0xe4 0xe3 0xe2 0xe1 0xe0 0xdf 0xde 0xdd 0xdc 0xdb ");
}

TEST_F(SatPassThrough, JudgesByStatusAndErrorRegistersAlone) {
  struct Case {
    std::uint8_t error;
    std::uint8_t status;
    const char* registers;
  };
  for (const Case& bad :
       {Case{0x00, 0x51, "error=0x00, status=0x51"}, Case{0x00, 0x58, "error=0x00, status=0x58"},
        Case{0x00, 0x40, "error=0x00, status=0x40"}, Case{0x00, 0x00, "error=0x00, status=0x00"},
        Case{0x00, 0xD0, "error=0x00, status=0xd0"}, Case{0x04, 0x50, "error=0x04, status=0x50"},
        Case{0x01, 0x50, "error=0x01, status=0x50"}, Case{0x04, 0x51, "error=0x04, status=0x51"}}) {
    EXPECT_FALSE(judge(senseWith(bad.error, bad.status)));
    EXPECT_EQ(errno, EIO);
    const std::string registers = bad.registers;
    EXPECT_EQ(log_, (Lines{"Debug: SmartIo::getSmartLogDataSpt - " + registers,
                           "Error: SmartIo::getSmartLogDataSpt - SAT Specific " + registers}));
    EXPECT_EQ(buffer_, Bytes(528, 0xEE));
  }
}

TEST_F(SatPassThrough, WarnsOfSenseDataOfAnotherFormAndGoesOn) {
  for (const std::size_t odd : {0U, 7U, 8U, 9U}) {
    Sense sense = kGoodSense;
    sense[odd] = 0x70;
    EXPECT_TRUE(judge(sense)) << odd;
    EXPECT_EQ(log_, (Lines{"Debug: SmartIo::getSmartLogDataSpt - Warning: Bad magic",
                           "Debug: SmartIo::getSmartLogDataSpt - error=0x00, status=0x50"}));
  }
}

TEST_F(SatPassThrough, TakesNoNoticeOfTheOtherSenseBytes) {
  for (std::size_t i = 0; i < 32; ++i) {
    if (i == 0 || i == 7 || i == 8 || i == 9 || i == 11 || i == 21) {
      continue;
    }
    Sense sense = kGoodSense;
    sense[i] = 0xFF;
    EXPECT_TRUE(judge(sense)) << i;
    EXPECT_EQ(log_.size(), 1U) << i;
  }
}

TEST_F(SatPassThrough, JudgesFixedFormatSenseByTheSameBytes) {
  Sense sense{};
  sense[0] = 0x70;
  sense[11] = 0x04;
  sense[21] = 0x51;
  EXPECT_FALSE(judge(sense));
  EXPECT_EQ(log_, (Lines{
                      "Debug: SmartIo::getSmartLogDataSpt - Warning: Bad magic",
                      "Debug: SmartIo::getSmartLogDataSpt - error=0x04, status=0x51",
                      "Error: SmartIo::getSmartLogDataSpt - SAT Specific error=0x04, status=0x51",
                  }));
}

TEST_F(SatPassThrough, LooksAtNoStatusOfTheRequest) {
  EXPECT_TRUE(readPage({Bytes(512, 0x5A), kGoodSense, kGood, 0xFF, 0xFFFF, 0xFFFF}));
  EXPECT_EQ(buffer_[0], 0x5A);
}

TEST_F(SatPassThrough, FailsWithoutSenseData) {
  EXPECT_FALSE(judge(Sense{}));
  EXPECT_EQ(log_.size(), 3U);
}

TEST_F(SatPassThrough, ReportsANodeThatCannotBeOpened) {
  kernel().willRefuseOpen("/dev/sda", O_RDONLY, EBUSY);
  EXPECT_FALSE(SmartIo::getSmartLogDataSpt("/dev/sda", 0x04, buffer_.data(), 7));
  EXPECT_EQ(errno, EBUSY);
  EXPECT_EQ(takeLog(),
            (Lines{"Debug: SmartIo::getSmartLogDataSpt - Open /dev/sda failed, 0x00000010"}));
}

TEST_F(SatPassThrough, ReportsAFailedRequestAndLeavesTheBufferAlone) {
  EXPECT_FALSE(readPage({Bytes(512, 0x5A), kGoodSense, fails(ENOTTY)}));
  EXPECT_EQ(errno, ENOTTY);
  EXPECT_EQ(takeLog(), (Lines{"Debug: SmartIo::getSmartLogDataSpt - Ioctl failed, 0x00000019"}));
  EXPECT_EQ(buffer_, Bytes(528, 0xEE));
}

TEST_F(SatPassThrough, TakesAPositiveResultForAFailure) {
  EXPECT_FALSE(readPage({Bytes(512, 0x5A), kGoodSense, refused(1)}));
  EXPECT_EQ(takeLog(), (Lines{"Debug: SmartIo::getSmartLogDataSpt - Ioctl failed, 0x00000005"}));
}

TEST_F(QuietSatPassThrough, JudgesTheSenseThatItDoesNotLog) {
  EXPECT_TRUE(readPage({Bytes(512, 0x5A), kGoodSense, kGood}));
  EXPECT_EQ(takeLog(), Lines{});
  EXPECT_FALSE(readPage({Bytes(512, 0x5A), senseWith(0x04, 0x51), kGood}));
  EXPECT_EQ(takeLog(), (Lines{"Error: SmartIo::getSmartLogDataSpt - SAT Specific error=0x04, "
                              "status=0x51"}));
}
