#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/fault/Calls.h"
#include "tests/fault/Losses.h"
#include "tests/fault/Outcome.h"
#include "tests/fault/Scenarios.h"

namespace fault {

/// What of the library's calls fails in a round.
struct Plan {
  Call call = Call::kMemory;
  unsigned nth = 0;  ///< 0: nothing fails
  bool forEver = false;
  Failure failure;

  std::string text() const;
};

/// One round: prepare, act while calls fail, then the next request and the end without failures.
struct Round {
  Result result;
  Readings before;                           ///< what the drives said when the library last asked
  Readings now;                              ///< what they would have said while calls failed
  std::vector<Injector::Met> calls;          ///< while calls failed
  unsigned made = 0;                         ///< calls of the plan's kind
  cmpihost::Reply next;                      ///< the list afterwards; status 16 after an unload
  std::vector<std::string> nextIndications;  ///< of a poll afterwards, drives worn, subscribed
  bool unloaded = false;
  std::vector<std::string> log;  ///< all records, without what differs from run to run
  std::size_t logged[2] = {};    ///< how many of them were there before and after calls failed
  std::vector<std::string> brokerCalls;  ///< by slot, while calls failed
  std::vector<std::string> violations;   ///< of what a broker may expect
  Losses losses;
};

/// Runs the scenario under `plan` and tells what came of it; `arm` may prepare the broker as well.
Round run(const Scenario& scenario, const Plan& plan,
          const std::function<void(cmpihost::Broker&)>& arm = {});

/// The till of all rounds of a process.
Till& theTill();

}  // namespace fault
