#pragma once

#include <cmpi/cmpidt.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/ClassDeclaration.h"
#include "host/Instance.h"
#include "host/Journal.h"
#include "host/ObjectPath.h"

namespace cmpihost {

class BrokerState;

// An indication as a provider delivered it.
struct Indication {
  std::string nameSpace;
  Instance instance;
  std::vector<NamedValue> context;  // the entries of the context that it was delivered with
};

// How a call of newThread from a thread that the broker does not know ends. A broker knows the
// threads that run its requests, those that it started and those that are attached.
enum class UnknownCaller { kServed, kRefused, kAborts };

struct BrokerOptions {
  std::string name = "cmpihost";
  CMPIVersion version = 100;       // brokerVersion
  CMPIVersion tableVersion = 100;  // ftVersion of the broker's tables
  std::vector<NamedValue> contextEntries = {{"CMPIInvocationFlags", Value::uint32(0)},
                                            {"CMPIPrincipal", Value::string("root")}};
  UnknownCaller newThreadFromUnknown = UnknownCaller::kServed;
  // Properties set on instances of these classes are checked: another type is refused, a property
  // that the class does not have is silently dropped.
  std::vector<ClassDeclaration> checkedClasses = {};
  bool journal = true;  // keep a record of every call; it grows until it is cleared
};

// The broker's side of CMPI: the services that a provider calls. It owns every object that it hands
// out: those made during a request go with the request, those made on an attached thread with its
// detachment, the rest with the broker. It must outlive the providers that use it.
//
// Any thread may use it. Destroying it waits for the threads that providers started through it.
class Broker {
 public:
  // Throws HostError when there are already kMaxBrokers of them.
  explicit Broker(BrokerOptions options = {});
  ~Broker();
  Broker(const Broker&) = delete;
  Broker& operator=(const Broker&) = delete;

  static constexpr std::size_t kMaxBrokers = 32;

  // What a provider's factory is given.
  const CMPIBroker* cmpi() const;

  const BrokerOptions& options() const;

  // Makes the nth call (from now on, the first is 1) of a slot fail: it has no effect, answers
  // `rc` and, where it answers an object, null. The slot is named as in "setProperty"; to mean one
  // kind of object only, as in "instance.setProperty".
  void failCall(std::string call, unsigned nth, CMPIrc rc, std::string message = {});
  void failEveryCall(std::string call, CMPIrc rc, std::string message = {});

  // Makes the nth call answer null although it says CMPI_RC_OK. A newThread starts its thread all
  // the same: brokers do this with detached threads.
  void answerNull(std::string call, unsigned nth);

  void clearFaults();

  Journal& journal();

  // Takes the indications from now on, on the thread that delivers them, instead of the queue.
  // An empty function brings the queue back.
  void onIndication(std::function<void(const Indication&)> sink);

  // The next indication in the queue; waits for it up to `timeout`.
  std::optional<Indication> waitForIndication(std::chrono::milliseconds timeout);

  // Waits until no thread that a provider started runs any more; false if some still do.
  bool waitForThreads(std::chrono::milliseconds timeout);

  // How many objects the broker owns at this moment.
  std::size_t liveObjects() const;

  // For the other half of the host: the state that its table functions work on.
  BrokerState& state() { return *state_; }

 private:
  std::unique_ptr<BrokerState> state_;
};

}  // namespace cmpihost
