// A host that cancels its own threads while they are in the library.

#include <pthread.h>
#include <unistd.h>

#include "tests/rough/Host.h"

namespace rough {

namespace {

using Action = std::function<void()>;

/// Does `action` on a thread that is cancelled so many microseconds later; whether that ended it.
bool cancelled(Action action, useconds_t after) {
  const auto act = [](void* argument) -> void* {
    (*static_cast<Action*>(argument))();
    pthread_testcancel();
    return nullptr;
  };
  pthread_t thread = 0;
  pthread_create(&thread, nullptr, act, &action);
  usleep(after);
  pthread_cancel(thread);
  void* result = nullptr;
  pthread_join(thread, &result);
  return result == PTHREAD_CANCELED;
}

/// At one moment after the other while the drive answers.
void cancelRequests() {
  Till& till = Till::start();
  till.subscribe();
  unsigned ended = 0;
  for (useconds_t after = 0; after < 40000; after += 1000) {
    ended += cancelled([&] { (void)till.list(); }, after) ? 1 : 0;
  }
  expect(ended > 10, "hardly any thread was cancelled");
  expect(till.list() == CMPI_RC_OK, "the next request is not answered");
  till.cleanUp();
}

CMPIStatus releaseAndCancel(CMPIContext* /*context*/) {
  pthread_cancel(pthread_self());
  return {CMPI_RC_OK, nullptr};
}

/// While the provider gives its indication context back, with lines still to be logged.
void cancelCleanUp() {
  static CMPIContext prepared;
  static CMPIContextFT table;
  Till& till = Till::start();
  till.calls.prepareAttachThread = [](const CMPIBroker*, const CMPIContext* context) {
    table = *context->ft;
    table.release = releaseAndCancel;
    prepared = {context->hdl, &table};
    return &prepared;
  };
  till.subscribe();
  expect(cancelled([&] { till.cleanUp(); }, 0), "the clean-up's thread was not cancelled");
  (void)till.provider.createInstanceMI();
  expect(till.list() == CMPI_RC_OK, "the next request is not answered");
}

/// While the drives are being read for the first time.
void cancelFactory() {
  Till& till = Till::load();
  expect(cancelled([&] { (void)till.provider.createInstanceMI(); }, 20000),
         "the factory's thread was not cancelled");
  expect(till.list() == CMPI_RC_OK, "the provider was left half made");
}

}  // namespace

Behaviours cancelling() {
  return {{"cancel-requests", cancelRequests},
          {"cancel-clean-up", cancelCleanUp},
          {"cancel-factory", cancelFactory}};
}

}  // namespace rough
