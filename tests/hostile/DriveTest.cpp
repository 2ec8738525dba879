// Drives that say strange things, hang, or come in crowds.

#include <atomic>
#include <chrono>
#include <thread>

#include <gtest/gtest.h>

#include "tests/fault/Till.h"
#include "tests/hostile/HostileTill.h"

using fault::Drive;

namespace {

std::string property(const cmpihost::Reply& reply, const std::string& name) {
  return reply.instances.at(0).property(name)->asText();
}

/// A drive whose model is `text`, listed.
cmpihost::Reply listDriveNamed(HostileTill& till, const std::string& text) {
  till.machine.write("/etc/ssddrv/log.conf", "Level=4\n");
  till.machine.write("/etc/ssddrv/ssddrv.ini", "PercentUsedThreshold=80\nDebugIndications=1\n");
  till.machine.add(Drive::kStatistics, "sda", text, "S1").percentage = 90;
  till.start();
  return till.list();
}

TEST(HostileDrive, NamedLikeAFormatIsShownAsItIs) {
  HostileTill till;
  EXPECT_EQ(property(listDriveNamed(till, "%n%s%d%ls%99999d"), "DriveModel"), "%n%s%d%ls%99999d");
  EXPECT_NE(till.log().find("model: %n%s%d%ls%99999d\n"), std::string::npos);
}

TEST(HostileDrive, NamedInControlBytesIsShownAsItIs) {
  HostileTill till;
  const std::string name = "\x1B[2J\a\tX\r\nY\x7F";
  EXPECT_EQ(property(listDriveNamed(till, name), "DriveModel"), name);
}

TEST(HostileDrive, NamedInBrokenUtf8IsShownByteByByte) {
  HostileTill till;
  const std::string name = "\xC3\x28 \xFF\xFE \xE2\x82";
  EXPECT_EQ(property(listDriveNamed(till, name), "DriveModel"), name);
}

TEST(HostileDrive, NamedWithZeroBytesIsShownUpToTheFirst) {
  HostileTill till;
  const std::string name("Good\0Bad", 8);
  const cmpihost::Reply reply = listDriveNamed(till, name);
  EXPECT_EQ(property(reply, "DriveModel"), "Good");
  // An identifier that was cut short is asked for as it was shown.
  EXPECT_EQ(till.get(property(reply, "DeviceID")).status.rc, CMPI_RC_OK);
}

TEST(HostileDrive, WithoutANameHasAnIdentifierOfSeparatorsAndNode) {
  HostileTill till;
  EXPECT_EQ(property(listDriveNamed(till, ""), "DeviceID"), "___S1___sda");
}

TEST(HostileDrive, ThatHangsDelaysThoseWhoAskForItAndNobodyElse) {
  HostileTill till;
  till.machine.write("/etc/ssddrv/ssddrv.ini", "PollRate=1\n");
  till.machine.add(Drive::kNvme, "nvme0", "Hangs", "S1");
  till.machine.add(Drive::kNvme, "nvme1", "Works", "S2");
  till.start();
  till.machine.drive("nvme0").hanging = true;
  std::this_thread::sleep_for(std::chrono::milliseconds(20));  // its poll hangs by now
  std::atomic<bool> listed{false};
  std::thread client([&] {
    EXPECT_EQ(till.list().instances.size(), 2U);
    listed = true;
  });
  // What needs no drive is answered meanwhile, in its turn; the other drive is polled.
  const unsigned polls = till.machine.drive("nvme1").opened;
  while (till.machine.drive("nvme1").opened < polls + 5) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_FALSE(listed);
  till.machine.drive("nvme0").hanging = false;
  client.join();
  EXPECT_TRUE(listed);
  EXPECT_EQ(till.list().instances.size(), 2U);
}

TEST(HostileDrive, AmongAHundredIsListedInItsPlace) {
  HostileTill till;
  for (unsigned i = 0; i < 100; ++i) {
    const std::string letters = {static_cast<char>('a' + i / 26), static_cast<char>('a' + i % 26)};
    till.machine.add(Drive::kAttribute, "sd" + letters, "SanDisk SSD P4 64GB", std::to_string(i))
        .percentage = static_cast<std::uint8_t>(i);
  }
  till.start();
  const cmpihost::Reply first = till.list();
  ASSERT_EQ(first.instances.size(), 100U);
  const cmpihost::Reply second = till.list();
  for (std::size_t i = 0; i < 100; ++i) {
    const cmpihost::Instance& instance = first.instances[i];
    EXPECT_EQ(instance.property("DeviceID")->asText(),
              second.instances.at(i).property("DeviceID")->asText());
    EXPECT_EQ(std::to_string(instance.property("PercentageUsed")->asUnsigned()),
              instance.property("DriveSerialNumber")->asText());
  }
}

TEST(HostileDrive, ThatIsNvmeAndFailsEveryReadCostsOneDescriptorEachTime) {
  HostileTill till;
  till.machine.write("/etc/ssddrv/ssddrv.ini", "PollRate=1000000\n");
  till.machine.add(Drive::kNvme, "nvme0", "Sick", "S1").percentage = 50;
  till.start();
  till.machine.drive("nvme0").refusing = true;
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(till.list().instances.at(0).property("PercentageUsed")->asUnsigned(), 0U);
  }
  EXPECT_EQ(till.openAt("/dev/nvme0").size(), 5U);
}

}  // namespace
