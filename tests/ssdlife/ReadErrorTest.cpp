#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "tests/ssdlife/CommandRun.h"

// Drives that the provider shows although it could not read them, and machines that can't be used.
namespace {

class OnAMachine : public testing::Test {
 protected:
  OnAMachine() {
    std::string pattern = testing::TempDir() + "machine-XXXXXX";
    folder_ = mkdtemp(pattern.data());
  }
  ~OnAMachine() override { std::filesystem::remove_all(folder_); }

  // What a run said, on a machine that is described so.
  struct Outcome {
    int exitStatus;
    std::string output;
    std::string error;
  };
  Outcome run(const std::string& machine, std::vector<std::string> arguments) const {
    std::ofstream(file()) << machine;
    arguments.insert(arguments.end(), {"--machine", file(), "--library", LIBRARY});
    CommandRun command(arguments);
    const int exitStatus = command.start().exitStatus();
    return {exitStatus, command.output(), command.error()};
  }

  std::string file() const { return folder_ + "/machine.json"; }

 private:
  std::string folder_;
};

// Worn, and no answer to GET LOG PAGE.
constexpr const char* kUnread = R"({"name": "m", "drives": [
    {"kind": "nvme", "node": "nvme0", "model": "X", "percentageUsed": 99, "hours": 7}],
    "faults": [{"call": "ioctl", "node": "nvme0", "command": 2, "errno": "EIO"}]})";
constexpr const char* kNew = R"({"name": "m", "drives": [{"kind": "nvme", "node": "nvme0"}]})";

TEST_F(OnAMachine, ADriveWhoseHealthLogCannotBeReadIsUnknownToCheck) {
  const Outcome unread = run(kUnread, {"check"});
  EXPECT_EQ(unread.exitStatus, 3);
  EXPECT_EQ(unread.output,
            "SSD UNKNOWN - nvme0 not read: Input/output error | nvme0_used=U;80;95;0;100\n");
  const Outcome unused = run(kNew, {"check"});
  EXPECT_EQ(unused.exitStatus, 0);
  EXPECT_EQ(unused.output, "SSD OK - nvme0 0 % | nvme0_used=0%;80;95;0;100 nvme0_hours=0\n");
}

TEST_F(OnAMachine, ADriveThatCannotBeReadIsMarkedWhereverItIsShown) {
  EXPECT_NE(run(kUnread, {"list"}).output.find(" unread "), std::string::npos);
  const std::string shown = run(kUnread, {"get", "nvme0"}).output;
  EXPECT_NE(shown.find("] 0 %, not read\n"), std::string::npos) << shown;
  EXPECT_NE(shown.find("not read: Input/output error\n"), std::string::npos) << shown;
  const auto drive = nlohmann::json::parse(run(kUnread, {"get", "X", "--json"}).output);
  EXPECT_EQ(drive.at("percentageUsed"), 0);
  EXPECT_EQ(drive.at("read"), false);
  EXPECT_EQ(drive.at("readError"), "Input/output error");
  EXPECT_NE(run(kUnread, {"list", "--format", "prometheus"})
                .output.find("ssdlife_read{device=\"nvme0\"} 0"),
            std::string::npos);
  EXPECT_EQ(run(kNew, {"list"}).output.find("unread"), std::string::npos);
}

TEST_F(OnAMachine, ADriveIsFoundByItsNode) {
  constexpr const char* kTwo = R"({"name": "m", "drives": [
      {"kind": "sata", "node": "sda", "model": "A"}, {"kind": "sata", "node": "sdb", "model": "B"},
      {"kind": "sata", "node": "sdc", "rotation": 7200},
      {"kind": "nvme", "node": "nvme0", "model": "C"}]})";
  for (const auto& [name, model] : {std::pair("sdb", "B"), std::pair("/dev/sdb", "B"),
                                    std::pair("nvme0n1", "C"), std::pair("B_", "B")}) {
    const Outcome found = run(kTwo, {"get", name, "--json"});
    ASSERT_EQ(found.exitStatus, 0) << name << found.error;
    EXPECT_EQ(nlohmann::json::parse(found.output).at("model"), model) << name;
  }
  const Outcome rotating = run(kTwo, {"get", "sdc"});
  EXPECT_EQ(rotating.exitStatus, 1);
  EXPECT_EQ(rotating.error, "ssdlife: the provider shows no SSD at /dev/sdc\n");
}

TEST_F(OnAMachine, AMachineFileThatCannotBeUsedIsToldByTheCommandItself) {
  const Outcome broken = run(R"({"name": 3})", {"list"});
  EXPECT_EQ(broken.exitStatus, 78);
  EXPECT_EQ(broken.error,
            "ssdlife: machine file " + file() + ": name: text expected, found a number\n");
  const Outcome checked = run(R"({"name": 3})", {"check"});
  EXPECT_EQ(checked.exitStatus, 3);
  EXPECT_EQ(checked.output,
            "SSD UNKNOWN - machine file " + file() + ": name: text expected, found a number\n");
  EXPECT_EQ(checked.error, "");
}

TEST_F(OnAMachine, TheLogIsReferredToOnlyWhereItIs) {
  const std::string folder = std::filesystem::path(file()).parent_path();
  const std::string start = R"({"name": "m", "bios": null)";
  const Outcome without = run(start + "}", {"list"});
  EXPECT_EQ(without.exitStatus, 5);
  EXPECT_EQ(without.error.find("see /var/log"), std::string::npos) << without.error;
  const Outcome with = run(start + R"(, "logDirectory": ")" + folder + "\"}", {"list"});
  EXPECT_EQ(with.exitStatus, 5);
  EXPECT_NE(with.error.find("; see /var/log/ssddrv/ssddrv.log\n"), std::string::npos) << with.error;
}

}  // namespace
