#include "ssdlife/HealthCheck.h"

#include <gtest/gtest.h>

#include "tests/ssdlife/CommandRun.h"

using ssdlife::Drive;
using ssdlife::Health;
using ssdlife::healthOf;
using ssdlife::Thresholds;

namespace {

Drive drive(const std::string& node, std::optional<unsigned> used, bool failing = false) {
  Drive made;
  made.physicalDrive = node;
  made.percentageUsed = used;
  made.failureImminent = failing;
  return made;
}

Health of(const std::vector<Drive>& drives) { return healthOf(drives, Thresholds{80, 95}).health; }

// ---- The state --------------------------------------------------------------------------------

TEST(Health, IsRaisedAboveAThresholdAndNotAtIt) {
  EXPECT_EQ(of({drive("sda", 0)}), Health::kOk);
  EXPECT_EQ(of({drive("sda", 80)}), Health::kOk);
  EXPECT_EQ(of({drive("sda", 81)}), Health::kWarning);
  EXPECT_EQ(of({drive("sda", 95)}), Health::kWarning);
  EXPECT_EQ(of({drive("sda", 96)}), Health::kCritical);
  EXPECT_EQ(of({drive("sda", 254)}), Health::kCritical);
}

TEST(Health, OfADriveThatDoesNotTellIsUnknown) {
  EXPECT_EQ(of({drive("sda", std::nullopt)}), Health::kUnknown);
}

TEST(Health, OfADriveThatCouldNotBeReadIsUnknownWhateverItsFigures) {
  Drive unread = drive("nvme0", 0);
  unread.poweredOnHours = 0;
  unread.readError = "Input/output error";
  EXPECT_EQ(healthOf({unread}, Thresholds{80, 95}).line,
            "SSD UNKNOWN - nvme0 not read: Input/output error | nvme0_used=U;80;95;0;100\n");
}

TEST(Health, IsRaisedByTheRangesOfThePluginsGuidelines) {
  using ssdlife::Range;
  const auto alerts = [](const char* range, unsigned used) {
    return Range::parse(range).value().alerts(used);
  };
  EXPECT_FALSE(alerts("10", 0) || alerts("10%", 10));
  EXPECT_TRUE(alerts("10", 11));
  EXPECT_FALSE(alerts("10:", 10) || alerts("10:", 254));
  EXPECT_TRUE(alerts("10:", 9));
  EXPECT_FALSE(alerts("~:10", 0) || alerts("~:10", 10));
  EXPECT_TRUE(alerts("~:10", 11));
  EXPECT_FALSE(alerts("10:20", 10) || alerts("10%:20%", 20));
  EXPECT_TRUE(alerts("10:20", 9) && alerts("10:20", 21));
  EXPECT_TRUE(alerts("@10:20", 10) && alerts("@10:20", 20));
  EXPECT_FALSE(alerts("@10:20", 9) || alerts("@10:20", 21));
  for (const char* const none :
       {"", "%", "@", ":", "x", "-1", "1.5", "20:10", "255", "10::", "10 ", "~", "~%:3", "9:~"}) {
    EXPECT_FALSE(Range::parse(none)) << none;
  }
  EXPECT_EQ(Range::parse("@10%:20%")->text(), "@10:20");
  EXPECT_EQ(Range::parse("~:5%")->text(), "~:5");
}

TEST(Health, OfADriveThatTheProviderCallsFailingIsCritical) {
  EXPECT_EQ(of({drive("sda", 20, true)}), Health::kCritical);
  EXPECT_EQ(of({drive("sda", std::nullopt, true)}), Health::kCritical);
}

TEST(Health, IsThatOfTheDriveThatIsWorstOff) {
  const Drive ok = drive("sda", 1);
  const Drive warning = drive("sdb", 90);
  const Drive critical = drive("sdc", 99);
  const Drive unknown = drive("sdd", std::nullopt);
  EXPECT_EQ(of({ok, unknown}), Health::kUnknown);
  EXPECT_EQ(of({unknown, ok}), Health::kUnknown);
  EXPECT_EQ(of({unknown, warning, ok}), Health::kWarning);
  EXPECT_EQ(of({warning, unknown}), Health::kWarning);
  EXPECT_EQ(of({warning, critical, unknown}), Health::kCritical);
}

// ---- The line ---------------------------------------------------------------------------------

TEST(HealthLine, NamesEveryDriveAndCarriesPerformanceData) {
  Drive first = drive("sda", 33);
  first.poweredOnHours = 18422;
  Drive second = drive("nvme0", 12);
  second.poweredOnHours = 0;
  EXPECT_EQ(healthOf({first, second}, Thresholds{80, 95}).line,
            "SSD OK - sda 33 %, nvme0 12 % | sda_used=33%;80;95;0;100 sda_hours=18422 "
            "nvme0_used=12%;80;95;0;100 nvme0_hours=0\n");
}

TEST(HealthLine, GivesAValueThatCouldNotBeHadAsU) {
  EXPECT_EQ(healthOf({drive("sda", std::nullopt)}, Thresholds{50, 60}).line,
            "SSD UNKNOWN - sda unknown | sda_used=U;50;60;0;100\n");
}

TEST(HealthLine, SaysWhichDriveFails) {
  EXPECT_EQ(healthOf({drive("sda", 98, true), drive("sdb", 85)}, Thresholds{80, 99}).line,
            "SSD CRITICAL - sda 98 % (failing), sdb 85 % | sda_used=98%;80;99;0;100 "
            "sdb_used=85%;80;99;0;100\n");
}

TEST(HealthLine, StaysOneLineWithOneBarWhateverADriveIsCalled) {
  EXPECT_EQ(healthOf({drive("s d|'=\n", 1)}, Thresholds{80, 95}).line,
            "SSD OK - s d/'=? 1 % | s_d_____used=1%;80;95;0;100\n");
  EXPECT_EQ(ssdlife::unknownHealth("not\nthere | at all").line,
            "SSD UNKNOWN - not?there / at all\n");
}

// ---- The command ------------------------------------------------------------------------------

void expectUnknown(CommandRun& run, const std::string& reason) {
  EXPECT_EQ(run.start().exitStatus(), 3) << reason;
  EXPECT_EQ(run.output(), "SSD UNKNOWN - " + reason + '\n');
  EXPECT_EQ(run.error(), "");
}

TEST(CheckCommand, TellsTheStateInOneLineAndByItsExitStatus) {
  CommandRun ok({"check", "--library", FAKE_LIBRARY});
  EXPECT_EQ(ok.with("FAKE_SSDS", "young").start().exitStatus(), 0);
  EXPECT_EQ(ok.output(),
            "SSD OK - sda 33 %, nvme0 12 % | sda_used=33%;80;95;0;100 sda_hours=18422 "
            "nvme0_used=12%;80;95;0;100 nvme0_hours=7\n");
  EXPECT_EQ(ok.error(), "");
  CommandRun warning({"check", "--warning", "32", "--library", FAKE_LIBRARY});
  EXPECT_EQ(warning.with("FAKE_SSDS", "young").start().exitStatus(), 1);
  EXPECT_EQ(warning.output().find("SSD WARNING - sda 33 %"), 0U);
  CommandRun critical({"check", "--critical=20", "--warning=20", "--library", FAKE_LIBRARY});
  EXPECT_EQ(critical.with("FAKE_SSDS", "young").start().exitStatus(), 2);
  CommandRun range({"check", "-w", "13%:", "-c", "~:50%", "--library", FAKE_LIBRARY});
  EXPECT_EQ(range.with("FAKE_SSDS", "young").start().exitStatus(), 1);
  EXPECT_NE(range.output().find("nvme0_used=12%;13:;~:50;0;100"), std::string::npos);
  CommandRun failing({"check", "--critical", "254", "--library", FAKE_LIBRARY});
  EXPECT_EQ(failing.start().exitStatus(), 2);
  EXPECT_EQ(failing.output().find("SSD CRITICAL - sda 98 % (failing), nvme0 unknown | "), 0U);
}

TEST(CheckCommand, IsUnknownWhateverElseIsWrong) {
  CommandRun missing({"check", "--library", "/nowhere/libnone.so"});
  expectUnknown(missing, "library not found: /nowhere/libnone.so");
  CommandRun none({"check", "--library", FAKE_LIBRARY});
  expectUnknown(none.with("FAKE_SSDS", "none"), "no SSD found, or none that could be read");
  CommandRun unstarted({"check", "--library", FAKE_LIBRARY});
  expectUnknown(unstarted.with("FAKE_SSDS", "unstarted"),
                "the SSD driver could not start (no readable BIOS version or no /sys/block?)");
  CommandRun unprivileged({"check", "--library", FAKE_LIBRARY});
  expectUnknown(unprivileged.with("VEKSSD_MACHINE", "").withoutRoot(),
                "reading this machine's drives needs root (--machine FILE does not)");
  CommandRun machine({"check", "--machine", "/nowhere/till.json"});
  expectUnknown(machine,
                "machine file /nowhere/till.json can't be read: No such file or directory");
}

TEST(CheckCommand, IsUnknownWhenItsLineCannotBeWritten) {
  CommandRun run({"check", "--library", FAKE_LIBRARY});
  EXPECT_EQ(run.with("FAKE_SSDS", "young").outputTo("/dev/full").start().exitStatus(), 3);
  EXPECT_EQ(run.error(), "ssdlife: can't write the output: No space left on device\n");
}

TEST(CheckCommand, IsUnknownWhenItOnlyTellsOfItself) {
  for (const auto& [option, start] :
       {std::pair("-V", "ssdlife "), std::pair("-h", "Tell a monitor")}) {
    CommandRun run({"check", option});
    EXPECT_EQ(run.start().exitStatus(), 3) << option;
    EXPECT_EQ(run.output().find(start), 0U) << run.output();
  }
}

TEST(CheckCommand, IsUnknownWhenStandardOutputIsClosed) {
  CommandRun run({"check", "--library", FAKE_LIBRARY});
  EXPECT_EQ(run.outputClosed().start().exitStatus(), 3);
  EXPECT_EQ(run.error(), "ssdlife: can't write the output: Bad file descriptor\n");
}

TEST(CheckCommand, IsUnknownWhenALibraryDoesNotAnswerInTime) {
  CommandRun run({"check", "-t", "0.1", "--library", FAKE_LIBRARY});
  run.with("FAKE_SSDS", "hanging");
  expectUnknown(run, "no answer within 0.1 seconds");
}

TEST(CheckCommand, IsUnknownOnAWrongCommandLine) {
  const std::string noRange =
      " is no range of whole percentages from 0 to 254 (80, 10:80, ~:80, @10:20)";
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
      {{"--warning", "96"}, "--warning 96 is above --critical 95"},
      {{"--critical", "79"}, "--warning 80 is above --critical 79"},
      {{"-w", "96%"}, "--warning 96 is above --critical 95"},
      {{"-w", "x"}, "--warning: x" + noRange},
      {{"--warning", "-1"}, "--warning: -1" + noRange},
      {{"-c", "90.5"}, "--critical: 90.5" + noRange},
      {{"--critical", "255"}, "--critical: 255" + noRange},
      {{"--critical", ""}, "--critical: " + noRange},
      {{"-t", "0"}, "--timeout: 0 is not a positive number"},
      {{"--format", "json"}, "--format is not for check"},
      {{"--format", "prometheus"}, "--format prometheus is for list only"},
      {{"--colour"}, "The following argument was not expected: --colour"},
  };
  for (const auto& [arguments, reason] : cases) {
    std::vector<std::string> all = arguments;
    all.insert(all.begin(), "check");
    CommandRun run(all);
    expectUnknown(run, reason + " (see ssdlife --help)");
  }
}

}  // namespace
