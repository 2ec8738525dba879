#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <fstream>
#include <thread>

#include "tests/service/Till.h"
#include "tests/ssdlife/CommandRun.h"

namespace {

using nlohmann::json;
using Lines = std::vector<std::string>;

class ServiceTest : public testing::Test {
 protected:
  // Runs the service until the condition holds, a minute at most, and ends it by SIGTERM.
  template <typename Condition>
  std::string runUntil(Condition condition) {
    CommandRun run(till_.service());
    run.start().waitForError("watching ");
    for (int tries = 0; tries < 3000 && !condition(); ++tries) {
      usleep(20000);
    }
    EXPECT_TRUE(condition());
    run.signal(SIGTERM);
    EXPECT_EQ(run.exitStatus(), 0) << run.error();
    return run.error();
  }

  [[nodiscard]] bool isWritten(const std::string& hook, std::size_t lines) const {
    return till_.logOf(hook).size() >= lines;
  }

  [[nodiscard]] std::string stateOf(const std::string& hook) const {
    for (const json& alarm : till_.alarms()) {
      for (const json& delivery : alarm.at("deliveries")) {
        if (delivery.at("to") == hook) {
          return delivery.at("state");
        }
      }
    }
    return "none";
  }

  Till till_;
};

TEST_F(ServiceTest, ADriveThatIsOverAtTheStartIsToldToEachHookAndOnlyOnce) {
  till_.setWear({130, 10});
  till_.addWritingHook("10-a");
  till_.addWritingHook("20-b");
  const std::string said = runUntil([this] { return stateOf("20-b") == "done"; });
  EXPECT_NE(said.find("alarm: SSD sda (TS64GHSD630, serial number S0): 130 % of its rated life is "
                      "used, over the threshold of 95 %"),
            std::string::npos);
  till_.addWritingHook("30-later");
  runUntil([] { return true; });
  EXPECT_EQ(till_.logOf("10-a"), Lines{"S0"});
  EXPECT_EQ(till_.logOf("20-b"), Lines{"S0"});
  EXPECT_EQ(till_.logOf("30-later"), Lines{});
}

TEST_F(ServiceTest, ADriveThatPassesTheThresholdIsToldWhenItDoes) {
  till_.setWear({{{"schedule", {{0, 95}, {60, 96}}}}});
  till_.addWritingHook("10-a");
  runUntil([this] { return isWritten("10-a", 1); });
  EXPECT_EQ(till_.alarms().at(0).at("percentageUsed"), 96);
}

TEST_F(ServiceTest, AHookThatFailsIsTriedAgainAndHoldsUpNobody) {
  till_.setWear({96}, 600);
  till_.addHook("10-fails-first", "echo x >>$LOG; [ $(wc -l <$LOG) -gt 2 ]\n");
  till_.addWritingHook("20-b");
  till_.addHook("30-writable-by-others", "exit 0\n", 0777);
  runUntil([this] { return stateOf("10-fails-first") == "done"; });
  EXPECT_EQ(till_.logOf("10-fails-first").size(), 3U);
  EXPECT_EQ(till_.logOf("20-b"), Lines{"S0"});
  EXPECT_EQ(stateOf("30-writable-by-others"), "pending");
}

TEST_F(ServiceTest, AnAlarmIsSentAgainOnRequest) {
  till_.setWear({96});
  till_.addWritingHook("10-a");
  runUntil([this] { return stateOf("10-a") == "done"; });
  CommandRun again(
      till_.command({"alarms", "--again", "--settings", till_.folder() / "settings", "S0"}));
  EXPECT_EQ(again.start().exitStatus(), 0) << again.error();
  EXPECT_EQ(till_.logOf("10-a"), (Lines{"S0", "S0"}));
  CommandRun none(till_.command({"alarms", "--again", "nobody"}));
  EXPECT_EQ(none.start().exitStatus(), 1);
}

TEST_F(ServiceTest, AReplacedDriveStartsAfreshAndTheOldOneHasVanished) {
  till_.setWear({96});
  till_.addHook("10-a", "echo \"$SSDLIFE_CAUSE $SSDLIFE_SERIAL\" >>$LOG\n");
  runUntil([this] { return isWritten("10-a", 1); });
  till_.setWear({97, 97});
  std::string machine = till_.folder().read("machine.json");
  machine.replace(machine.find("\"S0\""), 4, "\"N0\"");
  till_.folder().write("machine.json", machine);
  runUntil([this] { return isWritten("10-a", 4); });
  EXPECT_EQ(till_.logOf("10-a"),
            (Lines{"threshold S0", "threshold N0", "threshold S1", "vanished S0"}));
}

// The first reading is that of the library's start; then the drive answers nothing any more.
TEST_F(ServiceTest, ADriveThatAnswersNothingAnyMoreIsToldAfterThreeReadings) {
  till_.setWear({40}, 600);
  json machine = json::parse(till_.folder().read("machine.json"));
  machine["faults"] = json::array();
  for (const char* const request : {"SG_IO", "HDIO_DRIVE_CMD"}) {
    machine["faults"].push_back({{"call", "ioctl"},
                                 {"node", "sda"},
                                 {"request", request},
                                 {"nth", 12},
                                 {"count", "forever"},
                                 {"errno", "EIO"}});
  }
  till_.folder().write("machine.json", machine.dump());
  till_.addHook("10-a", "echo \"$SSDLIFE_CAUSE $SSDLIFE_PERCENTAGE\" >>$LOG\n");
  runUntil([this] { return isWritten("10-a", 1); });
  EXPECT_EQ(till_.logOf("10-a"), Lines{"silent 40"});
}

TEST_F(ServiceTest, TheSecondOneSaysSoAndEnds) {
  CommandRun first(till_.service());
  first.start().waitForError("watching ");
  CommandRun second(till_.service());
  EXPECT_EQ(second.start().exitStatus(), 7);
  EXPECT_EQ(second.error(),
            "ssdlife: another ssdlife watches already, with " + till_.state() + '\n');
}

TEST_F(ServiceTest, ADriveThatHangsHoldsUpTheAlarmOfAnotherNoLongerThanItHangs) {
  till_.setWear({10, 96}, 600);
  json machine = json::parse(till_.folder().read("machine.json"));
  machine["faults"] = {{{"call", "ioctl"},
                        {"node", "sda"},
                        {"request", "SG_IO"},
                        {"count", "forever"},
                        {"hang", true}}};
  till_.folder().write("machine.json", machine.dump());
  till_.addWritingHook("10-a");
  runUntil([this] { return isWritten("10-a", 1); });
  EXPECT_EQ(till_.logOf("10-a"), Lines{"S1"});
}

TEST_F(ServiceTest, TwentyFourDrivesAreAsManyAlarms) {
  till_.setWear(std::vector<json>(24, 99));
  till_.addWritingHook("10-a");
  runUntil([this] { return isWritten("10-a", 24); });
  Lines expected;
  for (int drive = 0; drive < 24; ++drive) {
    expected.push_back("S" + std::to_string(drive));
  }
  EXPECT_EQ(till_.logOf("10-a"), expected);
}

// Ten simulated days pass in a second: thirty between the two measurements.
TEST_F(ServiceTest, DaysAndDaysCostNoDescriptorAndNoMemory) {
  till_.setWear({{{"start", 10}, {"perSecond", 1e-5}}, 20}, 864000);
  CommandRun run(till_.service());
  run.start().waitForError("watching ");
  const auto measured = [&run](const char* what) {
    std::ifstream status("/proc/" + std::to_string(run.process()) + "/status");
    for (std::string line; std::getline(status, line);) {
      if (line.rfind(what, 0) == 0) {
        return std::stol(line.substr(std::string(what).size()));
      }
    }
    return -1L;
  };
  const auto descriptors = [&run] {
    const std::filesystem::directory_iterator open("/proc/" + std::to_string(run.process()) +
                                                   "/fd");
    return std::distance(begin(open), end(open));
  };
  usleep(800000);
  [[maybe_unused]] const long memory = measured("VmRSS:");
  const auto open = descriptors();
  sleep(3);
#ifndef VEKSSD_SANITIZED  // which keeps memory of its own
  EXPECT_LE(measured("VmRSS:"), memory + 1024) << "kB";
#endif
  EXPECT_LE(descriptors(), open);
}

TEST_F(ServiceTest, TheServiceManagerIsToldWhenItIsReadyAliveAndEnding) {
  const std::string path = till_.folder() / "notify";
  const int receiver = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_un address = {AF_UNIX, {}};
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(bind(receiver, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  CommandRun run(till_.service());
  run.with("NOTIFY_SOCKET", path).with("WATCHDOG_USEC", "100000").start();
  const auto message = [receiver] {
    std::array<char, 512> text{};
    const ssize_t length = recv(receiver, text.data(), text.size(), 0);
    return std::string(text.data(), length < 0 ? 0 : static_cast<std::size_t>(length));
  };
  EXPECT_EQ(message(),
            "READY=1\nSTATUS=watching 1 SSD, threshold 95 %, history in " + till_.state());
  EXPECT_EQ(message(), "WATCHDOG=1");
  EXPECT_EQ(message(), "WATCHDOG=1");
  run.signal(SIGTERM);
  std::string last = message();
  while (last == "WATCHDOG=1") {
    last = message();
  }
  EXPECT_EQ(last, "STOPPING=1");
  EXPECT_EQ(run.exitStatus(), 0);
  close(receiver);
}

TEST_F(ServiceTest, SettingsThatAreNotUnderstoodEndItWithOneLine) {
  const std::vector<std::pair<std::string, std::string>> wrong = {
      {"Hooktime=5",
       "settings:2: unknown setting \"Hooktime\"; there are AlarmThreshold, "
       "AlarmSilent, AlarmVanished, HookFolder, HookTime\n"},
      {"HookTime=0", "settings:2: \"0\" is not a number of seconds from 1 to 600\n"},
      {"AlarmSilent=maybe", "settings:2: \"maybe\" is neither yes nor no\n"},
      {"HookFolder=hooks", "settings:2: \"hooks\" is not a full path\n"},
      {"what", "settings:2: there is no \"=\"\n"}};
  for (const auto& [line, message] : wrong) {
    till_.setSettings(line);
    CommandRun run(till_.service());
    EXPECT_EQ(run.start().exitStatus(), 6);
    EXPECT_EQ(run.error(), "ssdlife: " + till_.folder().path() + '/' + message);
  }
  CommandRun none(till_.command({"watch", "--service", "--settings", "/no/such/file"}));
  EXPECT_EQ(none.start().exitStatus(), 6);
  EXPECT_EQ(none.error(), "ssdlife: /no/such/file can't be read: No such file or directory\n");
}

TEST_F(ServiceTest, SamplesOfSimulatedDaysMakeAHistory) {
  till_.setWear({{{"start", 10}, {"perSecond", 1.0 / 864000}}});
  CommandRun sample(till_.command({"sample", "--days", "30"}));
  EXPECT_EQ(sample.start().exitStatus(), 0) << sample.error();
  CommandRun csv({"--format", "csv", "history", "--state", till_.state(), "sda"});
  EXPECT_EQ(csv.start().exitStatus(), 0) << csv.error();
  const std::string text = csv.output();
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 32);
  EXPECT_NE(text.find(",\"sda\",\"TS64GHSD630\",\"S0\",13,7\n"), std::string::npos) << text;
  CommandRun nobody({"history", "--state", till_.state(), "sdz"});
  EXPECT_EQ(nobody.start().exitStatus(), 1);
  EXPECT_EQ(nobody.error(), "ssdlife: the history knows no SSD called sdz\n");
}

}  // namespace
