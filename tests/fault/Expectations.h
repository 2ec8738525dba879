#pragma once

#include "tests/fault/FaultLoop.h"

// What must hold after every round, whatever failed in it.
namespace fault {

/// Nothing is lost but what is kept on purpose. `start`: what became of the start in this round.
void expectNoLosses(const Plan& plan, const Round& round, const Start& start);

/// The request after the round shows every watched drive as it is.
void expectNextRequestRight(const Scenario& scenario, const Round& round, const Start& start);

/// The names of the drives that are watched after `start`.
std::vector<std::string> watched(const Start& start);

/// The parts of a round's log.
std::vector<std::string> logBefore(const Round& round);
std::vector<std::string> logWhile(const Round& round);
std::vector<std::string> logAfter(const Round& round);

/// How many calls were failed, in how many ways.
struct Score {
  unsigned sites = 0;  ///< calls that were failed
  unsigned made = 0;   ///< calls that there are: as many, unless a sample was taken
  unsigned ways = 0;

  Score& operator+=(const Score& other);
};

/// Says on standard output how many calls were failed; at least one must have been.
void report(const Scenario& scenario, const char* calls, const Score& score);

/// Which of many ways to try: every one, or with VEKSSD_FAULT_SAMPLE=7 the first and every seventh.
class Sample {
 public:
  Sample();
  bool takesNext() { return offered_++ % step_ == 0; }

 private:
  unsigned long step_;
  unsigned long offered_ = 0;
};

/// Judges one round; `clean` is the one in which nothing failed.
using Judge = void (*)(const Scenario& scenario, const Plan& plan, const Round& round,
                       const Round& clean);

/// Fails every call of the kind in every way, once and from then on.
Score failEverySite(const Scenario& scenario, Call call, Judge judge);

}  // namespace fault
