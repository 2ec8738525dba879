// Each scenario is run once to count the library's allocations, then with each of them failing,
// once and with all later ones. It costs the request, the poll or the log line in which it happens,
// never the process.

#include <algorithm>
#include <regex>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "tests/fault/Expectations.h"
#include "tests/fault/Memory.h"
#include "tests/fault/Records.h"

namespace fault {

namespace {

/// What the library logs when something fails, and what it then counts.
bool tellsOfFailure(const std::string& record) {
  static const std::regex texts(
      "Error\\t[^]*|"
      "Debug\\t(SsdManager::[a-zA-Z]+ - found [0-9]+ SSD devices|"
      "SsdDevice::getSsdData - (algo failed|POH = [0-9]+, Percentage Used = 255)|"
      "SsdProvider::[a-zA-Z]+ - No instances? found)\n");
  return std::regex_match(record, texts);
}

/// A drive that there was no memory to read shows what its kind shows after any other failure.
bool isBearable(const Drive& drive, Reading reading, const Round& round) {
  const Reading now = round.now.at(drive.name);
  const Reading before = round.before.at(drive.name);
  switch (drive.kind) {
    case Drive::kAttribute:
      return reading == now || reading == before;
    case Drive::kStatistics:
      return reading == now || reading == before || reading == (Reading{255, now.hours});
    case Drive::kNvme:
      return reading == now;
  }
  return false;
}

/// The request is answered once: in full, or as failed with what had been returned by then. One
/// allocation costs at most the reading of one drive.
void expectRequest(const Scenario& scenario, const Plan& plan, const Round& round,
                   const Round& clean) {
  const cmpihost::Reply& reply = round.result.replies.at(0);
  const cmpihost::Reply& full = clean.result.replies.at(0);
  EXPECT_EQ(reply.doneCalls, 1U);
  EXPECT_TRUE(reply.status.rc == CMPI_RC_OK || reply.status.rc == CMPI_RC_ERR_FAILED)
      << reply.status.rc;
  EXPECT_LE(reply.paths.size(), full.paths.size());
  EXPECT_LE(reply.instances.size(), full.instances.size());
  if (reply.status.ok()) {
    EXPECT_EQ(reply.paths.size(), full.paths.size());
    EXPECT_EQ(reply.instances.size(), full.instances.size());
  }
  unsigned unread = 0;
  for (const auto& [name, reading] : shown(reply)) {
    EXPECT_TRUE(isBearable(theTill().machine.drive(name), reading, round))
        << scenario.name << ": " << name << ' ' << reading.percentage << "% " << reading.hours
        << "h";
    unread += reading == round.now.at(name) ? 0 : 1;
  }
  EXPECT_LE(unread, plan.nth == 0 ? 0U : plan.forEver ? 3U : 1U);
}

/// The codes of a till in which nothing fails, or failures.
void expectCodes(const Round& round, const Round& clean) {
  ASSERT_EQ(round.result.codes.size(), clean.result.codes.size());
  for (std::size_t i = 0; i < round.result.codes.size(); ++i) {
    const CMPIrc code = round.result.codes[i];
    EXPECT_TRUE(code == clean.result.codes[i] || code == CMPI_RC_ERR_FAILED) << code;
  }
}

bool saysThatThereIsNoProvider(const std::string& record) {
  return record.find("Provider malloc failed") != std::string::npos;
}

/// A record is lost or one of a failure comes; no other is touched. What comes after the shortage
/// is logged as if there had been none, unless something is left to be made up for.
void expectLog(const Scenario& scenario, const Round& round, const Round& clean) {
  EXPECT_EQ(logBefore(round), logBefore(clean));
  std::vector<std::string> some = logWhile(round);
  std::vector<std::string> usual = logWhile(clean);
  if (std::any_of(some.begin(), some.end(), saysThatThereIsNoProvider)) {
    // The other factory makes it.
    std::sort(some.begin(), some.end());
    std::sort(usual.begin(), usual.end());
  }
  for (const std::string& record : foreign(some, usual)) {
    EXPECT_TRUE(tellsOfFailure(record)) << record;
  }
  const bool isMadeUpFor = scenario.name == "load" || scenario.name == "start" ||
                           round.result.codes != clean.result.codes ||
                           round.result.indications != clean.result.indications;
  if (!isMadeUpFor) {
    EXPECT_EQ(logAfter(round), logAfter(clean));
  }
}

/// A drive that there was no memory for is left out; so is everything if there was none at all.
Start startShown(const Round& round) {
  Start start;
  const Readings seen = shown(round.next);
  start.dead = round.next.status.rc == CMPI_RC_ERR_METHOD_NOT_AVAILABLE;
  for (const auto& drive : theTill().machine.drives()) {
    if (seen.count(drive->name) == 0) {
      start.missing.insert(drive->name);
    }
  }
  return start;
}

/// No drive reports twice, and each that is watched once.
void expectOneIndicationEach(const Round& round, const Start& start) {
  std::vector<std::string> all = round.result.indications;
  all.insert(all.end(), round.nextIndications.begin(), round.nextIndications.end());
  std::sort(all.begin(), all.end());
  EXPECT_EQ(std::adjacent_find(all.begin(), all.end()), all.end()) << testing::PrintToString(all);
  EXPECT_LE(all.size(), watched(start).size());
}

/// It costs the request, the poll or the line; never more.
void expectBearable(const Scenario& scenario, const Plan& plan, const Round& round,
                    const Round& clean) {
  SCOPED_TRACE(plan.nth == 0 ? "" : "refused to " + Memory::lastRefused(Till::library()));
  EXPECT_TRUE(round.unloaded);
  expectCodes(round, clean);
  if (!round.result.replies.empty()) {
    expectRequest(scenario, plan, round, clean);
  }
  expectLog(scenario, round, clean);
  const Start start = scenario.name == "start" ? startShown(round) : Start{};
  if (plan.nth != 0 && !plan.forEver && !start.dead) {
    EXPECT_LE(start.missing.size(), 1U) << "one allocation costs one drive";
  }
  expectNextRequestRight(scenario, round, start);
  expectNoLosses(plan, round, start);
  expectOneIndicationEach(round, start);
}

class MemoryFaultLoop : public testing::TestWithParam<Scenario> {};

TEST_P(MemoryFaultLoop, CostsOnlyWhatWasBeingDone) {
  const Score score = failEverySite(GetParam(), Call::kMemory, expectBearable);
  report(GetParam(), "allocations", score);
}

/// Unloading takes memory for its records alone.
std::vector<Scenario> scenariosWithMemory() {
  std::vector<Scenario> some = scenarios();
  if (!theTill().traced()) {
    some.erase(std::remove_if(some.begin(), some.end(),
                              [](const Scenario& scenario) { return scenario.name == "unload"; }),
               some.end());
  }
  return some;
}

INSTANTIATE_TEST_SUITE_P(Of, MemoryFaultLoop, testing::ValuesIn(scenariosWithMemory()),
                         [](const auto& instance) { return instance.param.name; });

}  // namespace

}  // namespace fault
