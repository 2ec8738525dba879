#include <utility>

#include "host/BrokerState.h"
#include "host/ObjectCalls.h"

namespace cmpihost {
namespace {

// ---- Threads ----------------------------------------------------------------------------------

// The copy belongs to the thread that it is for, which may start long after this request.
CMPIContext* prepareAttachThread(const CMPIBroker* self, const CMPIContext* context) {
  BrokerState& broker = BrokerState::of(self);
  const auto fault = broker.enter("prepareAttachThread", {labelOf<ContextObject>(context)});
  if (fault) {
    return nullptr;
  }
  return broker.createLasting<ContextObject>(
      context == nullptr ? std::vector<NamedValue>{} : objectOf<ContextObject>(context).entries);
}

CMPIStatus attachThread(const CMPIBroker* self, const CMPIContext* context) {
  BrokerState& broker = BrokerState::of(self);
  if (const auto fault = broker.enter("attachThread", {labelOf<ContextObject>(context)})) {
    return broker.statusOf(*fault);
  }
  if (context == nullptr) {
    return {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
  }
  ThreadScopes::open(broker, context);
  return {CMPI_RC_OK, nullptr};
}

// Frees the prepared context, as brokers do, also when the attachment before it failed.
CMPIStatus detachThread(const CMPIBroker* self, const CMPIContext* context) {
  BrokerState& broker = BrokerState::of(self);
  if (context == nullptr) {
    broker.enter("detachThread", {"null"});
    return {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
  }
  const auto fault = broker.enter("detachThread", {labelOf<ContextObject>(context)});
  const bool attached = ThreadScopes::close(broker, context);
  broker.arena.take(&objectOf<ContextObject>(context));
  if (fault) {
    return broker.statusOf(*fault);
  }
  return {attached ? CMPI_RC_OK : CMPI_RC_ERR_FAILED, nullptr};
}

// ---- Indications ------------------------------------------------------------------------------

CMPIStatus deliverIndication(const CMPIBroker* self, const CMPIContext* context, const char* ns,
                             const CMPIInstance* instance) {
  BrokerState& broker = BrokerState::of(self);
  if (const auto fault = broker.enter(
          "deliverIndication",
          {labelOf<ContextObject>(context), quoted(ns), labelOf<InstanceObject>(instance)})) {
    return broker.statusOf(*fault);
  }
  if (context == nullptr || instance == nullptr) {
    return {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
  }
  broker.deliver({textOf(ns), objectOf<InstanceObject>(instance).instance,
                  objectOf<ContextObject>(context).entries});
  return {CMPI_RC_OK, nullptr};
}

}  // namespace

void fillBrokerTable(CMPIBrokerFT& table, const BrokerOptions& options) {
  table.brokerCapabilities = 0;
  table.brokerVersion = options.version;
  table.brokerName = options.name.c_str();
  table.prepareAttachThread = prepareAttachThread;
  table.attachThread = attachThread;
  table.detachThread = detachThread;
  table.deliverIndication = deliverIndication;
  // Requests from a provider to other providers: there are none here.
  refuse(table.enumerateInstanceNames, table.getInstance, table.createInstance,
         table.modifyInstance, table.deleteInstance, table.execQuery, table.enumerateInstances,
         table.associators, table.associatorNames, table.references, table.referenceNames,
         table.invokeMethod, table.setProperty, table.getProperty);
#ifdef CMPI_VER_210
  refuse(table.enumerateInstancesFiltered, table.associatorsFiltered, table.referencesFiltered);
#endif
}

}  // namespace cmpihost
