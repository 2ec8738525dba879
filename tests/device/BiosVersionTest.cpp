#include "device/BiosVersion.h"
#include "tests/device/DeviceTest.h"

using namespace testkit;

namespace {

class MachineBios : public DeviceTest {
 protected:
  bool read() { return BiosVersion::getBiosVersion(version_); }

  static Lines returning(const std::string& version) {
    return {"Trace: BiosVersion::getBiosVersion",
            "Debug: BiosVersion::getBiosVersion - returning " + version};
  }

  std::string version_ = "before";
};

}  // namespace

TEST_F(MachineBios, TellsItsVersionWithTheLineFeed) {
  root().write(kBiosVersion, "1.02.3\n");
  root().takeCalls();
  EXPECT_TRUE(read());
  EXPECT_EQ(version_, "1.02.3\n");
  EXPECT_EQ(takeLog(), returning("1.02.3\n"));
  EXPECT_EQ(root().takeCalls(), (Lines{"fopen /sys/devices/virtual/dmi/id/bios_version r",
                                       "fclose /sys/devices/virtual/dmi/id/bios_version"}));
}

TEST_F(MachineBios, TellsTheFirstLineOnly) {
  root().write(kBiosVersion, "1\n2\n");
  EXPECT_TRUE(read());
  EXPECT_EQ(version_, "1\n");
}

TEST_F(MachineBios, TellsALineWithoutItsEnd) {
  root().write(kBiosVersion, "1.0");
  EXPECT_TRUE(read());
  EXPECT_EQ(version_, "1.0");
}

TEST_F(MachineBios, IsCutAfter63Characters) {
  const std::string digits =
      "0123456789012345678901234567890123456789012345678901234567890123456789";
  root().write(kBiosVersion, digits + "\n");
  EXPECT_TRUE(read());
  EXPECT_EQ(version_, digits.substr(0, 63));
  EXPECT_EQ(takeLog(), returning(digits.substr(0, 63)));
}

TEST_F(MachineBios, KeepsTheLineFeedOf62Characters) {
  root().write(kBiosVersion, std::string(62, 'x') + "\n");
  EXPECT_TRUE(read());
  EXPECT_EQ(version_, std::string(62, 'x') + "\n");
}

TEST_F(MachineBios, OfAnEmptyFileIsEmptyAndFails) {
  root().write(kBiosVersion, "");
  EXPECT_FALSE(read());
  EXPECT_EQ(version_, "");
  EXPECT_EQ(takeLog(), returning(""));
}

TEST_F(MachineBios, ThatIsADirectoryIsEmptyAndFails) {
  root().write(std::string(kBiosVersion) + "/file", "");
  EXPECT_FALSE(read());
  EXPECT_EQ(version_, "");
  EXPECT_EQ(takeLog(), returning(""));
}

TEST_F(MachineBios, WithoutAFileFailsAndKeepsTheText) {
  EXPECT_FALSE(read());
  EXPECT_EQ(version_, "before");
  EXPECT_EQ(takeLog(),
            (Lines{"Trace: BiosVersion::getBiosVersion",
                   "Error: BiosVersion::getBiosVersion - open "
                   "/sys/devices/virtual/dmi/id/bios_version failed, errno=0x00000002"}));
}

TEST_F(MachineBios, ThatMayNotBeReadReportsWhy) {
  root().write(kBiosVersion, "1\n");
  root().refuse("fopen", kBiosVersion, EACCES);
  EXPECT_FALSE(read());
  EXPECT_EQ(takeLog().back(),
            "Error: BiosVersion::getBiosVersion - open /sys/devices/virtual/dmi/id/bios_version "
            "failed, errno=0x0000000d");
}
