#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <vector>

#include "ssdlife/alarms/HookFolder.h"
#include "ssdlife/alarms/HookRun.h"
#include "tests/service/TemporaryFolder.h"

namespace {

using namespace ssdlife;
using namespace std::chrono_literals;

class HookTest : public testing::Test {
 protected:
  HookEnd run(const std::string& script, std::chrono::milliseconds limit = 20s) {
    const std::string path = folder_.write("hook", "#!/bin/sh\n" + script, 0755);
    const auto begin = std::chrono::steady_clock::now();
    HookEnd end = runHook(path, {"PATH=/usr/bin:/bin", "SSDLIFE_DRIVE=sda $(id)"}, limit,
                          [this](const std::string& line) { lines_.push_back(line); });
    took_ = std::chrono::steady_clock::now() - begin;
    return end;
  }

  std::string refusal(mode_t mode) {
    folder_.write("hooks/hook", "#!/bin/sh\n", mode);
    return refusalOf(folder_ / "hooks", "hook");
  }

  TemporaryFolder folder_;
  std::vector<std::string> lines_;
  std::chrono::steady_clock::duration took_{};
};

TEST_F(HookTest, ItsOutputAndItsEndAreReported) {
  const HookEnd end = run("echo one; echo two >&2; printf three; exit 3");
  EXPECT_FALSE(end.done);
  EXPECT_EQ(end.outcome, "exit status 3");
  EXPECT_EQ(lines_, (std::vector<std::string>{"one", "two", "three"}));
  EXPECT_TRUE(run("exit 0").done);
  EXPECT_EQ(run("kill -TERM $$").outcome, "ended by signal 15");
}

TEST_F(HookTest, ItGetsItsEnvironmentAndNoShellLooksAtIt) {
  EXPECT_TRUE(run("echo \"$SSDLIFE_DRIVE\"; env | grep -c LD_PRELOAD; pwd; cat").done);
  EXPECT_EQ(lines_, (std::vector<std::string>{"sda $(id)", "0", "/"}));
}

TEST_F(HookTest, ItHasThreeDescriptorsAndNoSignalBlocked) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  EXPECT_TRUE(
      run("ls /proc/self/fd | sort -n | tr '\\n' ' '; echo; grep SigBlk /proc/self/status").done);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  ASSERT_EQ(lines_.size(), 2U);
  // ls has the folder open too.
  EXPECT_EQ(lines_[0], "0 1 2 3 ");
  EXPECT_EQ(lines_[1], "SigBlk:\t0000000000000000");
}

TEST_F(HookTest, OneThatNeverEndsIsKilledWithAllItStarted) {
  const std::string pid = folder_ / "pid";
  const HookEnd end = run("sleep 1000 & echo $! >" + pid + "; wait", 300ms);
  EXPECT_FALSE(end.done);
  EXPECT_EQ(end.outcome, "killed after 0 s");
  const int child = std::stoi(folder_.read("pid"));
  for (int tries = 0; tries < 200 && kill(child, 0) == 0; ++tries) {
    const std::string state = "/proc/" + std::to_string(child) + "/stat";
    if (!std::filesystem::exists(state)) break;
    std::ifstream in(state);
    std::string text;
    std::getline(in, text);
    if (text.find(") Z") != std::string::npos) return;  // dead, and nobody's child here
    usleep(10000);
  }
  EXPECT_NE(kill(child, 0), 0);
}

TEST_F(HookTest, WhatItLeavesBehindIsNotWaitedFor) {
  EXPECT_TRUE(run("sleep 30 & echo $! >" + (folder_ / "pid")).done);
  EXPECT_LT(took_, 10s);
  kill(std::stoi(folder_.read("pid")), SIGKILL);
}

TEST_F(HookTest, OutputWithoutEndIsCut) {
  const HookEnd end = run("head -c 300000 /dev/zero | tr '\\0' x; exit 0");
  EXPECT_TRUE(end.done) << end.outcome;
  ASSERT_EQ(lines_.size(), 2U);
  EXPECT_EQ(lines_[0].size(), 64U * 1024);
  EXPECT_EQ(lines_[1], "(the rest of its output is left out)");
  EXPECT_FALSE(run("yes", 300ms).done);
}

TEST_F(HookTest, OneThatClosesItsDescriptorsIsStillWaitedFor) {
  const std::string done = folder_ / "done";
  EXPECT_TRUE(run("exec <&- >&- 2>&-; sleep 0.2; : >" + done).done);
  EXPECT_TRUE(std::filesystem::exists(done));
}

TEST_F(HookTest, WhatIsNoProgramIsToldSo) {
  EXPECT_EQ(runHook(folder_.write("text", "#!/no/such/interpreter\n", 0755), {}, 5s,
                    [](const std::string&) {})
                .outcome,
            "exit status 127: it, or its interpreter, can't be started");
}

TEST_F(HookTest, OnlyWhatRootAloneCanChangeIsRun) {
  EXPECT_EQ(refusal(0755), "");
  EXPECT_EQ(refusal(0644), "it is not executable");
  EXPECT_EQ(refusal(0775), "it can be written by others than root");
  EXPECT_EQ(refusal(0757), "it can be written by others than root");
  EXPECT_EQ(refusal(0755), "");
  chmod((folder_ / "hooks").c_str(), 0777);
  EXPECT_EQ(refusal(0755), "its folder can be written by others than root");
}

TEST_F(HookTest, HooksAreTakenInTheOrderOfNames) {
  for (const char* const name :
       {"20-b", "10-a", "30-c.dpkg-old", "40-d~", ".hidden", "50-e.bak", "60-f.rpmsave"}) {
    folder_.write(std::string("hooks/") + name, "");
  }
  std::filesystem::create_directory(folder_ / "hooks/folder");
  EXPECT_EQ(hooksIn(folder_ / "hooks"), (std::vector<std::string>{"10-a", "20-b"}));
  EXPECT_TRUE(hooksIn(folder_ / "nowhere").empty());
}

}  // namespace
