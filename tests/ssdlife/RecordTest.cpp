#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/ssdlife/CommandRun.h"

// ssdlife record on simulated machines: the recorder stands in front of the simulator.
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

class Record : public testing::Test {
 protected:
  Record() {
    std::string pattern = testing::TempDir() + "record-XXXXXX";
    folder_ = mkdtemp(pattern.data());
  }
  ~Record() override { fs::remove_all(folder_); }

  std::string file(const std::string& name) const { return folder_ + '/' + name; }

  static json read(const std::string& path) {
    std::ifstream in(path);
    return json::parse(in);
  }

  // A machine on which nobody waits long for the drives' threads to end.
  static void writeHastily(const std::string& path, json machine) {
    if (!machine.contains("time")) {
      machine["time"] = {{"scale", 500}};
    }
    std::ofstream(path) << machine.dump();
  }

  struct Outcome {
    int exitStatus;
    std::string output;
    std::string error;
  };

  static Outcome run(std::vector<std::string> arguments, const std::string& machine) {
    arguments.insert(arguments.end(), {"--machine", machine, "--library", LIBRARY});
    CommandRun command(arguments);
    command.with("VEKSSD_MACHINE", "").start();
    const int exitStatus = command.exitStatus();
    return {exitStatus, command.output(), command.error()};
  }

  static Outcome list(const std::string& machine) {
    return run({"list", "--format", "json"}, machine);
  }

 private:
  std::string folder_;
};

std::vector<std::string> machineNames() {
  std::vector<std::string> names;
  for (const auto& entry : fs::recursive_directory_iterator(MACHINES)) {
    if (entry.path().extension() == ".json") {
      names.push_back(fs::relative(entry.path(), MACHINES).string());
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

class RecordedMachine : public Record, public testing::WithParamInterface<std::string> {};

TEST_P(RecordedMachine, ShowsTheSameListAgain) {
  json described = read(MACHINES "/" + GetParam());
  writeHastily(file("original.json"), described);
  const Outcome recorded = run({"record", file("again.json")}, file("original.json"));
  ASSERT_EQ(recorded.exitStatus, 0) << recorded.error;
  EXPECT_EQ(recorded.output.find(file("again.json") + " written: "), 0U) << recorded.output;

  json again = read(file("again.json"));
  for (const json& drive : again.at("drives")) {
    EXPECT_EQ(drive.at("kind"), "recorded");
  }
  writeHastily(file("again.json"), again);
  const Outcome original = list(file("original.json"));
  const Outcome replay = list(file("again.json"));
  EXPECT_EQ(replay.exitStatus, original.exitStatus);
  EXPECT_EQ(replay.output, original.output);
  EXPECT_EQ(replay.error, original.error);
}

INSTANTIATE_TEST_SUITE_P(Each, RecordedMachine, testing::ValuesIn(machineNames()),
                         [](const auto& test) {
                           std::string name = test.param.substr(0, test.param.size() - 5);
                           std::replace_if(
                               name.begin(), name.end(),
                               [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
                           return name;
                         });

// ---- What it says and leaves ------------------------------------------------------------------

TEST_F(Record, SaysWhatWasWrittenAndHowManySsdsThereWere) {
  const Outcome outcome = run({"record", file("till.json")}, MACHINES "/till.json");
  EXPECT_EQ(outcome.exitStatus, 0);
  EXPECT_EQ(outcome.output, file("till.json") + " written: 2 SSDs\n");
  EXPECT_EQ(outcome.error, "");
  const json till = read(file("till.json"));
  EXPECT_EQ(till.at("name"), "till");
  EXPECT_EQ(till.at("bios"), "1.02.3");
  EXPECT_EQ(till.at("block"), (json{"sda", "nvme0n1"}));
}

TEST_F(Record, WritesToStandardOutputWhereThatIsNamed) {
  const Outcome outcome = run({"record", "-"}, MACHINES "/till.json");
  EXPECT_EQ(outcome.exitStatus, 0);
  EXPECT_EQ(json::parse(outcome.output).at("block"), (json{"sda", "nvme0n1"}));
  EXPECT_EQ(outcome.error, "ssdlife: machine file written: 2 SSDs\n");
}

TEST_F(Record, KeepsAMachineWithNothingToShowAsWell) {
  const Outcome outcome = run({"record", file("none.json")}, MACHINES "/no-dmi.json");
  EXPECT_EQ(outcome.exitStatus, 0);
  EXPECT_NE(outcome.output.find("written: the SSD driver could not start"), std::string::npos);
  EXPECT_TRUE(read(file("none.json")).at("bios").is_null());
}

TEST_F(Record, TakesTheSettingsAlong) {
  json machine = read(MACHINES "/bridge-without-scsi-road.json");
  machine["config"] = "SptLogAccess=0\n";
  machine["logConfig"] = "Level=1\n";
  writeHastily(file("machine.json"), machine);
  ASSERT_EQ(run({"record", file("again.json")}, file("machine.json")).exitStatus, 0);
  const json again = read(file("again.json"));
  EXPECT_EQ(again.at("config"), "SptLogAccess=0\n");
  EXPECT_EQ(again.at("logConfig"), "Level=1\n");
  const json drive = json::parse(list(file("again.json")).output).at("drives").at(0);
  EXPECT_EQ(drive.at("percentageUsed"), 33);
}

TEST_F(Record, OnRequestMakesUpSerialNumbersOfTheSameLength) {
  ASSERT_EQ(run({"record", file("till.json"), "--anonymous"}, MACHINES "/till.json").exitStatus, 0);
  std::ifstream in(file("till.json"));
  const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  EXPECT_EQ(text.find("45 32 31 34 38 37 30 33 39 31"), std::string::npos);  // E214870391
  EXPECT_NE(text.find("made up"), std::string::npos);
  json original = json::parse(list(MACHINES "/till.json").output);
  json replay = json::parse(list(file("till.json")).output);
  EXPECT_EQ(replay.at("drives").at(0).at("serialNumber"), "XXXXXXXXX1");
  EXPECT_EQ(replay.at("drives").at(1).at("serialNumber"), "XXXXXXXXXXXXXXX2");
  EXPECT_EQ(replay.at("drives").at(0).at("deviceId"), "TS64GHSD630___XXXXXXXXX1___sda");
  for (json* const answer : {&original, &replay}) {
    for (json& drive : answer->at("drives")) {
      for (const char* const named : {"serialNumber", "deviceId", "caption", "description"}) {
        drive.erase(named);
      }
    }
  }
  EXPECT_EQ(replay, original);
}

TEST_F(Record, MakesUpSerialNumbersWhereDrivesRefuseToTellThem) {
  const Outcome outcome =
      run({"record", "--anonymous", file("sick.json")}, MACHINES "/sick-drives.json");
  EXPECT_EQ(outcome.exitStatus, 0) << outcome.error;
  EXPECT_EQ(outcome.output, file("sick.json") + " written: 9 SSDs\n");
}

TEST_F(Record, OfAProgramThatDoesNotKnowIsWrittenWhenItEnds) {
  CommandRun program({"names", "--library", LIBRARY});
  program.with("VEKSSD_RECORD", file("till.json"))
      .with("VEKSSD_MACHINE", MACHINES "/till.json")
      .with("LD_PRELOAD", RECORDER ":" SIMULATOR);
  ASSERT_EQ(program.start().exitStatus(), 0) << program.error();
  EXPECT_EQ(list(file("till.json")).output, list(MACHINES "/till.json").output);
}

// ---- What can be wrong ------------------------------------------------------------------------

TEST_F(Record, WithoutAFileToWriteReadsNoDrive) {
  const Outcome outcome = run({"record", "/nowhere/till.json"}, MACHINES "/till.json");
  EXPECT_EQ(outcome.exitStatus, 78);
  EXPECT_EQ(outcome.error,
            "ssdlife: /nowhere/till.json can't be written: No such file or directory\n");
  const Outcome none = run({"record"}, MACHINES "/till.json");
  EXPECT_EQ(none.exitStatus, 2);
  EXPECT_EQ(none.error, "ssdlife: FILE is required (see ssdlife --help)\n");
}

TEST_F(Record, HasOneFormOnly) {
  const Outcome outcome = run({"record", file("x"), "--format", "json"}, MACHINES "/till.json");
  EXPECT_EQ(outcome.exitStatus, 2);
  EXPECT_EQ(outcome.error, "ssdlife: --format is not for record (see ssdlife --help)\n");
  EXPECT_FALSE(fs::exists(file("x")));
}

TEST_F(Record, OfADiskThatIsFullFails) {
  const Outcome outcome = run({"record", "/dev/full"}, MACHINES "/no-drives.json");
  EXPECT_EQ(outcome.exitStatus, 78);
  EXPECT_EQ(outcome.error, "ssdlife: /dev/full can't be written: No space left on device\n");
}

TEST_F(Record, NeedsItsRecorder) {
  fs::copy_file(FAKE_LIBRARY, file("provider.so"));
  std::ofstream(file("libvekssdrec.so")) << "no library";
  CommandRun command({"record", file("x.json"), "--library", file("provider.so")});
  EXPECT_EQ(command.start().exitStatus(), 78);
  EXPECT_NE(command.error().find("ssdlife: the recorder could not be preloaded: "),
            std::string::npos)
      << command.error();
}

}  // namespace
