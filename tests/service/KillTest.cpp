#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <map>
#include <random>

#include "ssdlife/history/StateFile.h"
#include "tests/service/Till.h"
#include "tests/service/TracedRun.h"
#include "tests/ssdlife/CommandRun.h"

// The service is killed in the midst of its work, again and again: no alarm may be lost.
namespace {

using nlohmann::json;

// SSDLIFE_KILLS and SSDLIFE_KILL_STEP make a long run of what is a sample here.
unsigned long wish(const char* variable, unsigned long usual) {
  const char* const value = std::getenv(variable);
  return value == nullptr ? usual : std::stoul(value);
}

class KillTest : public testing::Test {
 protected:
  KillTest() {
    till_.addWritingHook("10-a");
    till_.addWritingHook("20-b");
  }

  // Lets the service finish what it has begun.
  void finish(std::size_t alarms) {
    CommandRun run(till_.service());
    run.start().waitForError("watching ");
    for (int tries = 0; tries < 3000 && pending(alarms); ++tries) {
      usleep(20000);
    }
    EXPECT_FALSE(pending(alarms));
    run.signal(SIGTERM);
    EXPECT_EQ(run.exitStatus(), 0);
  }

  [[nodiscard]] bool pending(std::size_t alarms) const {
    const json all = till_.alarms();
    return all.size() < alarms || std::any_of(all.begin(), all.end(), [](const json& alarm) {
             const json& deliveries = alarm.at("deliveries");
             return std::any_of(deliveries.begin(), deliveries.end(), [](const json& delivery) {
               return delivery.at("state") != "done";
             });
           });
  }

  // Each alarm was given to each hook, at most as often as attempts were begun, of which all but
  // the last were cut off by one of the kills.
  void expectAllTold(std::size_t drives, unsigned long kills) const {
    std::map<std::pair<std::string, std::string>, int> told;
    for (const char* const hook : {"10-a", "20-b"}) {
      for (const std::string& serial : till_.logOf(hook)) {
        ++told[{hook, serial}];
      }
    }
    const json alarms = till_.alarms();
    EXPECT_EQ(alarms.size(), drives);
    unsigned long cutOff = 0;
    for (const json& alarm : alarms) {
      for (const json& delivery : alarm.at("deliveries")) {
        const auto attempts = delivery.at("attempts").get<unsigned long>();
        cutOff += attempts - 1;
        if (delivery.at("to") != "journal") {
          const int times = told[{delivery.at("to"), alarm.at("serialNumber")}];
          EXPECT_GE(times, 1) << delivery << alarm.at("serialNumber");
          EXPECT_LE(times, static_cast<int>(attempts));
        }
      }
    }
    EXPECT_LE(cutOff, kills);
  }

  Till till_;
};

TEST_F(KillTest, AtARandomMomentWhileDrivesWear) {
  const unsigned long kills = wish("SSDLIFE_KILLS", 12);
  std::mt19937 chance(1);
  std::vector<json> wear;
  for (unsigned long life = 0; life < kills; ++life) {
    if (life % 50 == 0 && life > 0) {
      finish(wear.size());
    }
    // One drive more is over its limit in each of the first lives; then the till is full.
    if (wear.size() < 24) {
      wear.push_back(96);
    }
    till_.setWear(wear);
    CommandRun run(till_.service());
    run.start();
    usleep(std::uniform_int_distribution<useconds_t>(0, 400000)(chance));
    run.signal(SIGKILL);
    run.exitStatus();
  }
  finish(wear.size());
  expectAllTold(wear.size(), kills);
}

TEST_F(KillTest, AtEachSystemCallOnTheWayOfAnAlarm) {
  const unsigned long step = wish("SSDLIFE_KILL_STEP", 149);
  const std::vector<std::string> environment = {
      "VEKSSD_MACHINE=" + (till_.folder() / "machine.json"), "LD_PRELOAD=" SIMULATOR};
  till_.setWear({96});
  bool killed = true;
  for (unsigned long call = step; killed; call += step) {
    std::filesystem::remove_all(till_.state());
    for (const char* const log : {"log-10-a", "log-20-b"}) {
      std::filesystem::remove(till_.folder() / log);
    }
    std::vector<std::string> arguments = till_.service({"--for", "0.5"});
    arguments.insert(arguments.begin(), SSDLIFE);
    killed = killAtSystemCall(arguments, environment, call);
    finish(1);
    expectAllTold(1, 1);
    if (HasFailure()) {
      FAIL() << "killed at call " << call;
    }
  }
}

}  // namespace
