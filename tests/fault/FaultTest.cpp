// Each scenario is run once to count its system calls, then once for every call and every way in
// which it may fail, and again with all later calls of that kind failing too. VEKSSD_FAULT_TRACE=1
// traces and logs everything, which multiplies the calls.

#include <algorithm>

#include <gtest/gtest.h>

#include "tests/fault/Expectations.h"
#include "tests/fault/Records.h"

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
    std::vector<std::string> expected;
    for (const auto& drive : theTill().machine.drives()) {
      expected.push_back(drive->deviceId());
    }
    std::vector<std::string> named;
    for (const cmpihost::ObjectPath& path : reply.paths) {
      named.push_back(path.key("DeviceID")->asText());
    }
    std::sort(expected.begin(), expected.end());
    std::sort(named.begin(), named.end());
    EXPECT_EQ(named, expected);
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

/// Whether a call concerns the log alone: nothing else may come of its failure.
bool isOfLog(const Injector::Met& call) {
  switch (call.call) {
    case Call::kFstat:
    case Call::kFileno:
    case Call::kFputs:
    case Call::kPrint:
    case Call::kFormat:
    case Call::kNarrow:
    case Call::kTime:
    case Call::kLocalTime:
      return true;
    default:
      return call.what == kLogFile;
  }
}

/// Whether nothing at all comes of the failure of such a call, but the code in the record of a
/// join.
bool isHarmless(const Injector::Met& call) {
  switch (call.call) {
    case Call::kClose:
    case Call::kFclose:
    case Call::kClosedir:
    case Call::kUsleep:
      return true;
    default:
      return call.call >= Call::kThreadJoin;  // and everything about locks
  }
}

/// How many records the failure of that call costs. Those with wide texts, which alone are made
/// narrow, are dropped in this locale anyway.
std::size_t recordsLost(const Injector::Met& call) {
  const bool isLost = call.call == Call::kFopen || call.call == Call::kFstat ||
                      call.call == Call::kFileno || call.call == Call::kFflush ||
                      (call.call == Call::kFwrite && call.how != Failure::kShort);
  return isLost && isOfLog(call) ? 1 : 0;
}

/// A record that can't be written is lost, and no other. One that can't be formatted is cut short.
void expectRecords(const Round& round, const Round& clean) {
  std::size_t lost = 0;
  std::size_t spoilt = 0;
  bool changesNothingElse = true;
  for (const Injector::Met& call : round.calls) {
    if (call.failed) {
      changesNothingElse = changesNothingElse && (isOfLog(call) || isHarmless(call));
      lost += recordsLost(call);
      const bool isSpoilt = call.call == Call::kFormat || call.call == Call::kThreadJoin ||
                            call.how == Failure::kShort;
      spoilt += isSpoilt ? 1 : 0;
    }
  }
  if (!changesNothingElse) {
    return;
  }
  // A wide text that can't be formatted leaves an empty record where one was dropped.
  EXPECT_GE(round.log.size() + lost, clean.log.size());
  EXPECT_LE(round.log.size() + lost, clean.log.size() + spoilt);
  const auto others = foreign(round.log, clean.log);
  EXPECT_LE(others.size(), spoilt) << testing::PrintToString(others);
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
  expectRecords(round, clean);
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

/// Whether the process ends when such a call fails: see RefusedLocksTest.cpp.
bool isFatal(Call call) {
  return call == Call::kMutexLock || call == Call::kReadLock || call == Call::kWriteLock;
}

class FaultLoop : public testing::TestWithParam<Scenario> {};

TEST_P(FaultLoop, HasTheStatedResultWhateverSystemCallFails) {
  Score total;
  for (const Call call : allCalls()) {
    if (call == Call::kMemory || isFatal(call)) {
      continue;
    }
    total += failEverySite(GetParam(), call, expectRight);
  }
  report(GetParam(), "calls", total);
}

INSTANTIATE_TEST_SUITE_P(Of, FaultLoop, testing::ValuesIn(scenarios()),
                         [](const auto& instance) { return instance.param.name; });

}  // namespace

}  // namespace fault
