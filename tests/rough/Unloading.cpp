// A host that lets the library go while something is still on its way.

#include <atomic>
#include <thread>

#include <unistd.h>

#include "tests/rough/Host.h"

namespace rough {

namespace {

/// Starts no thread, whatever it says.
void startNothing(bool saysSo) {
  static bool null;
  null = saysSo;
  Till& till = Till::start();
  till.threadCalls.newThread = [](CMPIThreadFunc, void*, int) {
    return null ? nullptr : static_cast<void*>(&null);
  };
  till.subscribe();
  expect(till.list() == CMPI_RC_OK, "no drives");
  till.cleanUp();
  expect(till.callsOf("release") == 1, "the indication context is kept");
  const auto passed = timeOf([&] { till.unloadAtOnce(); });
  expect(passed < std::chrono::milliseconds(1600),
         "unloading took " + std::to_string(passed.count()) + " ms");
}

/// Starts its threads when the provider has gone.
void startTooLate() {
  static std::atomic<bool> go{false};
  static CMPIBrokerExtFT own;
  Till& till = Till::start();
  own = till.threadCalls;
  till.threadCalls.newThread = [](CMPIThreadFunc function, void* argument, int) -> void* {
    std::thread([=] {
      while (!go) {
        usleep(1000);
      }
      (void)function(argument);
    }).detach();
    return nullptr;
  };
  till.subscribe();
  expect(till.list() == CMPI_RC_OK, "no drives");
  till.cleanUp();
  expect(till.callsOf("release") == 1, "the indication context is kept");
  const std::size_t prepared = till.callsOf("prepareAttachThread");
  go = true;
  till.unloadAtOnce();
  expect(till.callsOf("prepareAttachThread") == prepared, "a context was used that has gone");
}

void deliverSlowly() {
  Till& till = Till::start();
  std::atomic<bool> delivering{false};
  till.broker.onIndication([&](const cmpihost::Indication&) {
    delivering = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
  });
  till.subscribe();
  expect(till.list() == CMPI_RC_OK, "no drives");
  while (!delivering) {
    usleep(1000);
  }
  till.cleanUp();
  till.unloadAtOnce();
}

void unloadManyDrives() {
  Till& till = Till::start();
  till.cleanUp();
  const auto passed = timeOf([&] { till.unloadAtOnce(); });
  expect(passed < std::chrono::milliseconds(1500),
         "unloading took " + std::to_string(passed.count()) + " ms");
}

void lookAtHandles() {
  Till& till = Till::start();
  const CMPIInstanceMI* instances = till.provider.instanceMI();
  const CMPIIndicationMI* indications = till.provider.indicationMI();
  expect(instances->hdl != nullptr, "the factory that made the provider sets no handle");
  till.cleanUp();
  expect(instances->hdl == nullptr && indications->hdl == nullptr,
         "a handle of the provider that has gone");
}

}  // namespace

Behaviours unloading() {
  return {{"start-nothing", [] { startNothing(true); }},
          {"start-nothing-and-lie", [] { startNothing(false); }},
          {"start-too-late", startTooLate},
          {"deliver-slowly", deliverSlowly},
          {"unload-many-drives", unloadManyDrives},
          {"look-at-handles", lookAtHandles}};
}

}  // namespace rough
