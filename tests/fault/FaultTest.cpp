// Each scenario is run once to count its calls, then once for every call and every way in which it
// may fail, and again with all later calls of that kind failing too. VEKSSD_FAULT_TRACE=1 traces
// and logs everything, which multiplies the calls.

#include <algorithm>
#include <iostream>
#include <set>

#include <gtest/gtest.h>

#include "tests/fault/FaultLoop.h"
#include "tests/fault/Memory.h"

namespace fault {

namespace {

constexpr char kLogFile[] = "/var/log/ssddrv/ssddrv.log";

// ---- What the library keeps when it leaves the process, and why

/// The log handler with its file's name, and the configuration: never destroyed, so that the last
/// line of the unloading library can still be written.
const std::set<std::string> kKeptForGood = {"(anonymous namespace)::makeLogHandler()",
                                            "FileLogHandler::GetConfig()", "Config::GetInstance()"};

/// A device whose set-up failed: neither listed nor deleted, since the listener may know it.
const std::set<std::string> kKeptOfDevice = {"SsdManager::addSsdDevice", "SsdDevice::initialise",
                                             "makeSupportedModels", "SsdModel",
                                             "(anonymous namespace)::make<"};

bool isAnyOf(const std::string& name, const std::set<std::string>& beginnings) {
  return std::any_of(beginnings.begin(), beginnings.end(), [&](const std::string& beginning) {
    return name.find(beginning) != std::string::npos;
  });
}

void expectNoLosses(const Plan& plan, const Round& round, const Start& start) {
  int nodes = 0;
  for (const std::string& target : round.losses.descriptors()) {
    const bool isNode = target.find("/dev/nvme0") != std::string::npos;
    EXPECT_TRUE(isNode) << "lost descriptor " << target;
    nodes += isNode ? 1 : 0;
  }
  EXPECT_EQ(nodes, nodesLostBy(round.calls)) << "an NVMe node stays open where a command failed";

  EXPECT_LE(round.losses.streams().size(), 1U);
  for (const std::string& path : round.losses.streams()) {
    EXPECT_EQ(path, kLogFile) << "lost stream";
  }
  EXPECT_LE(round.losses.scans(), 1) << "the scan for NVMe controllers is kept, once";

  const bool mayKeepDevice = start.lostDevices > 0 || plan.call == Call::kMemory;
  int devices = 0;
  for (const auto& [function, count] : round.losses.blocks()) {
    if (isAnyOf(function, kKeptForGood)) {
      EXPECT_LE(count, 1) << "kept by " << function;
      continue;
    }
    EXPECT_TRUE(mayKeepDevice && isAnyOf(function, kKeptOfDevice))
        << "lost " << count << " blocks of " << function;
    devices += function.find("addSsdDevice") != std::string::npos ? count : 0;
  }
  if (plan.call != Call::kMemory) {
    EXPECT_EQ(devices, start.lostDevices);
  }
}

// ---- What clients must see

std::vector<std::string> watched(const Start& start) {
  std::vector<std::string> names;
  for (const auto& drive : theTill().machine.drives()) {
    if (start.missing.count(drive->name) == 0) {
      names.push_back(drive->name);
    }
  }
  return names;
}

/// The readings of the third generation of the drives that are watched.
Readings right(const Start& start) {
  Readings readings;
  unsigned number = 0;
  for (const auto& drive : theTill().machine.drives()) {
    ++number;
    if (start.missing.count(drive->name) == 0) {
      readings[drive->name] = {10 * number + 3, 1000 * number + 3};
    }
  }
  return readings;
}

void expectNextRequestRight(const Scenario& scenario, const Round& round, const Start& start) {
  if (start.dead || scenario.name == "cleanup" || scenario.name == "unload") {
    EXPECT_EQ(round.next.status.rc, CMPI_RC_ERR_METHOD_NOT_AVAILABLE);
    return;
  }
  const Readings expected = right(start);
  EXPECT_EQ(round.next.status.rc, expected.empty() ? CMPI_RC_ERR_FAILED : CMPI_RC_OK);
  EXPECT_EQ(text(shown(round.next)), text(expected));
  EXPECT_EQ(round.next.doneCalls, 1U);
}

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
void expectRecords(const Plan& plan, const Round& round, unsigned records) {
  const bool ofLog = std::any_of(round.calls.begin(), round.calls.end(), [](const auto& call) {
    return call.failed && (call.what == kLogFile || call.call == Call::kFstat);
  });
  const bool losesRecord =
      plan.call == Call::kFopen || plan.call == Call::kFstat || plan.call == Call::kFwrite;
  const bool isHalf = plan.failure.kind == Failure::kShort;
  if (ofLog && losesRecord && !plan.forEver) {
    EXPECT_EQ(round.logRecords, isHalf ? records : records - 1);
  } else if (ofLog && plan.call == Call::kFflush) {
    EXPECT_EQ(round.logRecords, records);
  }
}

void expectRight(const Scenario& scenario, const Plan& plan, const Round& round, unsigned records) {
  Start start;
  if (scenario.name == "start") {
    start = startAfter(round.calls, theTill().machine);
  }
  EXPECT_TRUE(round.unloaded);
  expectNextRequestRight(scenario, round, start);
  expectNoLosses(plan, round, start);
  expectCodes(scenario, round);
  expectRecords(plan, round, records);
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

// ---- What a shortage of memory may cost: the request, the poll, the line; never more

void expectBearable(const Scenario& scenario, const Plan& plan, const Round& round) {
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

// ---- The loops

class FaultLoop : public testing::TestWithParam<Scenario> {};

struct Score {
  unsigned sites = 0;
  unsigned rounds = 0;
};

void tryPlan(const Scenario& scenario, const Plan& plan, unsigned records, Score& score) {
  SCOPED_TRACE(plan.text());
  const Round round = run(scenario, plan);
  ++score.rounds;
  ASSERT_GE(round.made, plan.nth) << "the call to fail was never made";
  if (plan.call == Call::kMemory) {
    SCOPED_TRACE("refused to " + Memory::lastRefused(Till::library()));
    expectBearable(scenario, plan, round);
  } else {
    expectRight(scenario, plan, round, records);
  }
}

Score failEverySite(const Scenario& scenario, Call call) {
  Plan plan;
  plan.call = call;
  const Round clean = run(scenario, plan);
  {
    SCOPED_TRACE("nothing fails");
    expectRight(scenario, Plan{Call::kOpen, 0, false, {}}, clean, clean.logRecords);
  }
  Score score;
  score.sites = clean.made;
  for (plan.nth = 1; plan.nth <= clean.made && !testing::Test::HasFailure(); ++plan.nth) {
    for (const Failure& failure : failuresOf(call)) {
      plan.failure = failure;
      for (const bool forEver : {false, true}) {
        plan.forEver = forEver;
        tryPlan(scenario, plan, clean.logRecords, score);
      }
    }
  }
  return score;
}

TEST_P(FaultLoop, HasTheStatedResultWhateverSystemCallFails) {
  Score total;
  for (const Call call : allCalls()) {
    if (call == Call::kMemory) {
      continue;
    }
    const Score score = failEverySite(GetParam(), call);
    total.sites += score.sites;
    total.rounds += score.rounds;
  }
  std::cout << GetParam().name << ": " << total.sites << " calls failed in " << total.rounds
            << " ways\n";
}

TEST_P(FaultLoop, SurvivesTheFailureOfEveryAllocation) {
  const Score score = failEverySite(GetParam(), Call::kMemory);
  std::cout << GetParam().name << ": " << score.sites << " allocations failed in " << score.rounds
            << " ways\n";
}

INSTANTIATE_TEST_SUITE_P(Of, FaultLoop, testing::ValuesIn(scenarios()),
                         [](const auto& instance) { return instance.param.name; });

}  // namespace

/// For the names of the tests.
void PrintTo(const Scenario& scenario, std::ostream* out) { *out << scenario.name; }

}  // namespace fault
