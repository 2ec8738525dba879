#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include "tests/simulator/ProbeRun.h"

// The simulator within a process: start, time, children, and keeping out of the way.
namespace simulator::test {
namespace {

using Clock = std::chrono::steady_clock;
using Lines = std::vector<std::string>;

constexpr const char* kWearingTill =
    R"({"name": "till", "drives": [{"kind": "sata", "node": "sda", "statistics": true,
        "wear": {"readings": [94, 95, 96]}}]})";

TEST(PreloadProcess, WithoutAMachineEverythingPassesThrough) {
  ProbeRun run("");
  const ProbeResult result = run.run({"stat:/dev/null", "access:/dev/sdqqq", "usleep:1"});
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(result.lines.at(0), "character device 0");
  EXPECT_EQ(result.lines.at(1), "failed ENOENT");
  EXPECT_TRUE(run.journal().empty());
}

TEST(PreloadProcess, AnEmptyNameIsNoMachine) {
  ProbeRun run("");
  const ProbeResult result = run.environment("VEKSSD_MACHINE", "").run({"usleep:1"});
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_TRUE(run.journal().empty());
}

TEST(PreloadProcess, MachineFileThatIsMissingEndsTheProcessWithOneLine) {
  ProbeRun run("");
  const ProbeResult result =
      run.environment("VEKSSD_MACHINE", "/nowhere/till.json").run({"usleep:1"});
  EXPECT_EQ(result.status, 78);
  EXPECT_EQ(result.errors,
            "vekssdsim: /nowhere/till.json can't be read: No such file or directory\n");
  EXPECT_TRUE(result.lines.empty());
}

TEST(PreloadProcess, MachineFileWithAMistakeEndsTheProcessWithItsPlace) {
  ProbeRun run(R"({"name": "m", "drives": [{"kind": "sata", "node": "sda", "wear": 300}]})");
  const ProbeResult result = run.run({"usleep:1"});
  EXPECT_EQ(result.status, 78);
  EXPECT_EQ(result.errors,
            "vekssdsim: " + run.directory().file("machine.json") +
                ": drives[0].wear: whole number from 0 to 255 expected, found 300\n");
}

int milliseconds(const std::string& line) {
  EXPECT_EQ(line.substr(0, 3), "ok ");
  return std::stoi(line.substr(3));
}

TEST(PreloadProcess, SleepsAreShorterByTheScaleAndTheJournalTellsWhatWasAsked) {
  ProbeRun run(R"({"name": "m", "time": {"scale": 1000}})");
  const ProbeResult result = run.run({"usleep:60000000"});
  // A whole minute; what counts is that it wasn't slept through.
  EXPECT_LT(milliseconds(result.lines.at(0)), 30'000);
  const std::vector<nlohmann::json> sleeps = run.journal("usleep");
  ASSERT_EQ(sleeps.size(), 1U);
  EXPECT_EQ(sleeps[0].at("microseconds"), 60'000'000);
}

TEST(PreloadProcess, SleepsAreNeverShorterThanTheScaleSays) {
  ProbeRun scaled(R"({"name": "m", "time": {"scale": 10}})");
  EXPECT_GE(milliseconds(scaled.run({"usleep:500000"}).lines.at(0)), 50);
  ProbeRun unscaled(R"({"name": "m", "time": {"scale": 1000, "calls": ["nanosleep"]}})");
  EXPECT_GE(milliseconds(unscaled.run({"usleep:20000"}).lines.at(0)), 20);
}

TEST(PreloadProcess, WearBySimulatedTimeMovesWhileTheProcessSleeps) {
  ProbeRun run(R"({"name": "m", "time": {"scale": 1000}, "drives": [{"kind": "sata", "node": "sda",
      "statistics": true, "wear": {"schedule": [[0, 10], [60, 20]]}}]})");
  const ProbeResult result = run.run({"usleep:61000000", "readlog:/dev/sda:04:07"});
  EXPECT_NE(result.lines.at(1).find("data=010007000000000014"), std::string::npos)
      << result.lines.at(1);
}

TEST(PreloadProcess, DelaysAreSimulatedTimeToo) {
  ProbeRun run(
      R"({"name": "m", "time": {"scale": 1000}, "drives": [{"kind": "sata", "node": "sda"}],
      "faults": [{"call": "ioctl", "node": "sda", "delayMs": 60000},
                 {"call": "open", "node": "sda", "delayMs": 60000}]})");
  const auto begin = Clock::now();
  EXPECT_EQ(run.run({"drivecmd:/dev/sda:b0:01:d8:00"}).lines.at(0), "ok 50000000 ");
  EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(120));
}

// The kernel gives up after ten seconds.
TEST(PreloadProcess, HangingDriveIsGivenUpInSimulatedTime) {
  ProbeRun run(
      R"({"name": "m", "time": {"scale": 100}, "drives": [{"kind": "sata", "node": "sda"}],
      "faults": [{"call": "ioctl", "node": "sda", "request": "HDIO_DRIVE_CMD", "hang": true}]})");
  const auto begin = Clock::now();
  EXPECT_EQ(run.run({"drivecmd:/dev/sda:b0:01:d8:00"}).lines.at(0), "failed EIO b001d800 ");
  EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(100));
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(10));
}

TEST(PreloadProcess, ReadingsGoOnWithinAProcessAndInAForkedChild) {
  ProbeRun run(kWearingTill);
  const ProbeResult result =
      run.run({"readlog:/dev/sda:04:07", "child:readlog:/dev/sda:04:07", "readlog:/dev/sda:04:07"});
  ASSERT_EQ(result.lines.size(), 4U);
  EXPECT_NE(result.lines[0].find("data=01000700000000005e"), std::string::npos);
  EXPECT_NE(result.lines[1].find("data=01000700000000005f"), std::string::npos);
  EXPECT_EQ(result.lines[2], "child ended with 0");
  // The child had a copy of the machine.
  EXPECT_NE(result.lines[3].find("data=01000700000000005f"), std::string::npos);
}

TEST(PreloadProcess, JournalLinesBearTheirProcess) {
  ProbeRun run(kWearingTill);
  run.run({"readlog:/dev/sda:04:07", "child:readlog:/dev/sda:04:07"});
  const std::vector<nlohmann::json> calls = run.journal("ioctl");
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_NE(calls[0].at("pid"), calls[1].at("pid"));
}

TEST(PreloadProcess, ProgramsStartedByTheProcessLiveOnTheMachineToo) {
  ProbeRun run(kWearingTill);
  const ProbeResult result = run.program("/bin/sh").run(
      {"-c",
       "cat /sys/block/sda/removable; ls /sys/block; "
       "test -b /dev/sda && stat -c %F /dev/sda; test -e /etc/ssddrv/log.conf"});
  EXPECT_EQ(result.lines, (Lines{"0", "sda", "block special file"}));
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.errors, "");
}

TEST(PreloadProcess, JournalThatCannotBeWrittenDisturbsNobody) {
  ProbeRun run(kWearingTill);
  run.environment("VEKSSD_JOURNAL", "/nowhere/journal");
  const ProbeResult result = run.run({"drivecmd:/dev/sda:b0:01:d8:00", "access:/dev/sdx"});
  EXPECT_EQ(result.lines, (Lines{"ok 50000000 ", "failed ENOENT"}));
}

}  // namespace
}  // namespace simulator::test
