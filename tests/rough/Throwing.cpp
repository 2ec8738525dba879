// A broker written in C++ whose functions throw.

#include <stdexcept>

#include "tests/rough/Host.h"

namespace rough {

namespace {

struct NoStandardException {};

CMPIContext* prepareNothing(const CMPIBroker* /*broker*/, const CMPIContext* /*context*/) {
  throw NoStandardException();
}

CMPIStatus attachNothing(const CMPIBroker* /*broker*/, const CMPIContext* /*context*/) {
  throw std::runtime_error("no");
}

CMPIStatus detachNothing(const CMPIBroker* /*broker*/, const CMPIContext* /*context*/) {
  throw NoStandardException();
}

void* startNothing(CMPIThreadFunc /*function*/, void* /*argument*/, int /*detached*/) {
  throw NoStandardException();
}

/// An event after `arrange`, and then the end.
void sendAfter(const std::string& brokerName, const std::function<void(Till&)>& arrange) {
  Till& till = Till::start(brokerName);
  till.subscribe();
  arrange(till);
  expect(till.list() == CMPI_RC_OK, "the request that brings the event is not answered");
  expect(till.broker.waitForThreads(std::chrono::seconds(20)), "a thread does not end");
  till.cleanUp();
  till.unloadAtOnce();
}

void throwInRequest() {
  Till& till = Till::start();
  CMPIContext* (*const prepare)(const CMPIBroker*, const CMPIContext*) =
      till.calls.prepareAttachThread;
  till.calls.prepareAttachThread = prepareNothing;
  const cmpihost::Filter failures = {"KAV_SSDLifeMonitorFailureImminent"};
  expect(till.provider.activateFilter(failures, 1).rc == CMPI_RC_ERR_FAILED,
         "the activation does not fail");
  till.calls.prepareAttachThread = prepare;
  till.subscribe();
  expect(till.list() == CMPI_RC_OK, "the next request is not answered");
}

void throwInCleanUp() {
  static CMPIContext prepared;
  static CMPIContextFT table;
  Till& till = Till::start();
  till.calls.prepareAttachThread = [](const CMPIBroker*, const CMPIContext* context) {
    table = *context->ft;
    table.release = [](CMPIContext*) -> CMPIStatus { throw NoStandardException(); };
    prepared = {context->hdl, &table};
    return &prepared;
  };
  till.subscribe();
  till.cleanUp();
}

}  // namespace

Behaviours throwing() {
  const auto sending = [](const std::string& broker, const std::function<void(Till&)>& arrange) {
    return [=] { sendAfter(broker, arrange); };
  };
  return {
      {"throw-in-prepare",
       sending("cmpihost", [](Till& till) { till.calls.prepareAttachThread = prepareNothing; })},
      {"throw-in-attach",
       sending("cmpihost", [](Till& till) { till.calls.attachThread = attachNothing; })},
      {"throw-in-detach",
       sending("cmpihost", [](Till& till) { till.calls.detachThread = detachNothing; })},
      {"throw-in-start",
       sending("cmpihost", [](Till& till) { till.threadCalls.newThread = startNothing; })},
      // This one has the calling thread attached, and detached again.
      {"throw-in-the-callers-detach",
       sending("Pegasus", [](Till& till) { till.calls.detachThread = detachNothing; })},
      {"throw-in-request", throwInRequest},
      {"throw-in-clean-up", throwInCleanUp},
  };
}

}  // namespace rough
