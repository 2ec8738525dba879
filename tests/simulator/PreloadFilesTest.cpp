#include <gtest/gtest.h>

#include "tests/simulator/ProbeRun.h"

// Files and directories of the machine, as an unmodified program sees them. Every test runs with a
// program built plainly and with one built as distributions do.
namespace simulator::test {
namespace {

using Lines = std::vector<std::string>;

constexpr const char* kTill = R"({"name": "till", "bios": "1.02.3",
    "config": {"PollRate": 1}, "logConfig": "Level=4\nMaxLength=5000",
    "drives": [{"kind": "sata", "node": "sdb"},
               {"kind": "nvme", "node": "nvme1"},
               {"kind": "nvme", "node": "nvme10"},
               {"kind": "nvme", "node": "nvme0"},
               {"kind": "scsi", "node": "sda", "removable": true},
               {"kind": "scsi", "node": "sdc", "removable": null},
               {"kind": "scsi", "node": "sdd", "removable": {"errno": "EACCES"}}]})";

class PreloadFiles : public testing::TestWithParam<ProbeProgram> {
 protected:
  Lines lines(const Lines& commands, const std::string& machine = kTill) {
    ProbeRun run(machine);
    const ProbeResult result = run.program(GetParam().path).run(commands);
    EXPECT_EQ(result.status, 0) << result.errors;
    return result.lines;
  }
};

TEST_P(PreloadFiles, BlockDirectoryYieldsLinksInTheMachinesOrder) {
  EXPECT_EQ(lines({"list:/sys/block/", "list:/sys//block"}),
            Lines(2, ". .. sdb@ nvme1n1@ nvme10n1@ nvme0n1@ sda@ sdc@ sdd@ closedir ok"));
}

TEST_P(PreloadFiles, BlockDirectoryCanBeMissing) {
  EXPECT_EQ(lines({"list:/sys/block/"}, R"({"name": "m", "block": null})"),
            Lines{"opendir failed ENOENT"});
}

TEST_P(PreloadFiles, RemovableFilesAreReadAsTheMachineSays) {
  EXPECT_EQ(lines({"read:/sys/block/sdb/removable", "read:/sys/block/sda/removable",
                   "access:/sys/block/sda/removable"}),
            (Lines{"[0", "]", "[1", "]", "ok"}));
  EXPECT_EQ(
      lines({"access:/sys/block/sdc/removable", "read:/sys/block/sdc/removable",
             "access:/sys/block/sdd/removable", "read:/sys/block/sdd/removable"}),
      (Lines{"failed ENOENT", "fopen failed ENOENT", "failed EACCES", "fopen failed EACCES"}));
}

TEST_P(PreloadFiles, BiosVersionIsTheMachines) {
  EXPECT_EQ(lines({"read:/sys/devices/virtual/dmi/id/bios_version"}), (Lines{"[1.02.3", "]"}));
  EXPECT_EQ(
      lines({"read:/sys/devices/virtual/dmi/id/bios_version"}, R"({"name": "m", "bios": null})"),
      Lines{"fopen failed ENOENT"});
}

TEST_P(PreloadFiles, ConfigurationIsReadLineByLine) {
  EXPECT_EQ(lines({"lines:/etc/ssddrv/ssddrv.ini", "lines:/etc/ssddrv/log.conf"}),
            (Lines{"[PollRate=1", "]", "[Level=4", "][MaxLength=5000]"}));
  EXPECT_EQ(lines({"lines:/etc/ssddrv/ssddrv.ini"}, R"({"name": "m"})"),
            Lines{"fopen failed ENOENT"});
}

TEST_P(PreloadFiles, GlobFindsTheMachinesNodesSortedAndNothingElse) {
  EXPECT_EQ(lines({"glob:/dev/nvme[0-9]", "glob:/dev/sd?", "glob:/dev/nvme0", "glob:/dev/sdq",
                   "glob:/sys/block/*/removable", "glob:/dev/[n]vme?"}),
            (Lines{"0 /dev/nvme0 /dev/nvme1", "0 /dev/sda /dev/sdb /dev/sdc /dev/sdd",
                   "0 /dev/nvme0", "3",
                   "0 /sys/block/nvme0n1/removable /sys/block/nvme10n1/removable "
                   "/sys/block/nvme1n1/removable /sys/block/sda/removable "
                   "/sys/block/sdb/removable",
                   "0 /dev/nvme0 /dev/nvme1"}));
  EXPECT_EQ(lines({"glob:/dev/nvme[0-9]"}, R"({"name": "m"})"), Lines{"3"});
}

TEST_P(PreloadFiles, GlobLeavesRealNodesInTheirPlace) {
  EXPECT_EQ(lines({"glob:/dev/nul[l]", "glob:/etc/pass[w]d"}),
            (Lines{"0 /dev/null", "0 /etc/passwd"}));
}

TEST_P(PreloadFiles, NodesAreDevicesToStat) {
  EXPECT_EQ(lines({"stat:/dev/sdb", "stat:/dev/nvme0", "stat:/dev/nvme0n1", "stat:/dev/sdq",
                   "stat:/sys/block", "stat:/sys/block/sdb/removable", "stat:/dev/null"}),
            (Lines{"block device 0", "character device 0", "block device 0", "failed ENOENT",
                   "directory 0", "file 2", "character device 0"}));
}

TEST_P(PreloadFiles, NodesOpenAndTakeTheirFlags) {
  EXPECT_EQ(lines({"control:/dev/nvme0", "control:/dev/nvme5"}),
            (Lines{"fcntl ok, flags 1, close ok", "open failed ENOENT"}));
}

TEST_P(PreloadFiles, DescriptorsThatAreNotClosedStayInTheProcess) {
  const Lines counts = lines({"leak:/dev/sdb", "leak:/dev/sdb", "leak:/dev/null"});
  ASSERT_EQ(counts.size(), 3U);
  EXPECT_EQ(std::stoi(counts[1]), std::stoi(counts[0]) + 1);
  EXPECT_EQ(std::stoi(counts[2]), std::stoi(counts[0]) + 2);
}

TEST_P(PreloadFiles, LogDirectoryIsMissingUnlessARealOneStandsInForIt) {
  EXPECT_EQ(lines({"append:/var/log/ssddrv/ssddrv.log:x"}), Lines{"fopen failed ENOENT"});
  ProbeRun run(kTill);
  run.program(GetParam().path).environment("VEKSSD_LOG_DIR", run.directory().path());
  const ProbeResult result = run.run(
      {"append:/var/log/ssddrv/ssddrv.log:first", "append:/var/log/ssddrv/ssddrv.log:second"});
  EXPECT_EQ(result.lines, (Lines{"size 0, fwrite 5, fflush ok, fclose ok",
                                 "size 5, fwrite 6, fflush ok, fclose ok"}));
  EXPECT_EQ(run.directory().read("ssddrv.log"), "firstsecond");
}

TEST_P(PreloadFiles, MachineMayNameTheLogDirectoryItself) {
  const ScratchDirectory directory;
  EXPECT_EQ(lines({"append:/var/log/ssddrv/ssddrv.log:x"},
                  R"({"name": "m", "logDirectory": ")" + directory.path() + "\"}"),
            Lines{"size 0, fwrite 1, fflush ok, fclose ok"});
  EXPECT_EQ(directory.read("ssddrv.log"), "x");
}

TEST_P(PreloadFiles, RealConfigurationDirectoryWinsOverTheMachines) {
  const ScratchDirectory directory;
  directory.write("ssddrv.ini", "PollRate=7\n");
  ProbeRun run(kTill);
  run.program(GetParam().path).environment("VEKSSD_ETC", directory.path());
  EXPECT_EQ(run.run({"lines:/etc/ssddrv/ssddrv.ini", "lines:/etc/ssddrv/log.conf"}).lines,
            (Lines{"[PollRate=7", "]", "fopen failed ENOENT"}));
}

TEST_P(PreloadFiles, OtherFilesAreTheRealOnes) {
  ProbeRun run(kTill);
  const std::string path = run.directory().write("real", "text");
  EXPECT_EQ(run.program(GetParam().path)
                .run({"read:" + path, "access:" + path, "stat:" + path, "append:" + path + ":s",
                      "read:" + path, "list:" + run.directory().path() + "/none"})
                .lines,
            (Lines{"[text]", "ok", "file 4", "size 4, fwrite 1, fflush ok, fclose ok", "[texts]",
                   "opendir failed ENOENT"}));
  EXPECT_TRUE(run.journal().empty());
}

TEST_P(PreloadFiles, JournalTellsOpenFlagsAndDescriptors) {
  ProbeRun run(kTill);
  run.program(GetParam().path).run({"control:/dev/nvme0", "identity:/dev/sdb", "read:/dev/sdz"});
  const std::vector<nlohmann::json> opens = run.journal("open");
  ASSERT_EQ(opens.size(), 2U);
  EXPECT_EQ(opens[0].at("path"), "/dev/nvme0");
  EXPECT_EQ(opens[0].at("flags"), "O_RDONLY|O_NONBLOCK");
  EXPECT_EQ(opens[1].at("flags"), "O_RDONLY");
  const std::vector<nlohmann::json> controls = run.journal("fcntl");
  ASSERT_EQ(controls.size(), 2U);
  EXPECT_EQ(controls[0].at("command"), "F_SETFD");
  EXPECT_EQ(controls[0].at("argument"), 1);
  EXPECT_EQ(controls[0].at("fd"), opens[0].at("return"));
  const std::vector<nlohmann::json> closes = run.journal("close");
  ASSERT_EQ(closes.size(), 2U);
  EXPECT_EQ(closes[0].at("fd"), opens[0].at("return"));
  const std::vector<nlohmann::json> streams = run.journal("fopen");
  ASSERT_EQ(streams.size(), 1U);
  EXPECT_EQ(streams[0].at("errno"), "ENOENT");
}

INSTANTIATE_TEST_SUITE_P(Probe, PreloadFiles, testing::Values(kPlainProbe, kFortifiedProbe),
                         programName);

}  // namespace
}  // namespace simulator::test
