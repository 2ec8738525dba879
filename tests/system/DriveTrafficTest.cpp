// What reaches the drives: the bytes of each command, in order, and when they are asked.

#include <gtest/gtest.h>

#include "tests/system/TillRun.h"

namespace {

using nlohmann::json;

/// What was done to the device nodes, a line each.
std::string trafficOf(const TillRun& till) {
  std::string traffic;
  for (const json& entry : till.journal()) {
    const std::string call = entry.at("call");
    const std::string path = entry.value("path", "");
    if ((call != "ioctl" && path.find("/dev/") != 0) || call == "glob") {
      continue;
    }
    traffic += call + ' ';
    if (call == "ioctl") {
      const std::string sent = entry.value("sent", "");
      traffic += entry.at("node").get<std::string>() + ' ' +
                 entry.at("request").get<std::string>() + (sent.empty() ? "" : " " + sent);
    } else {
      traffic += path + (call == "open" ? " " + entry.at("flags").get<std::string>() : "");
    }
    traffic += '\n';
  }
  return traffic;
}

const std::string kIdentifySata =
    "open /dev/sda O_RDONLY\nioctl sda HDIO_GET_IDENTITY\nclose /dev/sda\n";
const std::string kEnableSmart =
    "open /dev/sda O_RDONLY\nioctl sda HDIO_DRIVE_CMD b0 01 d8 00\nclose /dev/sda\n";
const std::string kReadBySat =
    "open /dev/sda O_RDONLY\n"
    "ioctl sda SG_IO 85 09 2e 00 00 00 01 00 00 00 00 00 00 00 2f 00\n"
    "close /dev/sda\n"
    "open /dev/sda O_RDONLY\n"
    "ioctl sda SG_IO 85 09 2e 00 00 00 01 00 04 00 07 00 00 00 2f 00\n"
    "close /dev/sda\n";
const std::string kReadByDriveCommand =
    "open /dev/sda O_RDONLY\n"
    "ioctl sda HDIO_DRIVE_CMD b0 00 d5 01\n"
    "close /dev/sda\n"
    "open /dev/sda O_RDONLY\n"
    "ioctl sda HDIO_DRIVE_CMD b0 04 d5 08\n"
    "close /dev/sda\n";
const std::string kReadAttributes =
    "open /dev/sda O_RDONLY\nioctl sda HDIO_DRIVE_CMD b0 00 d0 01\nclose /dev/sda\n";

/// A 72-byte NVMe admin command without its buffer's address.
std::string nvmeCommand(const std::string& opcode, const std::string& nsid,
                        const std::string& length, const std::string& cdw10) {
  std::string command = opcode + " 00 00 00 " + nsid;
  for (int i = 8; i < 36; ++i) {
    command += " 00";
  }
  command += " " + length + " " + cdw10;
  for (int i = 44; i < 72; ++i) {
    command += " 00";
  }
  return command;
}

const std::string kOpenNvme = "open /dev/nvme0 O_RDONLY|O_NONBLOCK\nfcntl /dev/nvme0\n";
const std::string kIdentifyNvme =
    kOpenNvme + "ioctl nvme0 NVME_IOCTL_ID\nioctl nvme0 NVME_IOCTL_ADMIN_CMD " +
    nvmeCommand("06", "00 00 00 00", "00 10 00 00", "01 00 00 00") +
    "\nioctl nvme0 NVME_IOCTL_ADMIN_CMD " +
    nvmeCommand("06", "01 00 00 00", "00 10 00 00", "00 00 00 00") + "\nclose /dev/nvme0\n";
const std::string kReadHealth = kOpenNvme + "ioctl nvme0 NVME_IOCTL_ADMIN_CMD " +
                                nvmeCommand("02", "ff ff ff ff", "00 02 00 00", "02 00 7f 00") +
                                "\nclose /dev/nvme0\n";

TEST(DriveTraffic, OfAStartIsIdentifyEnableAndTwoReadings) {
  TillRun till("till");
  till.setting("PollRate=1000000");
  till.run({"load", "instance-mi", "cleanup-instance", "unload"});
  EXPECT_EQ(trafficOf(till), kIdentifySata + kEnableSmart + kReadBySat + kReadAttributes +
                                 kIdentifyNvme + kReadHealth + kReadBySat + kReadAttributes +
                                 kReadHealth);
}

TEST(DriveTraffic, OfARequestIsOneReadingOfEachDrive) {
  TillRun till("till");
  till.setting("PollRate=1000000");
  till.run({"load", "instance-mi", "names", "cleanup-instance", "unload"});
  const std::string reading = kReadBySat + kReadAttributes + kReadHealth;
  const std::string traffic = trafficOf(till);
  ASSERT_GT(traffic.size(), 2 * reading.size());
  EXPECT_EQ(traffic.substr(traffic.size() - 2 * reading.size()), reading + reading);
}

TEST(DriveTraffic, GoesByTheDriveCommandRoadWhenConfiguredSo) {
  TillRun till(machineWith(sataDrive("sda", "S1", "33")));
  till.setting("PollRate=1000000").setting("SptLogAccess=No way").setting("SptLogAccess=false");
  till.run({"load", "instance-mi", "list", "cleanup-instance", "unload"});
  const std::string reading = kReadByDriveCommand + kReadAttributes;
  EXPECT_EQ(trafficOf(till), kIdentifySata + kEnableSmart + reading + reading + reading);
  EXPECT_EQ(till.step("list").result.at("instances")[0].at("PercentageUsed"), 33);
}

TEST(DriveTraffic, OfAVendorAttributeIsTheSmartDataAlone) {
  TillRun till("models/sandisk-ssd-p4-64gb");
  till.setting("PollRate=1000000");
  till.run({"load", "instance-mi", "cleanup-instance", "unload"});
  EXPECT_EQ(trafficOf(till), kIdentifySata + kEnableSmart + kReadAttributes + kReadAttributes);
}

TEST(DriveTraffic, OfADiskThatIsNoSsdEndsWithItsIdentity) {
  TillRun till(
      machineWith(R"({"kind": "sata", "node": "sda", "model": "Disk", "rotation": 7200})"));
  till.run({"load", "instance-mi", "cleanup-instance", "unload"});
  EXPECT_EQ(trafficOf(till), kIdentifySata);
}

TEST(DriveTraffic, HasTheFormsThatTheKernelWantsForScsiCommands) {
  TillRun till(machineWith(sataDrive("sda", "S1", "33")));
  till.setting("PollRate=1000000");
  till.run({"load", "instance-mi", "cleanup-instance", "unload"});
  unsigned seen = 0;
  for (const json& entry : till.journal("ioctl")) {
    if (entry.at("request") == "SG_IO") {
      ++seen;
      EXPECT_EQ(entry.at("number"), 0x2285);
      EXPECT_EQ(entry.at("interface"), 'S');
      EXPECT_EQ(entry.at("direction"), -3);
      EXPECT_EQ(entry.at("dataLength"), 512);
      EXPECT_EQ(entry.at("senseLength"), 32);
      EXPECT_EQ(entry.at("timeout"), 2000);
      EXPECT_EQ(entry.at("flags"), 0);
    }
  }
  EXPECT_EQ(seen, 4U);
}

// ---- The polls' schedule --------------------------------------------------------------------

/// What a polling thread did: "sleep" for each second, "read" for each reading.
std::vector<std::string> scheduleOf(const TillRun& till) {
  std::vector<std::string> schedule;
  for (const json& entry : till.journal()) {
    if (entry.at("tid") == entry.at("pid")) {
      continue;  // the process's first thread, which makes the requests
    }
    if (entry.at("call") == "usleep") {
      EXPECT_EQ(entry.at("microseconds"), 1000000);
      schedule.emplace_back("sleep");
    } else if (entry.value("sent", "") == "b0 00 d0 01") {
      schedule.emplace_back("read");
    }
  }
  return schedule;
}

class PollSchedule : public ::testing::TestWithParam<unsigned> {};

TEST_P(PollSchedule, ReadsOnEveryPollRateThTickTheFirstOfWhichComesAtOnce) {
  const unsigned rate = GetParam();
  TillRun till(machineWith(sataDrive("sda", "S1", "33")));
  till.setting("PollRate=" + std::to_string(rate));
  // Six polls and a half at ten milliseconds a second.
  till.run(
      {"load", "instance-mi", "sleep:" + std::to_string(65 * rate), "cleanup-instance", "unload"});
  const std::vector<std::string> schedule = scheduleOf(till);
  ASSERT_GE(schedule.size(), rate);
  unsigned tick = 0;
  for (std::size_t i = 0; i < schedule.size(); ++i) {
    ++tick;
    if (tick % rate == 0) {
      ASSERT_EQ(schedule[i], "read") << i;
      ++i;
    }
    if (i < schedule.size()) {
      ASSERT_EQ(schedule[i], "sleep") << i;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Rates, PollSchedule, ::testing::Values(1U, 2U, 5U));

TEST(PollSchedules, WithARateBeyond32BitsThatIsZeroNeverReadsTheDrive) {
  TillRun till(machineWith(sataDrive("sda", "S1", "33")));
  till.setting("PollRate=4294967296");
  till.run({"load", "instance-mi", "sleep:100", "cleanup-instance", "unload"});
  const std::vector<std::string> schedule = scheduleOf(till);
  EXPECT_GT(schedule.size(), 3U);
  EXPECT_EQ(schedule, std::vector<std::string>(schedule.size(), "sleep"));
  EXPECT_EQ(countOf(till.logText(), "PollingThread constructed - pollingRate=0\n"), 1U);
}

TEST(PollSchedules, GoOnAfterAReadingThatFailed) {
  TillRun till(machineWith(sataDrive("sda", "S1", "33"),
                           R"("faults": [{"call": "ioctl", "node": "sda", "request":
                           "HDIO_DRIVE_CMD", "feature": "0xD0", "nth": 3, "count": 2,
                           "errno": "EIO"}],)"));
  till.setting("PollRate=1");
  till.run({"load", "instance-mi", "sleep:150", "cleanup-instance", "unload"});
  EXPECT_EQ(countOf(till.logText(), "SsdDevice::getSsdData - algo failed\n"), 2U);
  EXPECT_GT(countOf(till.logText(), "SsdDevice::getSsdData - POH"), 3U);
}

/// Nothing is left open of what the drives were asked through.
TEST(DriveTraffic, LeavesNoDescriptorOfAHealthyDriveOpen) {
  TillRun till("till");
  till.setting("PollRate=2");
  till.run({"load", "instance-mi", "sleep:200", "list", "cleanup-instance", "unload"});
  std::size_t opened = 0;
  std::size_t closed = 0;
  for (const json& entry : till.journal()) {
    if (entry.value("path", "").find("/dev/") == 0) {
      opened += entry.at("call") == "open" ? 1 : 0;
      closed += entry.at("call") == "close" ? 1 : 0;
    }
  }
  EXPECT_GT(opened, 10U);
  EXPECT_EQ(opened, closed);
}

}  // namespace
