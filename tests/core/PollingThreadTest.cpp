#include "core/PollingThread.h"

#include <algorithm>
#include <memory>

#include "config/Config.h"
#include "core/SsdDevice.h"
#include "tests/core/CoreTest.h"

using namespace testkit;

namespace {

/// A device that hasn't been set up: a reading of it leaves two lines in the log.
class Polling : public CoreTest {
 protected:
  explicit Polling(const std::string& settings = "") : CoreTest(settings) { takeLog(); }

  /// How many readings the log shows since the last call.
  static int readings() {
    const Lines log = takeLog();
    return static_cast<int>(std::count(log.begin(), log.end(), "Trace: SsdDevice::getSsdData"));
  }

  SsdDevice device_;
};

class PollingEverySecond : public Polling {
 protected:
  PollingEverySecond() : Polling("PollRate=1\n") {}
};

class PollingEveryThirdSecond : public Polling {
 protected:
  PollingEveryThirdSecond() : Polling("PollRate=3\n") {}
};

struct Rate {
  const char* name;
  const char* configured;
  const char* shown;
};

class PollRate : public CoreTest, public testing::WithParamInterface<Rate> {
 protected:
  PollRate() : CoreTest(std::string("PollRate=") + GetParam().configured + "\n") {}
};

class PollingDeath : public Polling {};

}  // namespace

TEST_P(PollRate, IsShownAsItsLow32Bits) {
  Config::GetInstance();
  takeLog();
  const PollingThread polling;
  EXPECT_EQ(takeLog(), Lines{std::string("Debug: PollingThread constructed - pollingRate=") +
                             GetParam().shown});
}

INSTANTIATE_TEST_SUITE_P(, PollRate,
                         testing::Values(Rate{"Usual", "10", "10"}, Rate{"Long", "3600", "3600"},
                                         Rate{"Above31Bits", "2147483648", "-2147483648"},
                                         Rate{"At32Bits", "4294967296", "0"},
                                         Rate{"Above32Bits", "4294967301", "5"}),
                         [](const auto& instance) { return instance.param.name; });

TEST_F(CoreTest, APollingThreadCreatesTheConfigurationIfNeedBe) {
  const PollingThread polling;
  EXPECT_EQ(takeLog(),
            (Lines{"Trace: Config::initialise", "Debug: Config constructed",
                   "Debug: Config::GetInstance - new instance = " + low32(Config::GetInstance()),
                   "Debug: PollingThread constructed - pollingRate=10"}));
}

TEST_F(Polling, IsNotStartedByConstruction) {
  takeLog();
  {
    const PollingThread polling;
    EXPECT_FALSE(polling.isStarted());
  }
  EXPECT_EQ(takeLog(), (Lines{"Debug: PollingThread constructed - pollingRate=10",
                              "Debug: PollingThread Destroyed"}));
  EXPECT_TRUE(threads().created().empty());
}

TEST_F(Polling, LeavesTheseLinesInItsLife) {
  takeLog();
  {
    PollingThread polling;
    threads().holdStarts();
    EXPECT_TRUE(polling.initialise(&device_));
    EXPECT_TRUE(polling.isStarted());
    EXPECT_EQ(takeLog(), (Lines{"Debug: PollingThread constructed - pollingRate=10",
                                "Debug: PollingThread::initialise - _ssdDevice=" + low32(&device_),
                                startedLine()}));
    threads().releaseStarts();
    threads().waitUntilAllSleep();
    EXPECT_EQ(takeLog(), Lines{"Debug: readThread - entered"});
    polling.terminate();
    EXPECT_FALSE(polling.isStarted());
    EXPECT_EQ(threads().alive(), 0U);
    EXPECT_EQ(takeLog(), stopLines());
  }
  EXPECT_EQ(takeLog(), Lines{"Debug: PollingThread Destroyed"});
}

TEST_F(Polling, YieldsTheProcessorOnceToTheNewThread) {
  PollingThread polling;
  EXPECT_EQ(threads().yields(), 0U);
  threads().holdStarts();
  takeLog();
  Lines before;
  threads().atNextYield([&] {
    before = takeLog();
    EXPECT_TRUE(polling.isStarted());
  });
  EXPECT_TRUE(polling.initialise(&device_));
  EXPECT_EQ(threads().yields(), 1U);
  EXPECT_EQ(before, Lines{"Debug: PollingThread::initialise - _ssdDevice=" + low32(&device_)});
  EXPECT_EQ(takeLog(), Lines{startedLine()});
}

TEST_F(Polling, IsStoppedByItsDestructorIfNeedBe) {
  {
    PollingThread polling;
    EXPECT_TRUE(polling.initialise(&device_));
    threads().waitUntilAllSleep();
    takeLog();
  }
  EXPECT_EQ(takeLog(), (stopLines() + Lines{"Debug: PollingThread Destroyed"}));
  EXPECT_EQ(threads().alive(), 0U);
}

TEST_F(Polling, OfNothingIsRefused) {
  takeLog();
  {
    PollingThread polling;
    takeLog();
    EXPECT_FALSE(polling.initialise(nullptr));
    EXPECT_FALSE(polling.isStarted());
  }
  EXPECT_EQ(takeLog(), (Lines{"Error: PollingThread::initialise - _ssdDevice==NULL",
                              "Debug: PollingThread Destroyed"}));
  EXPECT_TRUE(threads().created().empty());
}

TEST_F(Polling, ThatCannotBeStartedIsReportedAndNotJoined) {
  {
    PollingThread polling;
    takeLog();
    threads().refuseNext(EAGAIN);
    EXPECT_FALSE(polling.initialise(&device_));
    EXPECT_FALSE(polling.isStarted());
    EXPECT_EQ(takeLog(), (Lines{"Debug: PollingThread::initialise - _ssdDevice=" + low32(&device_),
                                "Error: PollingThread::Start - failed to start readThread "
                                "rc=0x0000000b"}));
    EXPECT_EQ(threads().yields(), 0U);
  }
  EXPECT_EQ(takeLog(), Lines{"Debug: PollingThread Destroyed"});
}

TEST_F(Polling, CanBeStartedAgainAfterItWasStopped) {
  PollingThread polling;
  EXPECT_TRUE(polling.initialise(&device_));
  polling.terminate();
  EXPECT_TRUE(polling.initialise(&device_));
  EXPECT_TRUE(polling.isStarted());
}

TEST_F(Polling, ReadsFirstOnTheTenthTickAndThenOnEveryTenth) {
  PollingThread polling;
  EXPECT_TRUE(polling.initialise(&device_));
  threads().waitUntilAllSleep();  // the first tick came at once
  threads().tick(8);
  EXPECT_EQ(readings(), 0);
  threads().tick();
  EXPECT_EQ(readings(), 1);
  threads().tick(9);
  EXPECT_EQ(readings(), 0);
  threads().tick();
  EXPECT_EQ(readings(), 1);
}

TEST_F(PollingEverySecond, ReadsAtOnceAndOnEveryTick) {
  PollingThread polling;
  EXPECT_TRUE(polling.initialise(&device_));
  threads().waitUntilAllSleep();
  EXPECT_EQ(readings(), 1);
  threads().tick();
  EXPECT_EQ(readings(), 1);
  threads().tick(3);
  EXPECT_EQ(readings(), 3);
}

TEST_F(PollingEveryThirdSecond, ReadsAfterTwoSleepsAndThenAfterThree) {
  PollingThread polling;
  EXPECT_TRUE(polling.initialise(&device_));
  threads().waitUntilAllSleep();
  threads().tick();
  EXPECT_EQ(readings(), 0);
  threads().tick();
  EXPECT_EQ(readings(), 1);
  threads().tick(2);
  EXPECT_EQ(readings(), 0);
  threads().tick();
  EXPECT_EQ(readings(), 1);
}

namespace {

class PollingAtTheRateThatIsNever : public Polling {
 protected:
  PollingAtTheRateThatIsNever() : Polling("PollRate=4294967296\n") {}
};

}  // namespace

TEST_F(PollingAtTheRateThatIsNever, ReadsNever) {
  PollingThread polling;
  EXPECT_TRUE(polling.initialise(&device_));
  threads().tick(100);
  EXPECT_EQ(readings(), 0);
}

TEST_F(PollingEverySecond, LooksWhetherToGoOnBeforeTheFirstTick) {
  PollingThread polling;
  threads().holdStarts();
  EXPECT_TRUE(polling.initialise(&device_));
  takeLog();
  polling.terminate();
  const std::string joined = "Debug: PollingThread::Terminate - pthread_join(" +
                             low32(threads().created()[0]) + ", 0)...done rc=0x00000000";
  EXPECT_EQ(takeLog(), (Lines{"Trace: PollingThread::terminate entered",
                              "Debug: readThread - entered", "Debug: readThread - exited", joined,
                              "Debug: PollingThread::Terminate - thread terminated"}));
}

TEST_F(PollingEverySecond, EndsAfterTheSleepInProgress) {
  PollingThread polling;
  EXPECT_TRUE(polling.initialise(&device_));
  threads().waitUntilAllSleep();
  takeLog();
  polling.terminate();
  EXPECT_EQ(takeLog(), stopLines());
}

TEST_F(PollingEverySecond, CanBeTickedByHand) {
  PollingThread polling;
  threads().holdStarts();
  EXPECT_TRUE(polling.initialise(&device_));
  takeLog();
  polling.doPoll();
  EXPECT_EQ(readings(), 1);
}

// The texts, lines and files that support looks up.

TEST_F(PollingDeath, StartingTwiceEndsTheProcess) {
  PollingThread polling;
  EXPECT_TRUE(polling.initialise(&device_));
  EXPECT_DEATH((void)polling.initialise(&device_),
               "core/PollingThread\\.cpp:79: bool PollingThread::initialise\\(SsdDevice ?\\*\\): "
               "Assertion `init == false' failed\\.");
}

TEST_F(PollingDeath, StoppingWhatWasNotStartedEndsTheProcess) {
  PollingThread polling;
  EXPECT_DEATH(polling.terminate(),
               "core/PollingThread\\.cpp:143: void PollingThread::terminate\\(\\): "
               "Assertion `init==true' failed\\.");
}

TEST_F(PollingDeath, StoppingTwiceEndsTheProcess) {
  PollingThread polling;
  EXPECT_TRUE(polling.initialise(&device_));
  polling.terminate();
  EXPECT_DEATH(polling.terminate(), "Assertion `init==true' failed\\.");
}

TEST_F(PollingDeath, AThreadWithoutItsObjectEndsTheProcess) {
  EXPECT_DEATH(readThread(nullptr),
               "core/PollingThread\\.cpp:180: void ?\\* ?readThread\\(void ?\\*\\): "
               "Assertion `obj != __null' failed\\.");
  EXPECT_EQ(takeLog().back(), "Debug: readThread - entered");
}
