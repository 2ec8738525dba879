#include "host/BrokerState.h"

#include <utility>

namespace cmpihost {

BrokerState::BrokerState(BrokerOptions chosen)
    : options(std::move(chosen)), journal(options.journal), threads(*this) {
  fillBrokerTable(bft_.table, options);
  fillEncapsulationTable(eft_.table, options);
  slot_ = takeExtensionSlot(xft_.table, *this);
  cmpi_.broker.hdl = this;
  cmpi_.broker.bft = &bft_.table;
  cmpi_.broker.eft = &eft_.table;
  cmpi_.broker.xft = &xft_.table;
}

BrokerState::~BrokerState() {
  // First of all: the threads use everything else.
  threads.joinAll();
  giveExtensionSlotBack(slot_);
}

BrokerState& BrokerState::of(const CMPIBroker* broker) {
  // From version 2.1 on the handle is a pointer to constant; what it points to never was one.
  return *static_cast<BrokerState*>(const_cast<void*>(static_cast<const void*>(broker->hdl)));
}

std::optional<Fault> BrokerState::enter(const char* call, std::vector<std::string> arguments) {
  auto fault = faults.meet("broker", call);
  journal.add(
      {"broker", call, std::move(arguments), std::this_thread::get_id(), fault.has_value()});
  return fault;
}

std::optional<Fault> BrokerState::enter(const Object& on, const char* call,
                                        std::vector<std::string> arguments) {
  if (on.released()) {
    journal.addViolation(on.label() + '.' + call + " after its release");
  }
  auto fault = faults.meet(on.kind(), call);
  journal.add(
      {on.label(), call, std::move(arguments), std::this_thread::get_id(), fault.has_value()});
  return fault;
}

std::string BrokerState::nextLabel(const char* kind) {
  const std::lock_guard lock(labelMutex_);
  return std::string(kind) + '#' + std::to_string(++labels_[kind]);
}

CMPIStatus BrokerState::statusOf(const Fault& fault) {
  CMPIString* message = fault.message.empty() ? nullptr : create<StringObject>(fault.message);
  return {fault.rc, message};
}

void BrokerState::deliver(Indication indication) {
  std::function<void(const Indication&)> sink;
  {
    const std::lock_guard lock(indicationMutex_);
    sink = sink_;
    if (!sink) {
      indications_.push_back(std::move(indication));
      indicationArrived_.notify_one();
      return;
    }
  }
  sink(indication);
}

void BrokerState::setSink(std::function<void(const Indication&)> sink) {
  const std::lock_guard lock(indicationMutex_);
  sink_ = std::move(sink);
}

std::optional<Indication> BrokerState::waitForIndication(std::chrono::milliseconds timeout) {
  std::unique_lock lock(indicationMutex_);
  if (!indicationArrived_.wait_for(lock, timeout, [this] { return !indications_.empty(); })) {
    return std::nullopt;
  }
  Indication next = std::move(indications_.front());
  indications_.pop_front();
  return next;
}

// ---- Broker -----------------------------------------------------------------------------------

Broker::Broker(BrokerOptions options) : state_(std::make_unique<BrokerState>(std::move(options))) {}

Broker::~Broker() = default;

const CMPIBroker* Broker::cmpi() const { return state_->cmpi(); }

const BrokerOptions& Broker::options() const { return state_->options; }

void Broker::failCall(std::string call, unsigned nth, CMPIrc rc, std::string message) {
  state_->faults.arm(std::move(call), nth, {rc, std::move(message)});
}

void Broker::failEveryCall(std::string call, CMPIrc rc, std::string message) {
  state_->faults.arm(std::move(call), Faults::kEvery, {rc, std::move(message)});
}

void Broker::answerNull(std::string call, unsigned nth) {
  state_->faults.arm(std::move(call), nth, {CMPI_RC_OK, {}});
}

void Broker::clearFaults() { state_->faults.clear(); }

Journal& Broker::journal() { return state_->journal; }

void Broker::onIndication(std::function<void(const Indication&)> sink) {
  state_->setSink(std::move(sink));
}

std::optional<Indication> Broker::waitForIndication(std::chrono::milliseconds timeout) {
  return state_->waitForIndication(timeout);
}

bool Broker::waitForThreads(std::chrono::milliseconds timeout) {
  return state_->threads.waitUntilNoneRuns(timeout);
}

std::size_t Broker::liveObjects() const { return state_->liveObjects; }

}  // namespace cmpihost
