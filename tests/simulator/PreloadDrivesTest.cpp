#include <gtest/gtest.h>

#include "tests/simulator/ProbeRun.h"

// Drives of the machine, as an unmodified program sees them through their nodes.
namespace simulator::test {
namespace {

using Lines = std::vector<std::string>;

constexpr const char* kDrives = R"({"name": "drives", "drives": [
    {"kind": "sata", "node": "sda", "model": "TS64GHSD630", "serial": "E214870391",
     "firmware": "20180526", "hours": 18422, "wear": 33, "statistics": true},
    {"kind": "scsi", "node": "sdb"},
    {"kind": "nvme", "node": "nvme0", "hours": "18446744073709551618", "wear": 203}]})";

std::string lineOf(const std::string& command, const std::string& machine = kDrives) {
  ProbeRun run(machine);
  const ProbeResult result = run.run({command});
  EXPECT_EQ(result.status, 0) << result.errors;
  return result.lines.size() == 1 ? result.lines[0] : "not one line";
}

TEST(PreloadDrives, IdentityComesInReadingOrder) {
  const std::string line = lineOf("identity:/dev/sda");
  EXPECT_EQ(line.substr(0, 3), "ok ");
  // Bytes 46 to 53 are the firmware revision.
  EXPECT_EQ(line.substr(3 + 46 * 2, 16), "3230313830353236");
}

TEST(PreloadDrives, DriveCommandsBringHeaderAndData) {
  EXPECT_EQ(lineOf("drivecmd:/dev/sda:b0:01:d8:00"), "ok 50000000 ");
  const std::string line = lineOf("drivecmd:/dev/sda:b0:00:d0:01");
  EXPECT_EQ(line.substr(0, 12), "ok b000d001 ");
  // One attribute, 9, with 18422 hours.
  EXPECT_EQ(line.substr(12, 28),
            "1000"
            "09"
            "3200"
            "64"
            "64"
            "f64700000000"
            "00");
}

TEST(PreloadDrives, PassThroughBringsSenseStatusAndData) {
  const std::string line = lineOf("readlog:/dev/sda:04:07");
  EXPECT_EQ(line.substr(0, line.find(" data=")),
            "ok status=02 host=00 driver=08 length=22 "
            "sense=7201001d0000000e090c010000010004000700000050");
  EXPECT_NE(line.find(" data=010007000000000021000000000000e0"), std::string::npos) << line;
  EXPECT_EQ(lineOf("readlog:/dev/sdb:04:07").substr(0, 73),
            "ok status=02 host=00 driver=08 length=18 sense=700005000000000a0000000020");
}

TEST(PreloadDrives, NvmeCommandsBringStatusResultAndData) {
  EXPECT_EQ(lineOf("nvmeid:/dev/nvme0"), "failed ENOTTY");
  EXPECT_EQ(lineOf("nvmeid:/dev/nvme0n1"), "1");
  EXPECT_EQ(lineOf("nvmeadmin:/dev/nvme0:06:0:7f:4096"), "returned 16386 errno=0 result=0 data=");
  const std::string line = lineOf("nvmeadmin:/dev/nvme0:02:ffffffff:7f0002:512");
  EXPECT_EQ(line.substr(0, 34), "returned 0 errno=0 result=0 data=0");
  EXPECT_EQ(line.substr(33, 12),
            "0036"
            "01"
            "64"
            "0a"
            "cb");
  EXPECT_EQ(line.substr(33 + 128 * 2),
            "0200000000000000"
            "01");
}

TEST(PreloadDrives, OtherDescriptorsMeetTheRealKernel) {
  EXPECT_EQ(lineOf("identity:/dev/null"), "failed ENOTTY ");
}

TEST(PreloadDrives, ClosedDescriptorsBelongToWhoeverGetsThemNext) {
  EXPECT_EQ(lineOf("reuse:/dev/sda"), "failed ENOTTY");
}

TEST(PreloadDrives, JournalTellsTheBytesSent) {
  ProbeRun run(kDrives);
  run.run({"identity:/dev/sda", "drivecmd:/dev/sda:b0:04:d5:08", "readlog:/dev/sda:04:07",
           "nvmeadmin:/dev/nvme0:02:ffffffff:7f0002:512", "nvmeid:/dev/nvme0"});
  const std::vector<nlohmann::json> calls = run.journal("ioctl");
  ASSERT_EQ(calls.size(), 5U);
  EXPECT_EQ(calls[0].at("request"), "HDIO_GET_IDENTITY");
  EXPECT_EQ(calls[0].at("number"), 0x030d);
  EXPECT_EQ(calls[1].at("request"), "HDIO_DRIVE_CMD");
  EXPECT_EQ(calls[1].at("sent"), "b0 04 d5 08");
  EXPECT_EQ(calls[2].at("sent"), "85 09 2e 00 00 00 01 00 04 00 07 00 00 00 2f 00");
  EXPECT_EQ(calls[2].at("dataLength"), 512);
  EXPECT_EQ(calls[2].at("senseLength"), 32);
  EXPECT_EQ(calls[2].at("timeout"), 2000);
  EXPECT_EQ(calls[2].at("interface"), 'S');
  EXPECT_EQ(calls[2].at("direction"), -3);
  EXPECT_EQ(calls[2].at("sense"),
            "72 01 00 1d 00 00 00 0e 09 0c 01 00 00 01 00 04 00 07 00 00 00 50");
  EXPECT_EQ(calls[3].at("opcode"), 2);
  EXPECT_EQ(calls[3].at("nsid"), 0xffffffffU);
  EXPECT_EQ(calls[3].at("cdw10"), 0x007f0002);
  EXPECT_EQ(calls[3].at("dataLength"), 512);
  EXPECT_EQ(calls[3].at("timeout"), 0);
  EXPECT_EQ(calls[3].at("return"), 0);
  EXPECT_EQ(calls[4].at("return"), -1);
  EXPECT_EQ(calls[4].at("errno"), "ENOTTY");
}

TEST(PreloadDrives, ManyThreadsGetTheSameAnswers) {
  ProbeRun run(kDrives);
  const ProbeResult result = run.run(
      {"threads:readlog:/dev/sda:04:07", "threads:nvmeadmin:/dev/nvme0:02:ffffffff:7f0002:512",
       "threads:list:/sys/block", "threads:glob:/dev/nvme[0-9]", "threads:access:/dev/sda"});
  EXPECT_EQ(result.status, 0) << result.errors;
  ASSERT_EQ(result.lines.size(), 5U);
  EXPECT_EQ(result.lines[0].substr(0, 12), "ok status=02");
  EXPECT_EQ(result.lines[2], ". .. sda@ sdb@ nvme0n1@ closedir ok");
  EXPECT_EQ(result.lines[3], "0 /dev/nvme0");
  EXPECT_EQ(run.journal("ioctl").size(), 800U);
}

}  // namespace
}  // namespace simulator::test
