#include "simulator/MachineFile.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>

#include "tests/simulator/Requests.h"

namespace simulator {
namespace {

std::string problemOf(const std::string& text) {
  try {
    parseMachine(text);
  } catch (const MachineFileError& error) {
    return error.what();
  }
  return "none";
}

MachineDescription with(const std::string& rest) {
  return parseMachine(R"({"name": "m", )" + rest + "}");
}

TEST(MachineFile, NeedsNothingButAName) {
  const MachineDescription machine = parseMachine(R"({"name": "bare"})");
  EXPECT_EQ(machine.name, "bare");
  EXPECT_EQ(std::get<std::string>(machine.bios), "1.00\n");
  EXPECT_FALSE(machine.config);
  EXPECT_FALSE(machine.logConfig);
  EXPECT_EQ(machine.timeScale, 1);
  EXPECT_TRUE(machine.privileged);
  EXPECT_TRUE(machine.drives.empty());
  EXPECT_EQ(problemOf("{}"), "machine file: \"name\" is missing");
}

TEST(MachineFile, BiosVersionEndsInALineFeedUnlessItsContentIsExact) {
  EXPECT_EQ(std::get<std::string>(with(R"("bios": "1.02.3")").bios), "1.02.3\n");
  EXPECT_EQ(std::get<std::string>(with(R"("bios": "a\nb")").bios), "a\nb");
  EXPECT_EQ(std::get<std::string>(with(R"("bios": "")").bios), "");
  EXPECT_EQ(std::get<std::string>(with(R"("bios": {"content": "1.02.3"})").bios), "1.02.3");
  EXPECT_EQ(std::get<int>(with(R"("bios": null)").bios), ENOENT);
  EXPECT_EQ(std::get<int>(with(R"("bios": {"errno": "EACCES"})").bios), EACCES);
}

TEST(MachineFile, ConfigurationIsAnObjectOfKeysOrItsExactText) {
  EXPECT_EQ(with(R"("config": {"PercentUsedThreshold": 90, "PollRate": "1", "SptLogAccess": true})")
                .config,
            "PercentUsedThreshold=90\nPollRate=1\nSptLogAccess=true\n");
  EXPECT_EQ(with(R"("config": "PollRate=20")").config, "PollRate=20");
  EXPECT_EQ(with(R"("config": null)").config, std::nullopt);
  EXPECT_EQ(with(R"("logConfig": {"Level": 4})").logConfig, "Level=4\n");
  EXPECT_EQ(problemOf(R"({"name": "m", "config": {"PollRate": []}})"),
            "config.PollRate: text, number, true or false expected");
  EXPECT_EQ(problemOf(R"({"name": "m", "config": {"Pollrate": 1}})"),
            "config.Pollrate: unknown key; known are DebugIndications, DebugTraceAttributes, "
            "DebugTraceLogs, ModelsFile, PercentUsedThreshold, PollRate and SptLogAccess");
  EXPECT_EQ(problemOf(R"({"name": "m", "logConfig": {"level": 1}})"),
            "logConfig.level: unknown key; known are FileName, IsConsole, Level and MaxLength");
}

TEST(MachineFile, TimeScalesUsleepAndWhatElseIsNamed) {
  const MachineDescription usual = with(R"("time": {"scale": 1000})");
  EXPECT_EQ(usual.timeScale, 1000);
  EXPECT_EQ(usual.scaledCalls, std::vector<std::string>{"usleep"});
  const MachineDescription other = with(R"("time": {"calls": ["nanosleep"]})");
  EXPECT_EQ(other.scaledCalls, std::vector<std::string>{"nanosleep"});
  EXPECT_EQ(problemOf(R"({"name": "m", "time": {"scale": 0}})"),
            "time.scale: number from 0.001 to 1000000000.0 expected, found 0");
  EXPECT_EQ(problemOf(R"({"name": "m", "time": {"calls": ["sleep"]}})"),
            "time.calls[0]: usleep, nanosleep or clock_nanosleep expected, found \"sleep\"");
}

TEST(MachineFile, UnknownKeysAreRefusedWithTheirPlace) {
  EXPECT_EQ(
      problemOf(R"({"name": "m", "drive": []})"),
      "drive: unknown key; known are bios, block, comment, config, drives, faults, logConfig, "
      "logDirectory, name, privileged and time");
  EXPECT_EQ(problemOf(R"({"name": "m", "time": {"skale": 2}})"),
            "time.skale: unknown key; known are calls and scale");
  EXPECT_EQ(problemOf(R"({"name": "m", "drives": [{"kind": "nvme", "node": "nvme0"},
                          {"kind": "sata", "node": "sda", "rotations": 1}]})"),
            "drives[1].rotations: unknown key; known are comment, firmware, generalPurposeLogs, "
            "gigabytes, hours, kind, majorVersion, model, node, raw, removable, rotation, serial, "
            "smart, statistics and wear");
}

TEST(MachineFile, CommentsMayStandInMachineDriveAndFault) {
  EXPECT_EQ(problemOf(R"({"name": "m", "comment": "c", "drives": [
                {"comment": "c", "kind": "scsi", "node": "sda"}],
                "faults": [{"comment": "c", "call": "open", "node": "sda", "errno": "EIO"}]})"),
            "none");
}

TEST(MachineFile, WrongKindsOfValueAreNamedAsFound) {
  EXPECT_EQ(problemOf(R"({"name": 3})"), "name: text expected, found a number");
  EXPECT_EQ(problemOf(R"({"name": "m", "drives": {}})"), "drives: list expected, found an object");
  EXPECT_EQ(problemOf(R"({"name": "m", "drives": [3]})"),
            "drives[0]: object expected, found a number");
  EXPECT_EQ(problemOf(R"({"name": "m", "privileged": "no"})"),
            "privileged: true or false expected, found text");
  EXPECT_EQ(problemOf("[]"), "machine file: object expected, found a list");
}

TEST(MachineFile, KeysGivenTwiceAreRefused) {
  EXPECT_EQ(problemOf(R"({"name": "m", "name": "n"})"), "name: key given twice");
  EXPECT_EQ(problemOf(R"({"name": "m", "drives": [{"raw": [{}, []], "node": "sda"}, {"raw":
                {"at": {"0": [1, {"x": 2}], "1": 3, "1": 4}}}]})"),
            "drives[1].raw.at.1: key given twice");
  EXPECT_EQ(problemOf(R"({"name": "m", "time": {"scale": 1}, "comment": {"scale": 1}})"), "none");
}

TEST(MachineFile, TextThatIsNoJsonIsRefusedWithThePosition) {
  EXPECT_EQ(problemOf("{"),
            "no valid JSON at line 1, column 2: syntax error while parsing object key - unexpected "
            "end of input; expected string literal");
  EXPECT_NE(problemOf("{\n\"name\": }").find("at line 2, column 9: "), std::string::npos);
  EXPECT_EQ(problemOf(R"({"name": 1e999})"), "no valid JSON: number overflow parsing '1e999'");
}

TEST(MachineFile, TwoDrivesCannotShareANode) {
  EXPECT_EQ(problemOf(R"({"name": "m", "drives": [{"kind": "scsi", "node": "sda"},
                                                  {"kind": "sata", "node": "sda"}]})"),
            "drives[1]: a second drive with the node \"sda\"");
}

TEST(MachineFile, TheBlockDirectoryNamesDrivesThatThereAre) {
  const auto problem = [](const std::string& block) {
    return problemOf(R"({"name": "m", "block": [)" + block + R"(], "drives": [
        {"kind": "sata", "node": "sda"},
        {"kind": "nvme", "node": "nvme0", "namespaces": 3, "activeNamespaces": [1, 3]}]})");
  };
  EXPECT_EQ(problem(R"("loop0", "nvme0n3", "sda", "nvme0n1")"), "none");
  EXPECT_EQ(problem(R"("sda", "sdb")"), "block[1]: the machine has no drive \"sdb\"");
  EXPECT_EQ(problem(R"("nvme0n2")"), "block[0]: the machine has no drive \"nvme0n2\"");
  EXPECT_EQ(problem(R"("nvme0")"), "block[0]: the machine has no drive \"nvme0\"");
  // What else a recorded machine had there was no drive to the program that was recorded.
  EXPECT_EQ(problemOf(R"({"name": "m", "block": ["sda", "sdb"], "drives": [
                {"kind": "recorded", "node": "sda", "requests": []}]})"),
            "none");
}

TEST(MachineFile, TheLogDirectoryIsAnAbsolutePath) {
  EXPECT_EQ(with(R"("logDirectory": "/tmp")").logDirectory, "/tmp");
  EXPECT_EQ(problemOf(R"({"name": "m", "logDirectory": "logs"})"),
            "logDirectory: a path that begins with \"/\" expected, found \"logs\"");
}

TEST(MachineFile, ThatCannotBeReadIsNamed) {
  for (const auto& [path, reason] :
       {std::pair("/nowhere/machine.json", "No such file or directory"),
        std::pair("/tmp", "Is a directory")}) {
    try {
      loadMachine(path);
      FAIL() << path;
    } catch (const MachineFileError& error) {
      EXPECT_EQ(error.what(), std::string(path) + " can't be read: " + reason);
    }
  }
}

TEST(MachineFile, ProblemsOfAFileBeginWithItsPath) {
  const std::string path = testing::TempDir() + "/MachineFile.ProblemsOfAFile.json";
  std::ofstream(path) << R"({"name": 3})";
  try {
    loadMachine(path);
    FAIL();
  } catch (const MachineFileError& error) {
    EXPECT_EQ(error.what(), path + ": name: text expected, found a number");
  }
}

std::string faultProblem(const std::string& fault) {
  return problemOf(R"({"name": "m", "drives": [{"kind": "sata", "node": "sda"}], "faults": [)" +
                   fault + "]}");
}

TEST(MachineFile, FaultsSayACallThatCanFailAndExactlyOneOutcome) {
  EXPECT_EQ(
      faultProblem(R"({"call": "read", "errno": "EIO"})"),
      "faults[0].call: open, fopen, access, opendir, readdir, glob, ioctl, fcntl, close, fstat, "
      "fwrite, fflush, fgets, getline, pthread_create or usleep expected, found \"read\"");
  EXPECT_NE(faultProblem(R"({"call": "open"})").find("exactly one outcome expected"),
            std::string::npos);
  EXPECT_NE(faultProblem(R"({"call": "ioctl", "errno": "EIO", "return": 3})")
                .find("exactly one outcome expected"),
            std::string::npos);
  EXPECT_EQ(faultProblem(R"({"call": "open", "delayMs": 5})"), "none");
  EXPECT_EQ(faultProblem(R"({"call": "open", "errno": "EWHAT"})"),
            "faults[0].errno: \"EWHAT\" is no errno that the simulator knows");
}

TEST(MachineFile, FaultsNameDrivesThatThereAre) {
  EXPECT_EQ(faultProblem(R"({"call": "open", "node": "sdb", "errno": "EIO"})"),
            "faults[0].node: the machine has no drive \"sdb\"");
  EXPECT_EQ(faultProblem(R"({"call": "open", "path": "dev/sda", "errno": "EIO"})"),
            "faults[0].path: a path that begins with \"/\" expected");
}

TEST(MachineFile, FaultsSayNothingThatTheirCallDoesNotHave) {
  EXPECT_EQ(
      faultProblem(R"({"call": "open", "log": 4, "errno": "EIO"})"),
      "faults[0].log: unknown key; known are call, comment, count, delayMs, errno, node, nth and "
      "path");
  EXPECT_EQ(faultProblem(R"({"call": "usleep", "node": "sda", "errno": "EINTR"})"),
            "faults[0].node: unknown key; known are call, comment, count, delayMs, errno and nth");
  const auto begins = [](const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
  };
  EXPECT_TRUE(
      begins(faultProblem(R"({"call": "open", "sense": "70"})"), "faults[0].sense: unknown key; "));
  EXPECT_TRUE(begins(faultProblem(R"({"call": "glob", "errno": "EIO"})"),
                     "faults[0].errno: unknown key; "));
  EXPECT_EQ(faultProblem(R"({"call": "ioctl", "request": "HDIO", "errno": "EIO"})"),
            "faults[0].request: HDIO_GET_IDENTITY, HDIO_DRIVE_CMD, SG_IO, NVME_IOCTL_ID or "
            "NVME_IOCTL_ADMIN_CMD expected, found \"HDIO\"");
  EXPECT_EQ(faultProblem(R"({"call": "ioctl", "hang": false})"), "faults[0].hang: true expected");
}

TEST(MachineFile, FaultsOfGlobReturnItsCodes) {
  EXPECT_EQ(faultProblem(R"({"call": "glob", "return": "GLOB_NOSPACE"})"), "none");
  EXPECT_EQ(
      faultProblem(R"({"call": "glob", "return": "NOSPACE"})"),
      "faults[0].return: GLOB_NOSPACE, GLOB_ABORTED or GLOB_NOMATCH expected, found \"NOSPACE\"");
}

TEST(MachineFile, FaultsCountTheirCalls) {
  const MachineDescription machine = with(R"("faults": [
      {"call": "open", "errno": "EIO"},
      {"call": "open", "errno": "EIO", "nth": 3, "count": 2},
      {"call": "open", "errno": "EIO", "count": "forever"}])");
  EXPECT_EQ(machine.faults[0].nth, 1U);
  EXPECT_EQ(machine.faults[0].count, FaultDescription::kForever);
  EXPECT_EQ(machine.faults[1].nth, 3U);
  EXPECT_EQ(machine.faults[1].count, 2U);
  EXPECT_EQ(machine.faults[2].count, FaultDescription::kForever);
  EXPECT_NE(faultProblem(R"({"call": "open", "errno": "EIO", "nth": 0})"), "none");
}

}  // namespace
}  // namespace simulator
