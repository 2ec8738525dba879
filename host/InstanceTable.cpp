#include <algorithm>

#include "host/BrokerState.h"
#include "host/ObjectCalls.h"

namespace cmpihost {
namespace {

CMPIInstance* clone(const CMPIInstance* self, CMPIStatus* rc) {
  return cloneObject<InstanceObject>(self, rc,
                                     [](const InstanceObject& object) { return object.instance; });
}

// What the instance's class, where the broker checks it, says to a property.
enum class Fit { kFits, kOtherType, kUnknown };

Fit fitOf(const InstanceObject& object, const NamedValue& set) {
  for (const ClassDeclaration& declared : object.broker().options.checkedClasses) {
    if (!sameName(declared.className, object.instance.path.className)) {
      continue;
    }
    const auto property =
        std::find_if(declared.properties.begin(), declared.properties.end(),
                     [&](const auto& known) { return sameName(known.first, set.name); });
    if (property == declared.properties.end()) {
      return Fit::kUnknown;
    }
    const CMPIType type = set.value.type() == CMPI_chars ? CMPI_string : set.value.type();
    return type == property->second ? Fit::kFits : Fit::kOtherType;
  }
  return Fit::kFits;
}

CMPIStatus setProperty(const CMPIInstance* self, const char* name, const CMPIValue* value,
                       CMPIType type) {
  auto& object = objectOf<InstanceObject>(self);
  const auto set = valueFromCmpi(value, type);
  if (const auto fault = object.broker().enter(
          object, "setProperty", {textOf(name), set ? set->describe() : typeName(type)})) {
    return object.broker().statusOf(*fault);
  }
  if (name == nullptr || !set) {
    return {name == nullptr ? CMPI_RC_ERR_INVALID_PARAMETER : CMPI_RC_ERR_INVALID_DATA_TYPE,
            nullptr};
  }
  const NamedValue property{name, *set};
  const Fit fit = fitOf(object, property);
  if (fit == Fit::kFits) {
    object.instance.properties.push_back(property);
  }
  return {fit == Fit::kOtherType ? CMPI_RC_ERR_INVALID_DATA_TYPE : CMPI_RC_OK, nullptr};
}

// Characters are a way to set a string: what is read is a string.
Value asRead(const Value& set) {
  if (set.type() != CMPI_chars) {
    return set;
  }
  return set.isNull() ? Value::null(CMPI_string) : Value::string(set.asText());
}

CMPIData getProperty(const CMPIInstance* self, const char* name, CMPIStatus* rc) {
  const auto& object = objectOf<InstanceObject>(self);
  BrokerState& broker = object.broker();
  if (const auto fault = broker.enter(object, "getProperty", {textOf(name)})) {
    return failWithNoValue(broker, *fault, rc);
  }
  const Value* const set = object.instance.property(textOf(name));
  const Value read = set != nullptr ? asRead(*set) : Value();
  return answerValue(broker, set != nullptr ? &read : nullptr, CMPI_RC_ERR_NO_SUCH_PROPERTY, rc);
}

// The properties as somebody who reads them counts them: each once, where it was first set.
std::vector<NamedValue> propertiesAsRead(const Instance& instance) {
  std::vector<NamedValue> read;
  for (const NamedValue& set : instance.properties) {
    const bool repeated = std::any_of(read.begin(), read.end(), [&](const NamedValue& earlier) {
      return sameName(earlier.name, set.name);
    });
    if (!repeated) {
      read.push_back({set.name, asRead(*instance.property(set.name))});
    }
  }
  return read;
}

CMPIData getPropertyAt(const CMPIInstance* self, CMPICount index, CMPIString** name,
                       CMPIStatus* rc) {
  const auto& object = objectOf<InstanceObject>(self);
  BrokerState& broker = object.broker();
  if (const auto fault = broker.enter(object, "getPropertyAt", {std::to_string(index)})) {
    return failWithNoValue(broker, *fault, rc);
  }
  return namedValueAt(broker, propertiesAsRead(object.instance), index, name, rc);
}

CMPICount getPropertyCount(const CMPIInstance* self, CMPIStatus* rc) {
  const auto& object = objectOf<InstanceObject>(self);
  if (const auto fault = object.broker().enter(object, "getPropertyCount")) {
    failWithNull<void>(object.broker(), *fault, rc);
    return 0;
  }
  setStatus(rc, CMPI_RC_OK);
  return static_cast<CMPICount>(propertiesAsRead(object.instance).size());
}

CMPIObjectPath* getObjectPath(const CMPIInstance* self, CMPIStatus* rc) {
  const auto& object = objectOf<InstanceObject>(self);
  BrokerState& broker = object.broker();
  if (const auto fault = broker.enter(object, "getObjectPath")) {
    return failWithNull<CMPIObjectPath>(broker, *fault, rc);
  }
  setStatus(rc, CMPI_RC_OK);
  return broker.create<ObjectPathObject>(object.instance.path);
}

CMPIStatus setObjectPath(const CMPIInstance* self, const CMPIObjectPath* path) {
  auto& object = objectOf<InstanceObject>(self);
  if (const auto fault =
          object.broker().enter(object, "setObjectPath", {labelOf<ObjectPathObject>(path)})) {
    return object.broker().statusOf(*fault);
  }
  if (path == nullptr) {
    return {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
  }
  object.instance.path = objectOf<ObjectPathObject>(path).path;
  return {CMPI_RC_OK, nullptr};
}

CMPIInstanceFT makeTable() {
  CMPIInstanceFT table{};
  table.ftVersion = CMPIVersion100;
  table.release = releaseObject<InstanceObject, CMPIInstance>;
  table.clone = clone;
  table.getProperty = getProperty;
  table.getPropertyAt = getPropertyAt;
  table.getPropertyCount = getPropertyCount;
  table.setProperty = setProperty;
  table.getObjectPath = getObjectPath;
  refuse(table.setPropertyFilter);
  table.setObjectPath = setObjectPath;
#ifdef CMPI_VER_200
  refuse(table.setPropertyWithOrigin);
#endif
  return table;
}

}  // namespace

CMPIInstanceFT instanceTable = makeTable();

}  // namespace cmpihost
