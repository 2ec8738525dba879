#include "tests/fault/Scenarios.h"

#include <ostream>

#include "tests/fault/Clock.h"

namespace fault {

namespace {

void nothing(Till& /*till*/) {}

void load(Till& till) { till.load(); }

/// The drives move on after the start, so that a reading that failed can be told.
void start(Till& till) {
  till.load();
  till.start();
  till.setGeneration(2);
}

void subscribe(Till& till) {
  start(till);
  till.subscribe();
}

void cleanUp(Till& till) {
  subscribe(till);
  till.cleanUp();
}

void poll() {
  for (unsigned i = 0; i < Till::kTicksPerPoll; ++i) {
    Clock::tick();
  }
}

Result requested(cmpihost::Reply reply) { return {{reply.status.rc}, {reply}, {}}; }

}  // namespace

void PrintTo(const Scenario& scenario, std::ostream* out) { *out << scenario.name; }

const std::vector<Scenario>& scenarios() {
  static const std::vector<Scenario> all = {
      {"load", nothing,
       [](Till& till) {
         till.load();
         return Result{};
       }},
      {"start", load,
       [](Till& till) {
         till.start();
         return Result{};
       }},
      {"names", start, [](Till& till) { return requested(till.names()); }},
      {"list", start, [](Till& till) { return requested(till.list()); }},
      {"get", start,
       [](Till& till) { return requested(till.get(till.machine.drive("nvme0").deviceId())); }},
      {"subscribe", start,
       [](Till& till) {
         return Result{till.subscribe(), {}, {}};
       }},
      {"event", subscribe,
       [](Till& till) {
         till.machine.drive("sda").percentage = 91;
         till.machine.drive("nvme0").percentage = 93;
         poll();
         return Result{{}, {}, till.takeIndications()};
       }},
      {"cleanup", subscribe,
       [](Till& till) {
         return Result{till.cleanUp(), {}, {}};
       }},
      {"unload", cleanUp,
       [](Till& till) {
         return Result{{till.unload() ? CMPI_RC_OK : CMPI_RC_ERR_FAILED}, {}, {}};
       }},
  };
  return all;
}

}  // namespace fault
