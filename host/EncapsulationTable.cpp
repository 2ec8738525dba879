#include <utility>

#include "host/BrokerState.h"
#include "host/ObjectCalls.h"

namespace cmpihost {
namespace {

CMPIInstance* newInstance(const CMPIBroker* self, const CMPIObjectPath* path, CMPIStatus* rc) {
  BrokerState& broker = BrokerState::of(self);
  if (const auto fault = broker.enter("newInstance", {labelOf<ObjectPathObject>(path)})) {
    return failWithNull<CMPIInstance>(broker, *fault, rc);
  }
  if (path == nullptr) {
    setStatus(rc, CMPI_RC_ERR_INVALID_PARAMETER);
    return nullptr;
  }
  setStatus(rc, CMPI_RC_OK);
  return broker.create<InstanceObject>(Instance{objectOf<ObjectPathObject>(path).path, {}});
}

CMPIObjectPath* newObjectPath(const CMPIBroker* self, const char* ns, const char* cn,
                              CMPIStatus* rc) {
  BrokerState& broker = BrokerState::of(self);
  if (const auto fault = broker.enter("newObjectPath", {quoted(ns), quoted(cn)})) {
    return failWithNull<CMPIObjectPath>(broker, *fault, rc);
  }
  setStatus(rc, CMPI_RC_OK);
  return broker.create<ObjectPathObject>(ObjectPath{textOf(ns), textOf(cn)});
}

CMPIString* newString(const CMPIBroker* self, const char* text, CMPIStatus* rc) {
  BrokerState& broker = BrokerState::of(self);
  if (const auto fault = broker.enter("newString", {quoted(text)})) {
    return failWithNull<CMPIString>(broker, *fault, rc);
  }
  setStatus(rc, CMPI_RC_OK);
  return broker.create<StringObject>(textOf(text));
}

CMPIDateTime* newDateTime(const CMPIBroker* self, CMPIStatus* rc) {
  BrokerState& broker = BrokerState::of(self);
  if (const auto fault = broker.enter("newDateTime", {})) {
    return failWithNull<CMPIDateTime>(broker, *fault, rc);
  }
  setStatus(rc, CMPI_RC_OK);
  return broker.create<DateTimeObject>(DateTime::now());
}

CMPIDateTime* newDateTimeFromBinary(const CMPIBroker* self, CMPIUint64 microseconds,
                                    CMPIBoolean interval, CMPIStatus* rc) {
  BrokerState& broker = BrokerState::of(self);
  const DateTime value{microseconds, interval != 0};
  if (const auto fault = broker.enter("newDateTimeFromBinary", {value.text()})) {
    return failWithNull<CMPIDateTime>(broker, *fault, rc);
  }
  setStatus(rc, CMPI_RC_OK);
  return broker.create<DateTimeObject>(value);
}

CMPIDateTime* newDateTimeFromChars(const CMPIBroker* self, const char* text, CMPIStatus* rc) {
  BrokerState& broker = BrokerState::of(self);
  if (const auto fault = broker.enter("newDateTimeFromChars", {quoted(text)})) {
    return failWithNull<CMPIDateTime>(broker, *fault, rc);
  }
  const auto value = DateTime::fromText(textOf(text));
  setStatus(rc, value ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_PARAMETER);
  return value ? broker.create<DateTimeObject>(*value) : nullptr;
}

CMPIBoolean classPathIsA(const CMPIBroker* self, const CMPIObjectPath* path, const char* cn,
                         CMPIStatus* rc) {
  BrokerState& broker = BrokerState::of(self);
  if (const auto fault =
          broker.enter("classPathIsA", {labelOf<ObjectPathObject>(path), quoted(cn)})) {
    failWithNull<void>(broker, *fault, rc);
    return 0;
  }
  if (path == nullptr || cn == nullptr) {
    setStatus(rc, CMPI_RC_ERR_INVALID_PARAMETER);
    return 0;
  }
  // No schema, no superclasses: a class is itself and nothing else.
  setStatus(rc, CMPI_RC_OK);
  return sameName(objectOf<ObjectPathObject>(path).path.className, cn) ? 1 : 0;
}

}  // namespace

void fillEncapsulationTable(CMPIBrokerEncFT& table, const BrokerOptions& options) {
  table.ftVersion = options.tableVersion;
  table.newInstance = newInstance;
  table.newObjectPath = newObjectPath;
  table.newString = newString;
  table.newDateTime = newDateTime;
  table.newDateTimeFromBinary = newDateTimeFromBinary;
  table.newDateTimeFromChars = newDateTimeFromChars;
  table.classPathIsA = classPathIsA;
  refuse(table.newArgs, table.newArray, table.newSelectExp, table.toString, table.isOfType,
         table.getType, table.getMessage, table.logMessage, table.trace);
#ifdef CMPI_VER_200
  refuse(table.newCMPIError, table.openMessageFile, table.closeMessageFile, table.getMessage2);
#endif
#ifdef CMPI_VER_210
  refuse(table.newPropertyList, table.newStringCP, table.newEnumerationFilter);
#endif
}

}  // namespace cmpihost
