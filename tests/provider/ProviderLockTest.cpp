// Which calls hold the provider lock, which wait for it, and which must never do either.

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <thread>

#include "provider/EntryPoints.h"
#include "provider/FunctionTables.h"
#include "provider/ProviderState.h"
#include "tests/provider/ProviderFixture.h"

namespace {

using namespace std::chrono_literals;

/// A thread that takes the provider lock and gives it back at once.
class LockSeeker {
 public:
  LockSeeker()
      : thread_([this] {
          __drv_synch();
          got_ = true;
          __drv_unsynch();
        }) {}
  ~LockSeeker() { thread_.join(); }
  LockSeeker(const LockSeeker&) = delete;
  LockSeeker& operator=(const LockSeeker&) = delete;

  /// Whether it has got the lock after a time in which it surely would.
  bool got() {
    for (int i = 0; i < 20 && !got_; ++i) {
      std::this_thread::sleep_for(1ms);
    }
    return got_;
  }

 private:
  std::atomic<bool> got_{false};
  std::thread thread_;
};

class ProviderLocking : public ModuleTest {
 protected:
  void createBoth() {
    (void)events::during([this] {
      SsdProvider_Create_InstanceMI(broker.cmpi(), context, nullptr);
      SsdProvider_Create_IndicationMI(broker.cmpi(), context, nullptr);
    });
  }

  /// Whether another thread is kept from the lock at the moment when `line` is seen of `call`.
  bool isHeldAt(const std::string& line, const std::function<void()>& call) {
    std::unique_ptr<LockSeeker> seeker;
    bool seen = false;
    bool held = false;
    events::onEach([&](const std::string& event) {
      if (!seen && event.find(line) != std::string::npos) {
        seen = true;
        seeker = std::make_unique<LockSeeker>();
        held = !seeker->got();
      }
    });
    (void)events::during(call);
    events::onEach({});
    EXPECT_TRUE(seen) << line;
    return held;
  }
};

TEST_F(ProviderLocking, IsHeldThroughoutEveryOperation) {
  EXPECT_TRUE(isHeldAt("log 3: SsdProvider_Create_InstanceMI",
                       [&] { SsdProvider_Create_InstanceMI(broker.cmpi(), context, nullptr); }));
  EXPECT_TRUE(isHeldAt("log 3: SsdProvider_Create_IndicationMI",
                       [&] { SsdProvider_Create_IndicationMI(broker.cmpi(), context, nullptr); }));
  for (const char* moment : {"log 3: SsdProvider::enumInstanceNames", "core: ", "returnDone"}) {
    EXPECT_TRUE(
        isHeldAt(moment, [&] { (void)drvEnumInstanceNames(&instanceMI, context, result, ssds); }));
  }
  EXPECT_TRUE(isHeldAt(
      "returnDone", [&] { (void)drvEnumInstances(&instanceMI, context, result, ssds, nullptr); }));
  const CMPIObjectPath* key = broker.path(std::string(kModelAId));
  EXPECT_TRUE(isHeldAt("returnDone",
                       [&] { (void)drvGetInstance(&instanceMI, context, result, key, nullptr); }));
  EXPECT_TRUE(isHeldAt("SsdProvider::authorizeFilter", [&] {
    (void)drvAuthorizeFilter(&indicationMI, context, nullptr, nullptr, failures, nullptr);
  }));
  EXPECT_TRUE(isHeldAt("SsdProvider::mustPoll", [&] {
    (void)drvMustPoll(&indicationMI, context, nullptr, nullptr, failures);
  }));
  EXPECT_TRUE(isHeldAt("core: registerSsdListener", [&] {
    (void)drvActivateFilter(&indicationMI, context, nullptr, nullptr, failures, 1);
  }));
  EXPECT_TRUE(isHeldAt("SsdProvider::enableIndications",
                       [&] { drvEnableIndications(&indicationMI, context); }));
  EXPECT_TRUE(isHeldAt("SsdProvider::disableIndications",
                       [&] { drvDisableIndications(&indicationMI, context); }));
  EXPECT_TRUE(isHeldAt("core: registerSsdListener", [&] {
    (void)drvDeActivateFilter(&indicationMI, context, nullptr, nullptr, failures, 1);
  }));
  EXPECT_TRUE(isHeldAt("core: unregisterSsdListener",
                       [&] { (void)drvIndicationCleanup(&indicationMI, context, 1); }));
  EXPECT_TRUE(isHeldAt("SsdProvider - provider destroyed",
                       [&] { (void)drvInstanceCleanup(&instanceMI, context, 1); }));
}

TEST_F(ProviderLocking, BeginsAfterAnEntrysOwnLine) {
  createBoth();
  EXPECT_FALSE(isHeldAt("drvEnumInstances - provider", [&] {
    (void)drvEnumInstances(&instanceMI, context, result, ssds, nullptr);
  }));
  EXPECT_FALSE(isHeldAt("drvInstanceCleanup - provider",
                        [&] { (void)drvInstanceCleanup(&instanceMI, context, 0); }));
}

TEST_F(ProviderLocking, KeepsNobodyWaitingWhoIsRefusedAnyway) {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  __drv_synch();  // on this thread, so that a call that waited would never end
  (void)events::during(
      [&] { status = drvEnumInstances(&instanceMI, context, result, ssds, nullptr); });
  EXPECT_EQ(status.rc, CMPI_RC_ERR_METHOD_NOT_AVAILABLE);
  (void)events::during([&] { status = drvInstanceCleanup(&instanceMI, context, 0); });
  EXPECT_EQ(status.rc, CMPI_RC_DO_NOT_UNLOAD);
  (void)events::during([&] { status = drvInstanceCleanup(&instanceMI, context, 1); });
  EXPECT_EQ(status.rc, CMPI_RC_OK);
  __drv_unsynch();
}

TEST_F(ProviderLocking, IsNeverWantedByAnEvent) {
  createBoth();
  (void)events::during([&] {
    (void)drvActivateFilter(&indicationMI, context, nullptr, nullptr, failures, 1);
    drvEnableIndications(&indicationMI, context);
  });
  // The core raises events on the threads of requests as well, under the lock.
  core().whileReading = [] {
    core().listener->SsdFailureImminent("Model A", "Serial A", "sda", 96);
  };
  CMPIStatus status{CMPI_RC_ERROR, nullptr};
  const std::string seen = events::during(
      [&] { status = drvEnumInstances(&instanceMI, context, result, ssds, nullptr); });
  EXPECT_EQ(status.rc, CMPI_RC_OK);
  EXPECT_EQ(events::count(seen, "newThread"), 1U);
  core().whileReading = {};
}

/// Any call to the broker may come back as an event on the same thread.
TEST_F(ProviderLocking, AndTheCachesOwnOneAreNotHeldOverACallToTheBroker) {
  createBoth();
  (void)events::during([&] {
    (void)drvActivateFilter(&indicationMI, context, nullptr, nullptr, failures, 1);
    drvEnableIndications(&indicationMI, context);
  });
  unsigned sent = 0;
  events::onEach([&](const std::string& line) {
    if (line.find("broker: ") == 0 && line.find("newThread") == std::string::npos) {
      ++sent;
      core().listener->SsdFailureImminent("Model B", "Serial B", "sdb", 96);
    }
  });
  (void)events::during(
      [&] { (void)drvEnumInstances(&instanceMI, context, result, ssds, nullptr); });
  EXPECT_EQ(sent, 3 * 19 + 1U);
  EXPECT_EQ(broker.waitingThreads(), sent);
}

/// What a call waiting for the lock finds when a clean-up had it before.
class LateCallers : public ProviderLocking {
 protected:
  /// Runs `call` on another thread up to the lock, deletes the provider meanwhile, lets it go on.
  CMPIStatus overtaken(const std::string& ownLine, const std::function<CMPIStatus()>& call) {
    CMPIStatus status{CMPI_RC_ERROR, nullptr};
    std::promise<void> begun;
    events::onEach([&, first = true](const std::string& line) mutable {
      if (first && line.find(ownLine) != std::string::npos) {
        first = false;
        begun.set_value();
      }
    });
    seen = events::during([&] {
      SsdProvider_Create_InstanceMI(broker.cmpi(), context, nullptr);
      __drv_synch();
      std::thread late([&] { status = call(); });
      begun.get_future().wait();
      std::this_thread::sleep_for(20ms);
      __drv_cleanup();
      EXPECT_EQ(drvProvider, nullptr);
      __drv_unsynch();
      late.join();
    });
    events::onEach({});
    return status;
  }
  std::string seen;
};

TEST_F(LateCallers, AreAnswered16) {
  EXPECT_EQ(overtaken("drvEnumInstances",
                      [&] { return drvEnumInstances(&instanceMI, context, result, ssds, nullptr); })
                .rc,
            CMPI_RC_ERR_METHOD_NOT_AVAILABLE);
  EXPECT_EQ(events::count(seen, "SsdProvider::enumInstances"), 0U);
  EXPECT_EQ(
      overtaken("drvMustPoll",
                [&] { return drvMustPoll(&indicationMI, context, nullptr, nullptr, failures); })
          .rc,
      CMPI_RC_ERR_METHOD_NOT_AVAILABLE);
}

TEST_F(LateCallers, CleanUpNothingAndLeaveTheCount) {
  EXPECT_EQ(
      overtaken("drvInstanceCleanup", [&] { return drvInstanceCleanup(&instanceMI, context, 1); })
          .rc,
      CMPI_RC_OK);
  EXPECT_EQ(use_count, 0);
  EXPECT_EQ(events::count(seen, "err: __drv_cleanup"), 1U);
  EXPECT_EQ(overtaken("log 3: drvIndicationCleanup",
                      [&] { return drvIndicationCleanup(&indicationMI, context, 1); })
                .rc,
            CMPI_RC_OK);
  EXPECT_EQ(use_count, 0);
  EXPECT_EQ(events::count(seen, "SsdProvider::indicationCleanup"), 0U);
}

/// Requests, subscribers, events, clean-ups and new factories all at once: for a thread or address
/// sanitizer to watch.
TEST_F(ProviderLocking, KeepsEverybodyApart) {
  constexpr int kRounds = 300;
  (void)events::during([&] {
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    const auto repeat = [&](std::function<void()> action) {
      threads.emplace_back([&stop, action = std::move(action)] {
        for (int i = 0; i < kRounds && !stop; ++i) {
          action();
        }
      });
    };
    repeat([&] { (void)drvEnumInstances(&instanceMI, context, result, ssds, nullptr); });
    repeat([&] { (void)drvEnumInstanceNames(&instanceMI, context, result, ssds); });
    repeat([&] {
      (void)drvActivateFilter(&indicationMI, context, nullptr, nullptr, failures, 1);
      drvEnableIndications(&indicationMI, context);
      (void)drvDeActivateFilter(&indicationMI, context, nullptr, nullptr, failures, 1);
    });
    repeat([&] {
      SsdProvider_Create_InstanceMI(broker.cmpi(), context, nullptr);
      SsdProvider_Create_IndicationMI(broker.cmpi(), context, nullptr);
      (void)drvIndicationCleanup(&indicationMI, context, 1);
      (void)drvInstanceCleanup(&instanceMI, context, 1);
    });
    for (std::thread& thread : threads) {
      thread.join();
    }
  });
  EXPECT_EQ(use_count, 0);
  EXPECT_EQ(drvProvider, nullptr);
}

/// Events come on the drives' own threads while requests rebuild the cache and subscribers come and
/// go; the provider stays.
TEST_F(ProviderLocking, LetsEventsComeInBetween) {
  constexpr int kRounds = 300;
  createBoth();
  (void)events::during([&] {
    (void)drvActivateFilter(&indicationMI, context, nullptr, nullptr, failures, 1);
    drvEnableIndications(&indicationMI, context);
    ISsdListener* const listener = core().listener;
    std::vector<std::thread> threads;
    for (const char letter : {'A', 'B'}) {
      threads.emplace_back([listener, letter] {
        const SsdInformation failing = drive(letter, letter == 'A' ? "sda" : "sdb");
        for (int i = 0; i < kRounds; ++i) {
          listener->SsdFailureImminent(failing.model, failing.serialNumber, failing.physicalDrive,
                                       96);
        }
      });
    }
    threads.emplace_back([&] {
      for (int i = 0; i < kRounds; ++i) {
        (void)drvEnumInstances(&instanceMI, context, result, ssds, nullptr);
      }
    });
    threads.emplace_back([&] {
      for (int i = 0; i < kRounds; ++i) {
        drvDisableIndications(&indicationMI, context);
        drvEnableIndications(&indicationMI, context);
      }
    });
    for (std::thread& thread : threads) {
      thread.join();
    }
  });
  EXPECT_NE(broker.waitingThreads(), 0U);
}

}  // namespace
