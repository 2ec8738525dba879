// Each scenario is run once to count its system calls, then once for every call and every way in
// which it may fail, and again with all later calls of that kind failing too. VEKSSD_FAULT_TRACE=1
// traces and logs everything, which multiplies the calls.

#include <algorithm>
#include <iostream>

#include <gtest/gtest.h>

#include "tests/fault/Expectations.h"

namespace fault {

namespace {

/// Every watched drive reports once, now or at a later poll.
void expectOneIndicationEach(const Round& round, const Start& start) {
  std::vector<std::string> all = round.result.indications;
  all.insert(all.end(), round.nextIndications.begin(), round.nextIndications.end());
  std::sort(all.begin(), all.end());
  std::vector<std::string> expected;
  for (const std::string& name : watched(start)) {
    expected.push_back(theTill().machine.drive(name).deviceId());
  }
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(all, start.dead ? std::vector<std::string>{} : expected);
}

void expectEvents(const Round& round) {
  const Readings readings = readingsAfter(round.calls, theTill().machine, round.before, round.now);
  std::vector<std::string> expected;
  for (const auto& [name, reading] : readings) {
    if (reading.percentage > 80 && reading.percentage != 255) {
      expected.push_back(theTill().machine.drive(name).deviceId());
    }
  }
  std::vector<std::string> delivered = round.result.indications;
  std::sort(expected.begin(), expected.end());
  std::sort(delivered.begin(), delivered.end());
  EXPECT_EQ(delivered, expected);
}

void expectReply(const Scenario& scenario, const Round& round) {
  const cmpihost::Reply& reply = round.result.replies.at(0);
  EXPECT_EQ(reply.status.rc, CMPI_RC_OK);
  EXPECT_EQ(reply.doneCalls, 1U);
  if (scenario.name == "names") {
    EXPECT_EQ(reply.paths.size(), 3U);
    return;
  }
  Readings expected = readingsAfter(round.calls, theTill().machine, round.before, round.now);
  if (scenario.name == "get") {
    expected = {*expected.find("nvme0")};
  }
  EXPECT_EQ(text(shown(reply)), text(expected));
}

void expectCodes(const Scenario& scenario, const Round& round) {
  std::vector<CMPIrc> expected;
  if (scenario.name == "subscribe") {
    expected = {CMPI_RC_OK, CMPI_RC_ERR_NOT_SUPPORTED, CMPI_RC_OK};
  } else if (scenario.name == "cleanup") {
    expected = {CMPI_RC_OK, CMPI_RC_OK, CMPI_RC_OK};
  } else if (scenario.name == "unload") {
    expected = {CMPI_RC_OK};
  } else {
    return;
  }
  EXPECT_EQ(round.result.codes, expected);
}

/// A record that can't be written is lost, and no other.
void expectRecords(const Plan& plan, const Round& round, const Round& clean) {
  const bool ofLog = std::any_of(round.calls.begin(), round.calls.end(), [](const auto& call) {
    return call.failed && (call.what == kLogFile || call.call == Call::kFstat);
  });
  const bool losesRecord =
      plan.call == Call::kFopen || plan.call == Call::kFstat || plan.call == Call::kFwrite;
  const bool isHalf = plan.failure.kind == Failure::kShort;
  if (ofLog && losesRecord && !plan.forEver) {
    EXPECT_EQ(round.logRecords, isHalf ? clean.logRecords : clean.logRecords - 1);
  } else if (ofLog && plan.call == Call::kFflush) {
    EXPECT_EQ(round.logRecords, clean.logRecords);
  }
}

void expectRight(const Scenario& scenario, const Plan& plan, const Round& round,
                 const Round& clean) {
  Start start;
  if (scenario.name == "start") {
    start = startAfter(round.calls, theTill().machine);
  }
  EXPECT_TRUE(round.unloaded);
  expectNextRequestRight(scenario, round, start);
  expectNoLosses(plan, round, start);
  expectCodes(scenario, round);
  expectRecords(plan, round, clean);
  if (!round.result.replies.empty()) {
    expectReply(scenario, round);
  }
  if (scenario.name == "event") {
    expectEvents(round);
  }
  if (scenario.name != "cleanup" && scenario.name != "unload") {
    expectOneIndicationEach(round, start);
  }
}

class FaultLoop : public testing::TestWithParam<Scenario> {};

TEST_P(FaultLoop, HasTheStatedResultWhateverSystemCallFails) {
  Score total;
  for (const Call call : allCalls()) {
    if (call == Call::kMemory) {
      continue;
    }
    const Score score = failEverySite(GetParam(), call, expectRight);
    total.sites += score.sites;
    total.rounds += score.rounds;
  }
  std::cout << GetParam().name << ": " << total.sites << " calls failed in " << total.rounds
            << " ways\n";
}

INSTANTIATE_TEST_SUITE_P(Of, FaultLoop, testing::ValuesIn(scenarios()),
                         [](const auto& instance) { return instance.param.name; });

}  // namespace

}  // namespace fault
