#include "tests/fault/Expectations.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <set>

#include <gtest/gtest.h>

#include "tests/fault/Memory.h"
#include "tests/fault/Records.h"

namespace fault {

namespace {

// ---- What the library keeps when it leaves the process, and why

/// The log handler with its file's name, and the configuration: never destroyed, so that the last
/// line of the unloading library can still be written.
const std::set<std::string> kKeptForGood = {"(anonymous namespace)::makeLogHandler()",
                                            "FileLogHandler::GetConfig()", "Config::GetInstance()"};

/// A device whose set-up failed: neither listed nor deleted, since the listener may know it. Which
/// of the manager's functions makes it is the compiler's choice.
const std::set<std::string> kKeptOfDevice = {"SsdManager::",
                                             "SsdDevice::initialise",
                                             "SsdDevice::chooseRow",
                                             "makeSupportedModels",
                                             "SsdModel",
                                             "(anonymous namespace)::makeAlgorithm"};

bool isAnyOf(const std::string& name, const std::set<std::string>& beginnings) {
  return std::any_of(beginnings.begin(), beginnings.end(), [&](const std::string& beginning) {
    return name.find(beginning) != std::string::npos;
  });
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

void tryPlan(const Scenario& scenario, const Plan& plan, const Round& clean, Judge judge,
             Score& score) {
  SCOPED_TRACE(plan.text());
  const Round round = run(scenario, plan);
  ++score.ways;
  ASSERT_GE(round.made, plan.nth) << "the call to fail was never made";
  judge(scenario, plan, round, clean);
}

using Records = std::vector<std::string>;

Records part(const Records& log, std::size_t begin, std::size_t end) {
  const auto at = [&](std::size_t index) {
    return log.begin() + static_cast<std::ptrdiff_t>(std::min(index, log.size()));
  };
  return {at(begin), at(end)};
}

}  // namespace

Records logBefore(const Round& round) { return part(round.log, 0, round.logged[0]); }

Records logWhile(const Round& round) { return part(round.log, round.logged[0], round.logged[1]); }

Records logAfter(const Round& round) { return part(round.log, round.logged[1], round.log.size()); }

Sample::Sample() {
  const char* step = std::getenv("VEKSSD_FAULT_SAMPLE");
  step_ = step == nullptr ? 1UL : std::max(1UL, std::strtoul(step, nullptr, 10));
}

Score& Score::operator+=(const Score& other) {
  sites += other.sites;
  made += other.made;
  ways += other.ways;
  return *this;
}

void report(const Scenario& scenario, const char* calls, const Score& score) {
  // Subscribing only locks, which a sanitizer keeps to itself.
  const bool mayBeNone = scenario.name == "subscribe" && !Memory::seesAllocations();
  EXPECT_TRUE(score.sites > 0 || mayBeNone) << "nothing was failed";
  EXPECT_GE(score.ways, score.sites);
  std::cout << scenario.name << (theTill().traced() ? " (traced)" : "") << ": " << score.sites
            << " of " << score.made << ' ' << calls << " failed in " << score.ways << " ways\n";
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
    devices += function.find("SsdManager::") != std::string::npos ? count : 0;
  }
  if (plan.call != Call::kMemory && Memory::seesAllocations()) {
    EXPECT_EQ(devices, start.lostDevices);
  }
}

std::vector<std::string> watched(const Start& start) {
  std::vector<std::string> names;
  for (const auto& drive : theTill().machine.drives()) {
    if (start.missing.count(drive->name) == 0) {
      names.push_back(drive->name);
    }
  }
  return names;
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

Score failEverySite(const Scenario& scenario, Call call, Judge judge) {
  Plan plan;
  plan.call = call;
  const Round clean = run(scenario, plan);
  {
    SCOPED_TRACE("nothing fails");
    judge(scenario, plan, clean, clean);
  }
  Score score;
  score.made = clean.made;
  Sample sample;
  for (plan.nth = 1; plan.nth <= clean.made && !testing::Test::HasFailure(); ++plan.nth) {
    const unsigned before = score.ways;
    for (const Failure& failure : failuresOf(call)) {
      plan.failure = failure;
      for (const bool forEver : {false, true}) {
        plan.forEver = forEver;
        if (sample.takesNext()) {
          tryPlan(scenario, plan, clean, judge, score);
        }
      }
    }
    score.sites += score.ways > before ? 1 : 0;
  }
  return score;
}

}  // namespace fault
