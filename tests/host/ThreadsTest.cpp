#include "host/Threads.h"

#include <cmpi/cmpimacs.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "host/Broker.h"
#include "host/HostError.h"

using cmpihost::Broker;
using cmpihost::BrokerOptions;
using cmpihost::UnknownCaller;

namespace {

using namespace std::chrono_literals;

// A thread that goes on until it is let go.
struct Held {
  std::atomic<bool> go{false};
  std::atomic<bool> started{false};

  static void* run(void* parameter) {
    auto* const self = static_cast<Held*>(parameter);
    self->started = true;
    while (!self->go) {
      std::this_thread::sleep_for(1ms);
    }
    return self;
  }
};

TEST(BrokerThreads, AJoinedThreadGivesItsResult) {
  Held held;
  Broker broker;
  void* const thread = broker.cmpi()->xft->newThread(Held::run, &held, 0);
  ASSERT_NE(thread, nullptr);
  held.go = true;
  CMPI_THREAD_RETURN result = nullptr;
  EXPECT_EQ(broker.cmpi()->xft->joinThread(thread, &result), 0);
  EXPECT_EQ(result, &held);
  EXPECT_EQ(broker.cmpi()->xft->joinThread(thread, &result), ESRCH);
}

TEST(BrokerThreads, AThreadThatIsOverCanStillBeJoinedAfterOthersWereStarted) {
  Held held;
  held.go = true;
  Broker broker;
  void* const first = broker.cmpi()->xft->newThread(Held::run, &held, 0);
  EXPECT_TRUE(broker.waitForThreads(10s));
  void* const second = broker.cmpi()->xft->newThread(Held::run, &held, 0);
  CMPI_THREAD_RETURN result = nullptr;
  EXPECT_EQ(broker.cmpi()->xft->joinThread(first, &result), 0);
  EXPECT_EQ(result, &held);
  EXPECT_EQ(broker.cmpi()->xft->joinThread(second, nullptr), 0);
}

TEST(BrokerThreads, ADetachedThreadCannotBeJoinedButIsWaitedFor) {
  Held held;
  Broker broker;
  void* const thread = broker.cmpi()->xft->newThread(Held::run, &held, 1);
  EXPECT_EQ(broker.cmpi()->xft->joinThread(thread, nullptr), EINVAL);
  EXPECT_FALSE(broker.waitForThreads(10ms));
  held.go = true;
  EXPECT_TRUE(broker.waitForThreads(10s));
}

TEST(BrokerThreads, AThreadThatEndsItselfIsOverAsWell) {
  Broker broker;
  const auto endItself = [](void*) -> void* { pthread_exit(nullptr); };
  void* const thread = broker.cmpi()->xft->newThread(endItself, nullptr, 0);
  EXPECT_TRUE(broker.waitForThreads(10s));
  EXPECT_EQ(broker.cmpi()->xft->joinThread(thread, nullptr), 0);
}

// A library may wait in its destructors for the threads that run its code, and holds the loader's
// lock meanwhile.
TEST(BrokerThreads, AThreadGetsGoingWhileALibraryUnloads) {
  static Broker* broker = nullptr;
  static Held held;
  static bool gotGoing = false;
  Broker own;
  broker = &own;
  void* const library = dlopen(UNLOAD_HOOK, RTLD_NOW);
  ASSERT_NE(library, nullptr) << dlerror();
  using CallAtUnload = void (*)(void (*)());
  reinterpret_cast<CallAtUnload>(dlsym(library, "callAtUnload"))([] {
    broker->cmpi()->xft->newThread(Held::run, &held, 1);
    for (int i = 0; i < 5000 && !held.started; ++i) {
      std::this_thread::sleep_for(1ms);
    }
    gotGoing = held.started;
  });
  dlclose(library);
  held.go = true;
  EXPECT_TRUE(gotGoing);
}

TEST(BrokerThreads, TheBrokerGoesOnlyWhenItsThreadsHaveGone) {
  Held held;
  std::atomic<bool> ended{false};
  struct Both {
    Held& held;
    std::atomic<bool>& ended;
  } both{held, ended};
  std::thread letter;
  {
    Broker broker;
    broker.cmpi()->xft->newThread(
        [](void* parameter) -> void* {
          auto* const all = static_cast<Both*>(parameter);
          Held::run(&all->held);
          all->ended = true;
          return nullptr;
        },
        &both, 1);
    letter = std::thread([&held] {
      while (!held.started) {
        std::this_thread::sleep_for(1ms);
      }
      held.go = true;
    });
  }
  EXPECT_TRUE(ended);
  letter.join();
}

TEST(BrokerThreads, ObjectsOfAThreadThatTheBrokerStartedGoWithIt) {
  Broker broker;
  void* const thread = broker.cmpi()->xft->newThread(
      [](void* mb) -> void* { return CMNewDateTime(static_cast<const CMPIBroker*>(mb), nullptr); },
      const_cast<CMPIBroker*>(broker.cmpi()), 0);
  CMPI_THREAD_RETURN made = nullptr;
  broker.cmpi()->xft->joinThread(thread, &made);
  EXPECT_NE(made, nullptr);
  EXPECT_EQ(broker.liveObjects(), 0U);
}

TEST(BrokerThreads, AFailingNewThreadStartsNothingAndANullAnswerStartsItAllTheSame) {
  Held held;
  Broker broker;
  held.go = true;
  broker.failCall("newThread", 1, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(broker.cmpi()->xft->newThread(Held::run, &held, 1), nullptr);
  broker.waitForThreads(10s);
  EXPECT_FALSE(held.started);
  broker.answerNull("newThread", 1);
  EXPECT_EQ(broker.cmpi()->xft->newThread(Held::run, &held, 1), nullptr);
  EXPECT_TRUE(broker.waitForThreads(10s));
  EXPECT_TRUE(held.started);
}

TEST(BrokerThreads, AJoinCanBeMadeToFail) {
  Held held;
  Broker broker;
  held.go = true;
  void* const thread = broker.cmpi()->xft->newThread(Held::run, &held, 0);
  broker.failCall("joinThread", 1, CMPI_RC_ERR_FAILED);
  EXPECT_NE(broker.cmpi()->xft->joinThread(thread, nullptr), 0);
  EXPECT_EQ(broker.cmpi()->xft->joinThread(thread, nullptr), 0);
}

// ---- Callers that the broker does not know ----------------------------------------------------

BrokerOptions with(UnknownCaller policy) {
  BrokerOptions options;
  options.newThreadFromUnknown = policy;
  return options;
}

TEST(UnknownCallers, AreServedUnlessTheBrokerIsToldOtherwise) {
  Held held;
  Broker broker;
  held.go = true;
  EXPECT_NE(broker.cmpi()->xft->newThread(Held::run, &held, 1), nullptr);
}

TEST(UnknownCallers, AreRefusedUntilTheyAreAttached) {
  Held held;
  Broker broker(with(UnknownCaller::kRefused));
  const CMPIBroker* const mb = broker.cmpi();
  held.go = true;
  EXPECT_EQ(mb->xft->newThread(Held::run, &held, 1), nullptr);
  EXPECT_EQ(broker.journal().violations().size(), 1U);
  CMPIContext* const ctx = CBPrepareAttachThread(mb, nullptr);
  CBAttachThread(mb, ctx);
  EXPECT_NE(mb->xft->newThread(Held::run, &held, 1), nullptr);
  CBDetachThread(mb, ctx);
  EXPECT_EQ(mb->xft->newThread(Held::run, &held, 1), nullptr);
}

TEST(UnknownCallers, AThreadThatTheBrokerStartedMayStartOthers) {
  Broker broker(with(UnknownCaller::kRefused));
  const CMPIBroker* const mb = broker.cmpi();
  static std::atomic<bool> innerRan;
  innerRan = false;
  CMPIContext* const ctx = CBPrepareAttachThread(mb, nullptr);
  CBAttachThread(mb, ctx);
  mb->xft->newThread(
      [](void* self) -> void* {
        static_cast<const CMPIBroker*>(self)->xft->newThread(
            [](void*) -> void* {
              innerRan = true;
              return nullptr;
            },
            nullptr, 1);
        return nullptr;
      },
      const_cast<CMPIBroker*>(mb), 1);
  CBDetachThread(mb, ctx);
  EXPECT_TRUE(broker.waitForThreads(10s));
  EXPECT_TRUE(innerRan);
}

TEST(UnknownCallersDeathTest, EndTheProcessOfAStrictBroker) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  EXPECT_DEATH(
      {
        Held held;
        Broker broker(with(UnknownCaller::kAborts));
        broker.cmpi()->xft->newThread(Held::run, &held, 1);
      },
      "cmpihost: newThread from a thread that the broker does not know");
}

// ---- Several brokers --------------------------------------------------------------------------

TEST(Brokers, EachKeepsItsOwnThreadsAndOneTooManyIsRefused) {
  Held held;
  std::vector<std::unique_ptr<Broker>> brokers;
  for (std::size_t i = 0; i < Broker::kMaxBrokers; ++i) {
    brokers.push_back(std::make_unique<Broker>());
  }
  brokers[5]->cmpi()->xft->newThread(Held::run, &held, 1);
  EXPECT_TRUE(brokers[4]->waitForThreads(0ms));
  EXPECT_FALSE(brokers[5]->waitForThreads(0ms));
  EXPECT_EQ(brokers[5]->journal().count("newThread"), 1U);
  EXPECT_EQ(brokers[4]->journal().count("newThread"), 0U);
  held.go = true;
  EXPECT_THROW(Broker(), cmpihost::HostError);
  brokers.pop_back();
  EXPECT_NO_THROW(Broker());
}

}  // namespace
