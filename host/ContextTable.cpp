#include <algorithm>

#include "host/BrokerState.h"
#include "host/ObjectCalls.h"

namespace cmpihost {
namespace {

CMPIContext* clone(const CMPIContext* self, CMPIStatus* rc) {
  return cloneObject<ContextObject>(self, rc,
                                    [](const ContextObject& object) { return object.entries; });
}

CMPIData getEntry(const CMPIContext* self, const char* name, CMPIStatus* rc) {
  const auto& object = objectOf<ContextObject>(self);
  BrokerState& broker = object.broker();
  if (const auto fault = broker.enter(object, "getEntry", {textOf(name)})) {
    return failWithNoValue(broker, *fault, rc);
  }
  const auto found = std::find_if(
      object.entries.begin(), object.entries.end(),
      [wanted = textOf(name)](const NamedValue& entry) { return entry.name == wanted; });
  const Value* const value = found == object.entries.end() ? nullptr : &found->value;
  return answerValue(broker, value, CMPI_RC_ERR_NOT_FOUND, rc);
}

CMPIData getEntryAt(const CMPIContext* self, CMPICount index, CMPIString** name, CMPIStatus* rc) {
  const auto& object = objectOf<ContextObject>(self);
  BrokerState& broker = object.broker();
  if (const auto fault = broker.enter(object, "getEntryAt", {std::to_string(index)})) {
    return failWithNoValue(broker, *fault, rc);
  }
  return namedValueAt(broker, object.entries, index, name, rc);
}

CMPICount getEntryCount(const CMPIContext* self, CMPIStatus* rc) {
  const auto& object = objectOf<ContextObject>(self);
  if (const auto fault = object.broker().enter(object, "getEntryCount")) {
    failWithNull<void>(object.broker(), *fault, rc);
    return 0;
  }
  setStatus(rc, CMPI_RC_OK);
  return static_cast<CMPICount>(object.entries.size());
}

CMPIStatus addEntry(const CMPIContext* self, const char* name, const CMPIValue* value,
                    CMPIType type) {
  auto& object = objectOf<ContextObject>(self);
  const auto added = valueFromCmpi(value, type);
  if (const auto fault = object.broker().enter(
          object, "addEntry", {textOf(name), added ? added->describe() : typeName(type)})) {
    return object.broker().statusOf(*fault);
  }
  if (name == nullptr || !added) {
    return {name == nullptr ? CMPI_RC_ERR_INVALID_PARAMETER : CMPI_RC_ERR_INVALID_DATA_TYPE,
            nullptr};
  }
  object.entries.push_back({name, *added});
  return {CMPI_RC_OK, nullptr};
}

CMPIContextFT makeTable() {
  CMPIContextFT table{};
  table.ftVersion = CMPIVersion100;
  table.release = releaseObject<ContextObject, CMPIContext>;
  table.clone = clone;
  table.getEntry = getEntry;
  table.getEntryAt = getEntryAt;
  table.getEntryCount = getEntryCount;
  table.addEntry = addEntry;
  return table;
}

}  // namespace

CMPIContextFT contextTable = makeTable();

}  // namespace cmpihost
