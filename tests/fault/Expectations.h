#pragma once

#include "tests/fault/FaultLoop.h"

// What must hold after every round, whatever failed in it.
namespace fault {

constexpr char kLogFile[] = "/var/log/ssddrv/ssddrv.log";

/// Nothing is lost but what is kept on purpose. `start`: what became of the start in this round.
void expectNoLosses(const Plan& plan, const Round& round, const Start& start);

/// The request after the round shows every watched drive as it is.
void expectNextRequestRight(const Scenario& scenario, const Round& round, const Start& start);

/// The names of the drives that are watched after `start`.
std::vector<std::string> watched(const Start& start);

/// How many calls were failed, in how many ways.
struct Score {
  unsigned sites = 0;
  unsigned rounds = 0;
};

/// Judges one round; `clean` is the one in which nothing failed.
using Judge = void (*)(const Scenario& scenario, const Plan& plan, const Round& round,
                       const Round& clean);

/// Fails every call of the kind in every way, once and from then on.
Score failEverySite(const Scenario& scenario, Call call, Judge judge);

}  // namespace fault
