// Each scenario is run once to count the library's allocations, then with each of them failing,
// once and with all later ones. It costs the request, the poll or the log line in which it happens,
// never the process.

#include <iostream>
#include <set>

#include <gtest/gtest.h>

#include "tests/fault/Expectations.h"
#include "tests/fault/Memory.h"

namespace fault {

namespace {

/// The request, the poll or the line; never more.
void expectBearable(const Scenario& scenario, const Plan& plan, const Round& round,
                    const Round& /*clean*/) {
  SCOPED_TRACE(plan.nth == 0 ? "" : "refused to " + Memory::lastRefused(Till::library()));
  EXPECT_TRUE(round.unloaded);
  for (const CMPIrc code : round.result.codes) {
    EXPECT_TRUE(code == CMPI_RC_OK || code == CMPI_RC_ERR_FAILED ||
                (scenario.name == "subscribe" && code == CMPI_RC_ERR_NOT_SUPPORTED))
        << code;
  }
  for (const cmpihost::Reply& reply : round.result.replies) {
    if (reply.status.ok() && scenario.name == "list") {
      for (const auto& [name, reading] : shown(reply)) {
        const Reading now = round.now.at(name);
        EXPECT_TRUE(reading == now || reading == round.before.at(name) ||
                    reading == (Reading{255, now.hours}) || reading == (Reading{0, 0}))
            << name << ' ' << reading.percentage << "% " << reading.hours << "h";
      }
    }
  }
  Start start;
  if (scenario.name == "start") {
    // A drive that there was no memory for is left out; so is everything if there was none at all.
    const Readings seen = shown(round.next);
    start.dead = round.next.status.rc == CMPI_RC_ERR_METHOD_NOT_AVAILABLE;
    for (const auto& drive : theTill().machine.drives()) {
      if (seen.count(drive->name) == 0) {
        start.missing.insert(drive->name);
      }
    }
  }
  expectNextRequestRight(scenario, round, start);
  expectNoLosses(plan, round, start);
  const std::set<std::string> once(round.result.indications.begin(),
                                   round.result.indications.end());
  EXPECT_EQ(once.size(), round.result.indications.size());
  for (const std::string& id : round.nextIndications) {
    EXPECT_EQ(once.count(id), 0U) << id << " is reported twice";
  }
}

class MemoryFaultLoop : public testing::TestWithParam<Scenario> {};

TEST_P(MemoryFaultLoop, CostsOnlyWhatWasBeingDone) {
  const Score score = failEverySite(GetParam(), Call::kMemory, expectBearable);
  std::cout << GetParam().name << ": " << score.sites << " allocations failed in " << score.rounds
            << " ways\n";
}

INSTANTIATE_TEST_SUITE_P(Of, MemoryFaultLoop, testing::ValuesIn(scenarios()),
                         [](const auto& instance) { return instance.param.name; });

}  // namespace

}  // namespace fault
