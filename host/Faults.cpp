#include "host/Faults.h"

#include <utility>

namespace cmpihost {

void Faults::arm(std::string call, unsigned nth, Fault fault) {
  const std::lock_guard lock(mutex_);
  armed_.push_back({std::move(call), nth, std::move(fault)});
}

void Faults::clear() {
  const std::lock_guard lock(mutex_);
  armed_.clear();
}

std::optional<Fault> Faults::meet(const std::string& kind, const std::string& call) {
  const std::lock_guard lock(mutex_);
  std::optional<Fault> met;
  for (Armed& armed : armed_) {
    if (armed.call != call && armed.call != kind + '.' + call) {
      continue;
    }
    ++armed.seen;
    if (!met && (armed.nth == kEvery || armed.nth == armed.seen)) {
      met = armed.fault;
    }
  }
  return met;
}

}  // namespace cmpihost
