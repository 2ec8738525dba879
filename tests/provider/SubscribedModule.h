#pragma once

#include "provider/EntryPoints.h"
#include "provider/FunctionTables.h"
#include "tests/provider/ProviderFixture.h"

/// The module as a broker has it whose clients have subscribed, once they have.
class SubscribedModule : public ProviderTest {
 protected:
  /// Both MIs are created, a filter is active, indications are enabled.
  void subscribe() {
    (void)events::during([this] {
      SsdProvider_Create_InstanceMI(broker.cmpi(), broker.context(), nullptr);
      SsdProvider_Create_IndicationMI(broker.cmpi(), broker.context(), nullptr);
      activate();
      drvEnableIndications(&indicationMI, broker.context());
    });
  }
  CMPIStatus activate() {
    return drvActivateFilter(&indicationMI, broker.context(), nullptr, nullptr, failures(), 1);
  }
  CMPIStatus names() {
    return drvEnumInstanceNames(&instanceMI, broker.context(), broker.result(), ssds());
  }
  CMPIStatus instances() {
    return drvEnumInstances(&instanceMI, broker.context(), broker.result(), ssds(), nullptr);
  }
  CMPIStatus get(const char* id) {
    return drvGetInstance(&instanceMI, broker.context(), broker.result(),
                          broker.path(std::string(id)), nullptr);
  }
  CMPIObjectPath* ssds() { return broker.path("root/cimv2", "KAV_SSDLifeMonitor"); }
  CMPIObjectPath* failures() {
    return broker.path("root/cimv2", "KAV_SSDLifeMonitorFailureImminent");
  }
};
