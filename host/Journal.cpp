#include "host/Journal.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace cmpihost {

std::string BrokerCall::text() const {
  std::string out = on + '.' + name + '(';
  const char* separator = "";
  for (const std::string& argument : arguments) {
    out += separator + argument;
    separator = ", ";
  }
  return out + ')';
}

void Journal::add(BrokerCall call) {
  if (!enabled_) {
    return;
  }
  const std::lock_guard lock(mutex_);
  calls_.push_back(std::move(call));
}

void Journal::addViolation(std::string text) {
  const std::lock_guard lock(mutex_);
  violations_.push_back(std::move(text));
}

std::vector<BrokerCall> Journal::calls() const {
  const std::lock_guard lock(mutex_);
  return calls_;
}

std::vector<std::string> Journal::texts() const {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> texts;
  texts.reserve(calls_.size());
  std::transform(calls_.begin(), calls_.end(), std::back_inserter(texts),
                 [](const BrokerCall& call) { return call.text(); });
  return texts;
}

std::vector<std::string> Journal::violations() const {
  const std::lock_guard lock(mutex_);
  return violations_;
}

std::size_t Journal::count(const std::string& name) const { return callsTo(name).size(); }

std::vector<BrokerCall> Journal::callsTo(const std::string& name) const {
  const std::lock_guard lock(mutex_);
  std::vector<BrokerCall> found;
  std::copy_if(calls_.begin(), calls_.end(), std::back_inserter(found),
               [&](const BrokerCall& call) { return call.name == name; });
  return found;
}

void Journal::clear() {
  const std::lock_guard lock(mutex_);
  calls_.clear();
  violations_.clear();
}

}  // namespace cmpihost
