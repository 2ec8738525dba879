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
  EXPECT_EQ(with(R"("config": {"PercentUsedThreshold": 90, "PollRate": "1", "X": true})").config,
            "PercentUsedThreshold=90\nPollRate=1\nX=true\n");
  EXPECT_EQ(with(R"("config": "PollRate=20")").config, "PollRate=20");
  EXPECT_EQ(with(R"("config": null)").config, std::nullopt);
  EXPECT_EQ(with(R"("logConfig": {"Level": 4})").logConfig, "Level=4\n");
  EXPECT_EQ(problemOf(R"({"name": "m", "config": {"PollRate": []}})"),
            "config.PollRate: text, number, true or false expected");
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
            "time.calls[0]: usleep, nanosleep or clock_nanosleep expected");
}

TEST(MachineFile, UnknownKeysAreRefusedWithTheirPlace) {
  EXPECT_EQ(problemOf(R"({"name": "m", "drive": []})"), "drive: unknown key");
  EXPECT_EQ(problemOf(R"({"name": "m", "time": {"skale": 2}})"), "time.skale: unknown key");
  EXPECT_EQ(problemOf(R"({"name": "m", "drives": [{"kind": "nvme", "node": "nvme0"},
                          {"kind": "sata", "node": "sda", "rotations": 1}]})"),
            "drives[1].rotations: unknown key");
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
  EXPECT_EQ(problemOf(R"({"name": "m", "name": "n"})"), "key \"name\" is given twice");
  EXPECT_EQ(problemOf(R"({"name": "m", "time": {"scale": 1}, "config": {"scale": 1}})"), "none");
}

TEST(MachineFile, TextThatIsNoJsonIsRefusedWithThePosition) {
  EXPECT_NE(problemOf("{").find("no valid JSON: "), std::string::npos);
  EXPECT_NE(problemOf("{\n\"name\": }").find("line 2"), std::string::npos);
}

TEST(MachineFile, TwoDrivesCannotShareANode) {
  EXPECT_EQ(problemOf(R"({"name": "m", "drives": [{"kind": "scsi", "node": "sda"},
                                                  {"kind": "sata", "node": "sda"}]})"),
            "drives[1]: a second drive with the node \"sda\"");
}

TEST(MachineFile, ThatCannotBeOpenedIsNamed) {
  try {
    loadMachine("/nowhere/machine.json");
    FAIL();
  } catch (const MachineFileError& error) {
    EXPECT_STREQ(error.what(), "/nowhere/machine.json: cannot be opened");
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
  EXPECT_EQ(faultProblem(R"({"call": "read", "errno": "EIO"})"),
            "faults[0].call: \"read\" is no call that the simulator can make fail");
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
  EXPECT_EQ(faultProblem(R"({"call": "open", "log": 4, "errno": "EIO"})"),
            "faults[0].log: unknown key");
  EXPECT_EQ(faultProblem(R"({"call": "usleep", "node": "sda", "errno": "EINTR"})"),
            "faults[0].node: unknown key");
  EXPECT_EQ(faultProblem(R"({"call": "open", "sense": "70"})"), "faults[0].sense: unknown key");
  EXPECT_EQ(faultProblem(R"({"call": "glob", "errno": "EIO"})"), "faults[0].errno: unknown key");
  EXPECT_EQ(faultProblem(R"({"call": "ioctl", "request": "HDIO", "errno": "EIO"})"),
            "faults[0].request: name of an ioctl expected");
  EXPECT_EQ(faultProblem(R"({"call": "ioctl", "hang": false})"), "faults[0].hang: true expected");
}

TEST(MachineFile, FaultsOfGlobReturnItsCodes) {
  EXPECT_EQ(faultProblem(R"({"call": "glob", "return": "GLOB_NOSPACE"})"), "none");
  EXPECT_EQ(faultProblem(R"({"call": "glob", "return": "NOSPACE"})"),
            "faults[0].return: GLOB_NOSPACE, GLOB_ABORTED or GLOB_NOMATCH expected");
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
