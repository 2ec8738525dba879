#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace cmpihost {

// One call that a provider made into the broker.
struct BrokerCall {
  std::string on;    // what it was made on: "broker", or an object such as "instance#2"
  std::string name;  // the slot: "setProperty"
  std::vector<std::string> arguments;
  std::thread::id thread;
  bool failed = false;  // the call was made to fail

  // `instance#2.setProperty(PercentageUsed, uint8 34)`
  std::string text() const;
};

// Every call into one broker, in the order in which the calls began. Any thread may use it.
class Journal {
 public:
  explicit Journal(bool enabled) : enabled_(enabled) {}

  bool enabled() const { return enabled_; }

  void add(BrokerCall call);

  // A provider did what no broker has to bear (it used an object that it had released).
  void addViolation(std::string text);

  std::vector<BrokerCall> calls() const;
  std::vector<std::string> texts() const;
  std::vector<std::string> violations() const;

  // How often the slot was called, whatever it was called on.
  std::size_t count(const std::string& name) const;

  // The slot's calls only.
  std::vector<BrokerCall> callsTo(const std::string& name) const;

  void clear();

 private:
  const bool enabled_;
  mutable std::mutex mutex_;
  std::vector<BrokerCall> calls_;
  std::vector<std::string> violations_;
};

}  // namespace cmpihost
