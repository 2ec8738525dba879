#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>

#include <cmpi/cmpift.h>

#include "host/Broker.h"
#include "host/Provider.h"

/// A process that does to the library what hosts do that were not written with it in mind.
namespace rough {

/// What a host does, by the name under which a test asks for it.
using Behaviours = std::map<std::string, std::function<void()>>;

// A file each.
Behaviours signalling();
Behaviours cancelling();
Behaviours exiting();
Behaviours unloading();
Behaviours throwing();
Behaviours shortOfStack();

/// Ends the process with status 1 and this text unless it holds.
void expect(bool holds, const std::string& what);

/// Waits until the library's log holds `text` so many times.
void waitForLog(const std::string& text, std::size_t times);

std::chrono::milliseconds timeOf(const std::function<void()>& action);

constexpr char kLibrary[] = VEKSSD_LIBRARY;

/// The library in the hands of a broker; never destroyed, since most of these processes end in the
/// middle of something.
class Till {
 public:
  static Till& load(const std::string& brokerName = "cmpihost");
  /// Loads it and makes both MIs.
  static Till& start(const std::string& brokerName = "cmpihost");

  /// Activates a filter and enables indications.
  void subscribe();
  /// The code of the answer to enumerateInstances.
  CMPIrc list();
  /// Cleans both MIs up.
  void cleanUp();
  /// Gives the library up without waiting for the threads that it started.
  void unloadAtOnce();

  /// The calls of the broker with this name and its parenthesis, so far.
  [[nodiscard]] std::size_t callsOf(const std::string& name);

  cmpihost::Broker broker;
  cmpihost::Provider provider;
  // What the library calls: a behaviour puts functions of its own into them.
  CMPIBrokerFT& calls;
  CMPIBrokerExtFT& threadCalls;

 private:
  explicit Till(const std::string& brokerName);
};

}  // namespace rough
