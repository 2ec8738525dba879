// No kind of call is left out: each is made, and so failed, in at least one of the loops.

#include <map>

#include <gtest/gtest.h>

#include "tests/fault/FaultLoop.h"

namespace fault {

namespace {

/// How often each kind of call is made in all scenarios, traced and not.
std::map<Call, unsigned> callsOfAllScenarios() {
  std::map<Call, unsigned> made;
  Till& till = theTill();
  const bool traced = till.traced();
  for (const bool trace : {false, true}) {
    till.setTraced(trace);
    for (const Scenario& scenario : scenarios()) {
      run(scenario, {});
      for (const Call call : allCalls()) {
        made[call] += Injector::instance().made(call);
      }
    }
  }
  till.setTraced(traced);
  return made;
}

TEST(FaultLoops, EveryKindOfCallIsMadeInOne) {
  for (const auto& [call, made] : callsOfAllScenarios()) {
    EXPECT_GT(made, 0U) << nameOf(call);
  }
}

}  // namespace

}  // namespace fault
