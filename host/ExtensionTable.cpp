#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <thread>
#include <utility>

#include "host/BrokerState.h"
#include "host/HostError.h"
#include "host/ObjectCalls.h"

namespace cmpihost {
namespace {

std::array<std::atomic<BrokerState*>, Broker::kMaxBrokers> slots{};

CMPI_THREAD_TYPE startThread(BrokerState& broker, CMPIThreadFunc start, void* parameter,
                             int detached) {
  const auto fault = broker.enter("newThread", {detached != 0 ? "detached" : "joinable"});
  if (fault && fault->rc != CMPI_RC_OK) {
    return nullptr;
  }
  if (!ThreadScopes::known(broker)) {
    switch (broker.options.newThreadFromUnknown) {
      case UnknownCaller::kServed:
        break;
      case UnknownCaller::kRefused:
        broker.journal.addViolation("newThread from a thread that the broker does not know");
        return nullptr;
      case UnknownCaller::kAborts:
        std::cerr << "cmpihost: newThread from a thread that the broker does not know\n";
        std::abort();
    }
  }
  void* const handle = broker.threads.start(start, parameter, detached != 0);
  return fault ? nullptr : handle;
}

int joinThread(BrokerState& broker, CMPI_THREAD_TYPE thread, CMPI_THREAD_RETURN* result) {
  const auto fault = broker.enter("joinThread", {});
  return fault ? EINVAL : broker.threads.join(thread, result);
}

// The pair of functions of one slot: they differ only in the broker that they mean.
template <std::size_t Slot>
struct Pair {
  static CMPI_THREAD_TYPE newThread(CMPIThreadFunc start, void* parameter, int detached) {
    BrokerState* const broker = slots[Slot];
    return broker == nullptr ? nullptr : startThread(*broker, start, parameter, detached);
  }

  static int joinThreadIn(CMPI_THREAD_TYPE thread, CMPI_THREAD_RETURN* result) {
    BrokerState* const broker = slots[Slot];
    return broker == nullptr ? EINVAL : joinThread(*broker, thread, result);
  }
};

struct PairOfFunctions {
  decltype(CMPIBrokerExtFT::newThread) newThread;
  decltype(CMPIBrokerExtFT::joinThread) joinThread;
};

template <std::size_t... Slots>
constexpr std::array<PairOfFunctions, sizeof...(Slots)> makePairs(std::index_sequence<Slots...>) {
  return {PairOfFunctions{Pair<Slots>::newThread, Pair<Slots>::joinThreadIn}...};
}

constexpr auto kPairs = makePairs(std::make_index_sequence<Broker::kMaxBrokers>{});

int threadSleep(CMPIUint32 milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
  return 0;
}

}  // namespace

std::size_t takeExtensionSlot(CMPIBrokerExtFT& table, BrokerState& broker) {
  for (std::size_t slot = 0; slot < slots.size(); ++slot) {
    BrokerState* vacant = nullptr;
    if (!slots[slot].compare_exchange_strong(vacant, &broker)) {
      continue;
    }
    table.ftVersion = broker.options.tableVersion;
    table.newThread = kPairs[slot].newThread;
    table.joinThread = kPairs[slot].joinThread;
    table.threadSleep = threadSleep;
    refuse(table.resolveFileName, table.exitThread, table.cancelThread, table.threadOnce,
           table.createThreadKey, table.destroyThreadKey, table.getThreadSpecific,
           table.setThreadSpecific, table.newMutex, table.destroyMutex, table.lockMutex,
           table.unlockMutex, table.newCondition, table.destroyCondition, table.condWait,
           table.timedCondWait, table.signalCondition);
#ifdef CMPI_VER_210
    refuse(table.destroyMutex2, table.lockMutex2, table.unlockMutex2, table.destroyCondition2);
#endif
    return slot;
  }
  throw HostError("there are already " + std::to_string(slots.size()) +
                  " brokers in this process, which is all that it can have");
}

void giveExtensionSlotBack(std::size_t slot) { slots[slot] = nullptr; }

}  // namespace cmpihost
