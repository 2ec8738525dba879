#include "host/BrokerState.h"
#include "host/ObjectCalls.h"

namespace cmpihost {
namespace {

CMPIDateTime* clone(const CMPIDateTime* self, CMPIStatus* rc) {
  return cloneObject<DateTimeObject>(self, rc,
                                     [](const DateTimeObject& object) { return object.value; });
}

CMPIUint64 getBinaryFormat(const CMPIDateTime* self, CMPIStatus* rc) {
  const auto& object = objectOf<DateTimeObject>(self);
  if (const auto fault = object.broker().enter(object, "getBinaryFormat")) {
    failWithNull<void>(object.broker(), *fault, rc);
    return 0;
  }
  setStatus(rc, CMPI_RC_OK);
  return object.value.microseconds;
}

CMPIString* getStringFormat(const CMPIDateTime* self, CMPIStatus* rc) {
  const auto& object = objectOf<DateTimeObject>(self);
  BrokerState& broker = object.broker();
  if (const auto fault = broker.enter(object, "getStringFormat")) {
    return failWithNull<CMPIString>(broker, *fault, rc);
  }
  setStatus(rc, CMPI_RC_OK);
  return broker.create<StringObject>(object.value.text());
}

CMPIBoolean isInterval(const CMPIDateTime* self, CMPIStatus* rc) {
  const auto& object = objectOf<DateTimeObject>(self);
  if (const auto fault = object.broker().enter(object, "isInterval")) {
    failWithNull<void>(object.broker(), *fault, rc);
    return 0;
  }
  setStatus(rc, CMPI_RC_OK);
  return object.value.interval ? 1 : 0;
}

CMPIDateTimeFT makeTable() {
  CMPIDateTimeFT table{};
  table.ftVersion = CMPIVersion100;
  table.release = releaseObject<DateTimeObject, CMPIDateTime>;
  table.clone = clone;
  table.getBinaryFormat = getBinaryFormat;
  table.getStringFormat = getStringFormat;
  table.isInterval = isInterval;
  return table;
}

}  // namespace

CMPIDateTimeFT dateTimeTable = makeTable();

}  // namespace cmpihost
