#pragma once

#include <cmpi/cmpift.h>

#include <atomic>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/Broker.h"
#include "host/Faults.h"
#include "host/Objects.h"
#include "host/ThreadScopes.h"
#include "host/Threads.h"
#include "host/TimedCondition.h"

namespace cmpihost {

// All that one broker is: its tables as the provider sees them, what it owns, what it watches.
class BrokerState {
 public:
  explicit BrokerState(BrokerOptions chosen);
  ~BrokerState();
  BrokerState(const BrokerState&) = delete;
  BrokerState& operator=(const BrokerState&) = delete;

  static BrokerState& of(const CMPIBroker* broker);

  const CMPIBroker* cmpi() const { return &cmpi_.broker; }

  // Every table function begins with one of these: journals the call and answers the fault that is
  // to meet it.
  std::optional<Fault> enter(const char* call, std::vector<std::string> arguments);
  std::optional<Fault> enter(const Object& on, const char* call,
                             std::vector<std::string> arguments = {});

  // Makes an object that goes with the request or attachment of this thread; on a thread that has
  // neither it goes with the broker.
  template <typename T, typename... Args>
  T* create(Args&&... args) {
    Arena* const scope = ThreadScopes::arena(*this);
    return (scope != nullptr ? *scope : arena)
        .add(std::make_unique<T>(*this, std::forward<Args>(args)...));
  }

  // Makes an object that stays until it is taken back or the broker goes.
  template <typename T, typename... Args>
  T* createLasting(Args&&... args) {
    return arena.add(std::make_unique<T>(*this, std::forward<Args>(args)...));
  }

  // "instance#2".
  std::string nextLabel(const char* kind);

  // The status that a fault answers, its message made by this broker.
  CMPIStatus statusOf(const Fault& fault);

  // Gives an indication to the sink, or to the queue where there is none.
  void deliver(Indication indication);

  const BrokerOptions options;
  Journal journal;
  Faults faults;
  std::atomic<std::size_t> liveObjects{0};
  Arena arena;
  Threads threads;

  void setSink(std::function<void(const Indication&)> sink);
  std::optional<Indication> waitForIndication(std::chrono::milliseconds timeout);

 private:
  // Providers made for a newer interface than this broker's find null where it has no slot.
  template <typename Table>
  struct WithRoomBehind {
    Table table{};
    void* none[8] = {};
  };
  struct BrokerWithRoomBehind {
    CMPIBroker broker{};
    void* none[2] = {};
  };

  WithRoomBehind<CMPIBrokerFT> bft_;
  WithRoomBehind<CMPIBrokerEncFT> eft_;
  WithRoomBehind<CMPIBrokerExtFT> xft_;
  BrokerWithRoomBehind cmpi_;
  std::size_t slot_ = 0;

  std::mutex labelMutex_;
  std::map<std::string, unsigned> labels_;

  std::mutex indicationMutex_;
  TimedCondition indicationArrived_;
  std::deque<Indication> indications_;
  std::function<void(const Indication&)> sink_;
};

// ---- The three tables, each built in a file of its own --------------------------------------

void fillBrokerTable(CMPIBrokerFT& table, const BrokerOptions& options);
void fillEncapsulationTable(CMPIBrokerEncFT& table, const BrokerOptions& options);

// newThread and joinThread are called without a broker: each broker has a pair of its own, taken
// from a fixed number of slots. Answers the slot; throws HostError when all are taken.
std::size_t takeExtensionSlot(CMPIBrokerExtFT& table, BrokerState& broker);
void giveExtensionSlotBack(std::size_t slot);

}  // namespace cmpihost
