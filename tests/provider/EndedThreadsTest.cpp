// A host may end one of its threads in the middle of a call (pthread_cancel, pthread_exit), at any
// of the lines and broker calls that the call makes: that is no failure to be logged, leaves
// nothing locked, and the next request is answered.

#include <functional>
#include <thread>
#include <vector>

#include <pthread.h>

#include "provider/EntryPoints.h"
#include "provider/FunctionTables.h"
#include "provider/ProviderState.h"
#include "tests/provider/SubscribedModule.h"

namespace {

class EndedThreads : public SubscribedModule {
 protected:
  /// Makes `call` on a thread that is ended at the `nth` event. False if there are fewer.
  bool endAt(unsigned nth, const std::function<void()>& call) {
    unsigned event = 0;
    last_.clear();
    const std::string seen = events::during([&] {
      std::thread caller([&] {
        events::onEach([&](const std::string& line) {
          if (++event == nth) {
            last_ = line;
            pthread_exit(nullptr);
          }
        });
        call();
      });
      caller.join();
      events::onEach({});
    });
    EXPECT_EQ(events::only("log 1", seen), "");
    return !last_.empty();
  }

  std::string last_;  ///< the event at which the thread was ended
};

TEST_F(EndedThreads, LeaveTheNextRequestAnswered) {
  subscribe();
  const CMPIContext* context = broker.context();
  const std::vector<std::function<void()>> requests = {
      [this] { (void)names(); },
      [this] { (void)instances(); },
      [this] { (void)get(kModelCId); },
      [&] {
        (void)drvAuthorizeFilter(&indicationMI, context, nullptr, nullptr, failures(), nullptr);
      },
      [&] { (void)drvMustPoll(&indicationMI, context, nullptr, nullptr, failures()); },
      [this] { (void)activate(); },
      [&] { (void)drvDeActivateFilter(&indicationMI, context, nullptr, nullptr, failures(), 0); },
      [&] { drvEnableIndications(&indicationMI, context); },
      [&] { drvDisableIndications(&indicationMI, context); },
  };
  for (std::size_t request = 0; request < requests.size(); ++request) {
    SCOPED_TRACE(request);
    unsigned nth = 1;
    for (; endAt(nth, requests[request]); ++nth) {
      SCOPED_TRACE(last_);
      (void)events::during([this] { EXPECT_EQ(names().rc, CMPI_RC_OK); });
    }
    EXPECT_GT(nth, 1U);
  }
}

TEST_F(EndedThreads, LeaveTheNextFactoryCallAnswered) {
  const auto create = [this] {
    EXPECT_EQ(SsdProvider_Create_InstanceMI(broker.cmpi(), broker.context(), nullptr), &instanceMI);
  };
  bool initialising = false;
  for (unsigned nth = 1; endAt(nth, create); ++nth) {
    SCOPED_TRACE(last_);
    initialising = initialising || last_ == "log 3: SsdProvider::initialise";
    (void)events::during([&] {
      create();
      // Whoever comes into an initialisation that was never finished finds it failed.
      EXPECT_EQ(names().rc, initialising ? CMPI_RC_ERR_METHOD_NOT_AVAILABLE : CMPI_RC_OK);
      EXPECT_EQ(drvInstanceCleanup(&instanceMI, broker.context(), 1).rc, CMPI_RC_OK);
    });
    EXPECT_EQ(drvProvider, nullptr);
  }
  EXPECT_TRUE(initialising);
}

TEST_F(EndedThreads, CostTheirEventAndNoOther) {
  subscribe();
  const auto report = [] { core().listener->SsdFailureImminent("Model A", "Serial A", "sda", 96); };
  unsigned nth = 1;
  for (; endAt(nth, report); ++nth) {
    SCOPED_TRACE(last_);
    const std::size_t before = broker.waitingThreads();
    (void)events::during(report);
    EXPECT_EQ(broker.waitingThreads(), before + 1);
  }
  EXPECT_GT(nth, 1U);
}

TEST_F(EndedThreads, CostTheirDeliveryAndNoOther) {
  subscribe();
  unsigned nth = 1;
  for (bool ended = true; ended; ++nth) {
    (void)events::during(
        [] { core().listener->SsdFailureImminent("Model A", "Serial A", "sda", 96); });
    ended = endAt(nth, [this] { broker.runThread(); });
    SCOPED_TRACE(last_);
    const std::string seen = events::during([this] {
      core().listener->SsdFailureImminent("Model B", "Serial B", "sdb", 97);
      broker.runThread();
    });
    EXPECT_EQ(events::count(seen, "broker: deliverIndication"), 1U);
  }
  EXPECT_GT(nth, 5U);
}

}  // namespace
