#include <gtest/gtest.h>
#include <unistd.h>

#include <cctype>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tests/ssdlife/CommandRun.h"

namespace {

using nlohmann::json;

// ssdlife as a user sees it, on a library with drives out of a hat.
class Command : public testing::Test {
 protected:
  Command() {
    std::string pattern = testing::TempDir() + "ssdlife-XXXXXX";
    folder_ = mkdtemp(pattern.data());
  }
  ~Command() override { std::filesystem::remove_all(folder_); }

  std::string file(const std::string& name) const { return folder_ + '/' + name; }
  std::string journal() const { return file("journal"); }

  std::string journalText() const {
    std::ifstream in(journal());
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }

  static std::vector<std::string> onFakeLibrary(std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"--library", FAKE_LIBRARY});
    return arguments;
  }

 private:
  std::string folder_;
};

// ---- What it shows ----------------------------------------------------------------------------

TEST_F(Command, ListShowsATableOfTheDrives) {
  CommandRun run(onFakeLibrary({"list"}));
  EXPECT_EQ(run.start().exitStatus(), 0);
  EXPECT_EQ(run.output(),
            "DRIVE    USED LIFE                   HOURS STATE   SOURCE   FIRMWARE SERIAL MODEL\n"
            "sda       98% [###################.] 18422 FAILING standard 20180526 E2148  "
            "Transcend 64\n"
            "nvme0 unknown -                          0 ok      -        SBM02103 5002   "
            "KINGSTON SNV2S250G\n");
  EXPECT_EQ(run.error(), "");
}

TEST_F(Command, ListAsJsonHasAnEntryForEachDrive) {
  CommandRun run(onFakeLibrary({"--format", "json", "list"}));
  EXPECT_EQ(run.start().exitStatus(), 0);
  const json drives = json::parse(run.output()).at("drives");
  ASSERT_EQ(drives.size(), 2U);
  EXPECT_EQ(drives[0], (json{{"deviceId", "Transcend 64___E2148___sda"},
                             {"model", "Transcend 64"},
                             {"serialNumber", "E2148"},
                             {"firmware", "20180526"},
                             {"physicalDrive", "sda"},
                             {"caption", "SSD Life Monitor (Transcend 64___E2148___sda)"},
                             {"description", "Lifecycle information"},
                             {"poweredOnHours", 18422},
                             {"percentageUsed", 98},
                             {"percentageUsedSource", 2},
                             {"failureImminent", true},
                             {"read", true},
                             {"readError", nullptr}}));
  EXPECT_TRUE(drives[1].at("percentageUsed").is_null());
}

TEST_F(Command, BytesOfADriveThatAreNoTextHarmNeitherTerminalNorJson) {
  CommandRun table(onFakeLibrary({"list"}));
  EXPECT_EQ(table.with("FAKE_SSDS", "odd").start().exitStatus(), 0);
  EXPECT_NE(table.output().find(" S\xc3\xa9rie? Caf? ?[31mDisk\n"), std::string::npos)
      << table.output();
  EXPECT_NE(table.output().find(" 101% [####################] "), std::string::npos);
  CommandRun asJson(onFakeLibrary({"list", "--format", "json"}));
  EXPECT_EQ(asJson.with("FAKE_SSDS", "odd").start().exitStatus(), 0);
  const json drive = json::parse(asJson.output()).at("drives").at(0);
  EXPECT_EQ(drive.at("model"), "Caf\xef\xbf\xbd \x1b[31mDisk");
  EXPECT_EQ(drive.at("poweredOnHours"), ~0ULL);
}

TEST_F(Command, NamesShowsTheDeviceIds) {
  CommandRun run(onFakeLibrary({"names"}));
  EXPECT_EQ(run.start().exitStatus(), 0);
  EXPECT_EQ(run.output(), "Transcend 64___E2148___sda\nKINGSTON SNV2S250G___5002___nvme0\n");
  CommandRun asJson(onFakeLibrary({"names", "--format=json"}));
  EXPECT_EQ(asJson.start().exitStatus(), 0);
  EXPECT_EQ(
      json::parse(asJson.output()),
      (json{{"deviceIds", {"Transcend 64___E2148___sda", "KINGSTON SNV2S250G___5002___nvme0"}}}));
}

TEST_F(Command, GetShowsTheFirstDriveThatBeginsWithTheText) {
  CommandRun run(onFakeLibrary({"get", "KINGSTON"}));
  EXPECT_EQ(run.start().exitStatus(), 0);
  EXPECT_EQ(run.output(),
            "DeviceID:      KINGSTON SNV2S250G___5002___nvme0\n"
            "Caption:       SSD Life Monitor (KINGSTON SNV2S250G___5002___nvme0)\n"
            "Description:   Lifecycle information\n"
            "Model:         KINGSTON SNV2S250G\n"
            "Serial number: 5002\n"
            "Firmware:      SBM02103\n"
            "Drive:         nvme0\n"
            "Powered on:    0 hours\n"
            "Life used:     unknown\n"
            "Source:        -\n"
            "State:         ok\n");
  CommandRun asJson(onFakeLibrary({"get", "T", "--json"}));
  EXPECT_EQ(asJson.start().exitStatus(), 0);
  EXPECT_EQ(json::parse(asJson.output()).at("serialNumber"), "E2148");
}

TEST_F(Command, AsksOnceAndDoesNotWaitForTheLibraryToUnload) {
  for (const char* const command : {"list", "names", "check"}) {
    std::filesystem::remove(journal());
    CommandRun run(onFakeLibrary({command}));
    run.with("FAKE_JOURNAL", journal()).start().exitStatus();
    const std::string asked = std::string(command) == "names" ? "names" : "instances";
    EXPECT_EQ(journalText(), "loaded\ninstance factory\n" + asked + "\n") << command;
  }
  std::filesystem::remove(journal());
  CommandRun refused(onFakeLibrary({"get", "SanDisk"}));
  EXPECT_EQ(refused.with("FAKE_JOURNAL", journal()).start().exitStatus(), 1);
  EXPECT_EQ(journalText(), "loaded\ninstance factory\ninstance SanDisk\n");
}

TEST_F(Command, TakesLeaveOfTheLibraryAsTheManagerThatItPlays) {
  CommandRun run(onFakeLibrary({"list", "--like", "plain"}));
  EXPECT_EQ(run.with("FAKE_JOURNAL", journal()).start().exitStatus(), 0);
  EXPECT_EQ(journalText(), "loaded\ninstance factory\ninstances\ninstance cleanup 1\nunloaded\n");
}

TEST_F(Command, TheLibrarysOwnLinesAreShownOnlyWhenAskedFor) {
  CommandRun run(onFakeLibrary({"names", "--show-library-output"}));
  EXPECT_EQ(run.start().exitStatus(), 0);
  EXPECT_NE(run.output().find("library: instance factory\n"), std::string::npos);
  EXPECT_NE(run.output().find("Transcend 64___E2148___sda\n"), std::string::npos);
  EXPECT_NE(run.error().find("library: instance factory\n"), std::string::npos);
}

// ---- What it says when there is nothing to show -----------------------------------------------

struct Refusal {
  const char* ssds;
  std::vector<std::string> arguments;
  int exitStatus;
  const char* line;
};

// "listOnNone" in the name of the test.
std::string nameOf(const Refusal& refusal) {
  std::string ssds = refusal.ssds;
  ssds[0] = static_cast<char>(std::toupper(ssds[0]));
  return refusal.arguments.front() + "On" + ssds;
}

void PrintTo(const Refusal& refusal, std::ostream* out) { *out << nameOf(refusal); }

class RefusedCommand : public Command, public testing::WithParamInterface<Refusal> {};

TEST_P(RefusedCommand, SaysWhyInOneLine) {
  const Refusal& refusal = GetParam();
  CommandRun run(onFakeLibrary(refusal.arguments));
  EXPECT_EQ(run.with("FAKE_SSDS", refusal.ssds).start().exitStatus(), refusal.exitStatus);
  EXPECT_EQ(run.output(), "");
  EXPECT_EQ(run.error(), refusal.line);
}

constexpr const char* kNone = "ssdlife: no SSD found, or none that could be read\n";
constexpr const char* kNotStarted =
    "ssdlife: the SSD driver could not start (no readable BIOS version or no /sys/block?)\n";
constexpr const char* kDenied =
    "ssdlife: the request was refused: CMPI_RC_ERR_ACCESS_DENIED (2): not today\n";

INSTANTIATE_TEST_SUITE_P(
    All, RefusedCommand,
    testing::Values(
        Refusal{"none", {"list"}, 1, kNone}, Refusal{"none", {"names"}, 1, kNone},
        Refusal{"empty", {"list"}, 1, kNone}, Refusal{"empty", {"names"}, 1, kNone},
        Refusal{"till",
                {"get", "SanDisk"},
                1,
                "ssdlife: no SSD whose DeviceID begins with \"SanDisk\", or none that could be "
                "read\n"},
        Refusal{"none", {"watch"}, 1, "ssdlife: the library refused the subscription\n"},
        Refusal{"unstarted", {"list"}, 5, kNotStarted},
        Refusal{"unstarted", {"names"}, 5, kNotStarted},
        Refusal{"unstarted", {"get", "x"}, 5, kNotStarted},
        Refusal{"unstarted", {"watch"}, 5, kNotStarted}, Refusal{"refused", {"list"}, 1, kDenied},
        Refusal{"refused", {"watch"}, 1, kDenied}),
    [](const auto& test) { return nameOf(test.param); });

TEST_F(Command, AsJsonNoDrivesAreAnEmptyList) {
  CommandRun drives(onFakeLibrary({"list", "--json"}));
  EXPECT_EQ(drives.with("FAKE_SSDS", "none").start().exitStatus(), 1);
  EXPECT_EQ(json::parse(drives.output()), (json{{"drives", json::array()}}));
  EXPECT_EQ(drives.error(), kNone);
  CommandRun ids(onFakeLibrary({"names", "--json"}));
  EXPECT_EQ(ids.with("FAKE_SSDS", "empty").start().exitStatus(), 1);
  EXPECT_EQ(json::parse(ids.output()), (json{{"deviceIds", json::array()}}));
}

TEST_F(Command, AMissingLibraryIsNamed) {
  CommandRun run({"list", "--library", "/nowhere/libnone.so"});
  EXPECT_EQ(run.start().exitStatus(), 3);
  EXPECT_EQ(run.error(), "ssdlife: library not found: /nowhere/libnone.so\n");
}

TEST_F(Command, ALibraryThatIsNoProviderIsNamed) {
  CommandRun run({"list", "--library", FAKE_SIMULATOR});
  EXPECT_EQ(run.start().exitStatus(), 3);
  EXPECT_EQ(run.error(),
            "ssdlife: library " FAKE_SIMULATOR " has no symbol SsdProvider_Create_InstanceMI\n");
  std::ofstream(file("text")) << "no library";
  CommandRun text({"watch", "--library", file("text")});
  EXPECT_EQ(text.start().exitStatus(), 3);
  EXPECT_EQ(text.error().find("ssdlife: library can't be loaded: " + file("text") + ": "), 0U);
}

TEST_F(Command, OutputThatCannotBeWrittenIsAFailure) {
  CommandRun run(onFakeLibrary({"list"}));
  EXPECT_EQ(run.outputTo("/dev/full").start().exitStatus(), 1);
  EXPECT_EQ(run.error(), "ssdlife: can't write the output: No space left on device\n");
}

TEST_F(Command, RealDrivesAreForRootOnly) {
  CommandRun run(onFakeLibrary({"list"}));
  EXPECT_EQ(run.with("VEKSSD_MACHINE", "").withoutRoot().start().exitStatus(), 4);
  EXPECT_EQ(run.error(),
            "ssdlife: reading this machine's drives needs root (--machine FILE does not)\n");
  EXPECT_EQ(run.output(), "");
}

// ---- Its command line -------------------------------------------------------------------------

TEST_F(Command, AWrongCommandLineIsOneLineAndStatusTwo) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
      {{}, "A subcommand is required"},
      {{"lst"}, "unknown command: lst"},
      {{"list", "more"}, "The following argument was not expected: more"},
      {{"list", "one", "two"}, "The following arguments were not expected: one two"},
      {{"list", "--", "--machine", "F"}, "The following arguments were not expected: --machine F"},
      {{"get", "one", "--", "-V"}, "The following argument was not expected: -V"},
      {{"get", "--"}, "DRIVE is required"},
      {{"get", ""}, "DRIVE: an empty text names nothing"},
      {{"roads", ""}, "DRIVE: an empty text names nothing"},
      {{"record", ""}, "FILE: an empty text names nothing"},
      {{"list", "--machine", ""}, "--machine: an empty text names nothing"},
      {{"list", "--library", ""}, "--library: an empty text names nothing"},
      {{"list", "--colour"}, "The following argument was not expected: --colour"},
      {{"get"}, "DRIVE is required"},
      {{"list", "--format", "xml"}, "--format: xml not in {table,json,prometheus,csv}"},
      {{"watch", "--count", "0"}, "--count: 0 is not a positive number"},
      {{"watch", "--count", "x"}, "--count: x is not a positive number"},
      {{"watch", "--count", "1.5"}, "Could not convert: --count = 1.5"},
      {{"watch", "--for", "inf"}, "--for: inf is not a positive number"},
      {{"watch", "--for", "-1"}, "--for: -1 is not a positive number"},
  };
  for (const auto& [arguments, line] : cases) {
    CommandRun run(arguments);
    EXPECT_EQ(run.start().exitStatus(), 2) << line;
    EXPECT_EQ(run.error().find("ssdlife: " + line), 0U) << run.error();
    EXPECT_EQ(run.error().find('\n'), run.error().size() - 1) << run.error();
    EXPECT_NE(run.error().find("(see ssdlife --help)"), std::string::npos);
    EXPECT_EQ(run.output(), "");
  }
}

TEST_F(Command, HelpTellsTheCommandsAndTheExitStatus) {
  CommandRun run({"--help"});
  EXPECT_EQ(run.start().exitStatus(), 0);
  for (const char* const part :
       {"list", "names", "get", "watch", "check", "--library PATH", "--machine FILE",
        "--format FORMAT", "Exit status:", "  78  ", "Exit status of check:"}) {
    EXPECT_NE(run.output().find(part), std::string::npos) << part;
  }
  EXPECT_EQ(run.error(), "");
  CommandRun ofWatch({"watch", "--help"});
  EXPECT_EQ(ofWatch.start().exitStatus(), 0);
  EXPECT_NE(ofWatch.output().find("--for SECONDS"), std::string::npos);
}

TEST_F(Command, TellsItsVersionWhereverItIsAsked) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"--version"}, {"-V"}, {"list", "--version"}}) {
    CommandRun run(arguments);
    EXPECT_EQ(run.start().exitStatus(), 0);
    EXPECT_EQ(run.output().find("ssdlife "), 0U) << run.error();
  }
}

TEST_F(Command, AnOperandMayLookLikeAnOption) {
  CommandRun marked({"get", "--library", FAKE_LIBRARY, "--", "--machine"});
  EXPECT_EQ(marked.start().exitStatus(), 1);
  EXPECT_EQ(
      marked.error(),
      "ssdlife: no SSD whose DeviceID begins with \"--machine\", or none that could be read\n");
}

TEST_F(Command, WhatCannotBeWrittenIsAFailure) {
  const std::vector<std::vector<std::string>> all = {
      {"--help"}, {"list", "--help"}, {"--version"}, onFakeLibrary({"list"})};
  for (const std::vector<std::string>& arguments : all) {
    CommandRun full(arguments);
    EXPECT_EQ(full.outputTo("/dev/full").start().exitStatus(), 1) << arguments[0];
    EXPECT_EQ(full.error(), "ssdlife: can't write the output: No space left on device\n");
    CommandRun closed(arguments);
    EXPECT_EQ(closed.outputClosed().start().exitStatus(), 1) << arguments[0];
    EXPECT_EQ(closed.error(), "ssdlife: can't write the output: Bad file descriptor\n");
  }
}

TEST_F(Command, WithoutStandardErrorStillShowsTheDrives) {
  CommandRun run(onFakeLibrary({"names"}));
  EXPECT_EQ(run.errorClosed().start().exitStatus(), 0);
  EXPECT_EQ(run.output(), "Transcend 64___E2148___sda\nKINGSTON SNV2S250G___5002___nvme0\n");
}

// ---- A simulated machine ----------------------------------------------------------------------

TEST_F(Command, RunsItselfAnewOnASimulatedMachine) {
  std::ofstream(file("till.json")) << "{}";
  CommandRun run(onFakeLibrary({"names", "--machine", file("till.json")}));
  EXPECT_EQ(run.with("VEKSSD_MACHINE", "").start().exitStatus(), 0) << run.error();
  EXPECT_EQ(run.output(), "till.json___E2148___sda\nKINGSTON SNV2S250G___5002___nvme0\n");
}

TEST_F(Command, TheMachineThatTheEnvironmentNamesIsEntered) {
  std::ofstream(file("till.json")) << "{}";
  CommandRun run(onFakeLibrary({"names"}));
  run.with("VEKSSD_MACHINE", file("till.json")).with("LD_PRELOAD", "");
  EXPECT_EQ(run.start().exitStatus(), 0) << run.error();
  EXPECT_EQ(run.output(), "till.json___E2148___sda\nKINGSTON SNV2S250G___5002___nvme0\n");
  CommandRun missing(onFakeLibrary({"names"}));
  missing.with("VEKSSD_MACHINE", "/nowhere/till.json").with("LD_PRELOAD", "");
  EXPECT_EQ(missing.start().exitStatus(), 78);
}

TEST_F(Command, AMachineFileThatIsNotThereIsNamed) {
  CommandRun run(onFakeLibrary({"list", "--machine", "/nowhere/till.json"}));
  EXPECT_EQ(run.start().exitStatus(), 78);
  EXPECT_EQ(run.error(),
            "ssdlife: machine file /nowhere/till.json can't be read: No such file or directory\n");
}

TEST_F(Command, ASimulatorThatCannotBePreloadedIsNotTakenForOne) {
  std::ofstream(file("till.json")) << "{}";
  std::filesystem::copy_file(FAKE_LIBRARY, file("provider.so"));
  std::ofstream(file("libvekssdsim.so")) << "no library";
  CommandRun run({"list", "--library", file("provider.so"), "--machine", file("till.json")});
  EXPECT_EQ(run.start().exitStatus(), 78);
  EXPECT_NE(run.error().find("ssdlife: the machine simulator could not be preloaded: "),
            std::string::npos);
  EXPECT_EQ(run.output(), "");
}

// ---- Object managers --------------------------------------------------------------------------

TEST_F(Command, PlaysAnObjectManager) {
  for (const char* const manager : {"plain", "sfcb", "pegasus", "strict"}) {
    std::filesystem::remove(journal());
    CommandRun run(onFakeLibrary({"watch", "--count", "1", "--like", manager}));
    EXPECT_EQ(run.with("FAKE_EVENTS", "1").with("FAKE_JOURNAL", journal()).start().exitStatus(), 0);
    EXPECT_EQ(run.output().find("2024-02-29T12:34:56.000042Z  failure imminent"), 0U) << manager;
    const bool asks = std::string(manager) != "pegasus";
    EXPECT_EQ(journalText().find("authorize") != std::string::npos, asks) << manager;
    EXPECT_NE(journalText().find("unloaded\n"), std::string::npos) << manager;
  }
  CommandRun unknown(onFakeLibrary({"list", "--like", "openwbem"}));
  EXPECT_EQ(unknown.start().exitStatus(), 2);
}

// ---- Watching ---------------------------------------------------------------------------------

TEST_F(Command, WatchShowsEachEventAndEndsAfterTheCount) {
  CommandRun run(onFakeLibrary({"watch", "--count", "2"}));
  EXPECT_EQ(run.with("FAKE_EVENTS", "3").with("FAKE_JOURNAL", journal()).start().exitStatus(), 0);
  const std::string line =
      "2024-02-29T12:34:56.000042Z  failure imminent: sda  Transcend 64___E2148___sda\n";
  EXPECT_EQ(run.output(), line + line);
  EXPECT_EQ(run.error(), "ssdlife: watching; Ctrl-C ends it\n");
  EXPECT_EQ(journalText(),
            "loaded\nindication factory\n"
            "authorize KAV_SSDLifeMonitorFailureImminent\nmustPoll\n"
            "activate KAV_SSDLifeMonitorFailureImminent 1\nenable\n"
            "deactivate KAV_SSDLifeMonitorFailureImminent 1\ndisable\n"
            "indication cleanup 1\nunloaded\n");
}

TEST_F(Command, WatchAsJsonGivesOneObjectALine) {
  CommandRun run(onFakeLibrary({"watch", "--count", "1", "--format", "json"}));
  EXPECT_EQ(run.with("FAKE_EVENTS", "1").start().exitStatus(), 0);
  EXPECT_EQ(run.output(),
            "{\"event\":\"failureImminent\",\"deviceId\":\"Transcend 64___E2148___sda\","
            "\"physicalDrive\":\"sda\",\"time\":\"2024-02-29T12:34:56.000042Z\"}\n");
}

TEST_F(Command, WatchEndsWhenItsTimeIsOver) {
  CommandRun run(onFakeLibrary({"watch", "--for", "0.05"}));
  EXPECT_EQ(run.start().exitStatus(), 0);
  CommandRun tooFew(onFakeLibrary({"watch", "--for", "0.5", "--count", "2"}));
  tooFew.with("FAKE_EVENTS", "1").with("FAKE_JOURNAL", journal());
  EXPECT_EQ(tooFew.start().exitStatus(), 1);
  EXPECT_EQ(tooFew.output().find("2024-02-29T"), 0U);
  EXPECT_EQ(tooFew.error(),
            "ssdlife: watching; Ctrl-C ends it\n"
            "ssdlife: 1 of 2 indications came within 0.5 seconds\n");
  // Unloading would take longer than the time that was given.
  EXPECT_NE(journalText().find("disable\n"), std::string::npos);
  EXPECT_EQ(journalText().find("unloaded"), std::string::npos);
}

TEST_F(Command, ASignalEndsWatchWithAProperFarewell) {
  for (const int number : {SIGINT, SIGTERM}) {
    std::filesystem::remove(journal());
    CommandRun run(onFakeLibrary({"watch"}));
    run.with("FAKE_JOURNAL", journal()).start();
    run.waitForError("watching");
    run.signal(number);
    EXPECT_EQ(run.exitStatus(), 0);
    const std::string text = journalText();
    const std::string farewell =
        "deactivate KAV_SSDLifeMonitorFailureImminent 1\ndisable\nindication cleanup 1\n"
        "unloaded\n";
    ASSERT_GE(text.size(), farewell.size());
    EXPECT_EQ(text.substr(text.size() - farewell.size()), farewell);
  }
}

}  // namespace
