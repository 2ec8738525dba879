#include <algorithm>
#include <csignal>
#include <ostream>

#include <gtest/gtest.h>

#include "tests/fault/FaultLoop.h"

namespace fault {

namespace {

/// The first such call of a scenario.
struct Lock {
  Call call;
  const char* scenario;
};

void PrintTo(const Lock& lock, std::ostream* out) { *out << nameOf(lock.call); }

class RefusedLocksDeath : public testing::TestWithParam<Lock> {};

TEST_P(RefusedLocksDeath, EndTheProcess) {
  const auto& [call, name] = GetParam();
  const auto& all = scenarios();
  const auto scenario = std::find_if(all.begin(), all.end(),
                                     [name](const Scenario& one) { return one.name == name; });
  ASSERT_NE(scenario, all.end());
  for (const Failure& failure : failuresOf(call)) {
    EXPECT_EXIT(run(*scenario, {call, 1, false, failure}), testing::KilledBySignal(SIGABRT), "");
  }
}

INSTANTIATE_TEST_SUITE_P(For, RefusedLocksDeath,
                         testing::Values(Lock{Call::kMutexLock, "list"},
                                         Lock{Call::kReadLock, "event"},
                                         Lock{Call::kWriteLock, "subscribe"}),
                         [](const auto& instance) {
                           return std::string(nameOf(instance.param.call));
                         });

}  // namespace

}  // namespace fault
