#include "core/RequestGate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

TEST(RequestGate, LetsRequestsInUntilItIsClosed) {
  RequestGate gate;
  EXPECT_TRUE(RequestGate::Pass(gate).granted());
  EXPECT_TRUE(RequestGate::Pass(gate).granted());
  gate.close();
  EXPECT_FALSE(RequestGate::Pass(gate).granted());
}

TEST(RequestGate, IsClosedBehindTheRequestThatIsInside) {
  RequestGate gate;
  std::promise<void> entered;
  std::atomic<bool> left{false};
  std::thread request([&] {
    const RequestGate::Pass pass(gate);
    entered.set_value();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    left = true;
  });
  entered.get_future().wait();
  gate.close();
  EXPECT_TRUE(left);
  request.join();
}

/// A host may end the process from a function that the library calls meanwhile.
TEST(RequestGate, DoesNotWaitForTheThreadThatClosesIt) {
  RequestGate gate;
  const RequestGate::Pass pass(gate);
  gate.close();
}
