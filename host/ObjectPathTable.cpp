#include "host/BrokerState.h"
#include "host/ObjectCalls.h"

namespace cmpihost {
namespace {

CMPIObjectPath* clone(const CMPIObjectPath* self, CMPIStatus* rc) {
  return cloneObject<ObjectPathObject>(self, rc,
                                       [](const ObjectPathObject& object) { return object.path; });
}

// ---- Names: each of the three is read and written in the same way -----------------------------

CMPIStatus setName(const CMPIObjectPath* self, const char* call, std::string ObjectPath::*name,
                   const char* text) {
  auto& object = objectOf<ObjectPathObject>(self);
  if (const auto fault = object.broker().enter(object, call, {quoted(text)})) {
    return object.broker().statusOf(*fault);
  }
  object.path.*name = textOf(text);
  return {CMPI_RC_OK, nullptr};
}

CMPIString* getName(const CMPIObjectPath* self, const char* call, std::string ObjectPath::*name,
                    CMPIStatus* rc) {
  const auto& object = objectOf<ObjectPathObject>(self);
  BrokerState& broker = object.broker();
  if (const auto fault = broker.enter(object, call)) {
    return failWithNull<CMPIString>(broker, *fault, rc);
  }
  setStatus(rc, CMPI_RC_OK);
  return broker.create<StringObject>(object.path.*name);
}

CMPIStatus setNameSpace(const CMPIObjectPath* self, const char* text) {
  return setName(self, "setNameSpace", &ObjectPath::nameSpace, text);
}

CMPIString* getNameSpace(const CMPIObjectPath* self, CMPIStatus* rc) {
  return getName(self, "getNameSpace", &ObjectPath::nameSpace, rc);
}

CMPIStatus setHostname(const CMPIObjectPath* self, const char* text) {
  return setName(self, "setHostname", &ObjectPath::hostName, text);
}

CMPIString* getHostname(const CMPIObjectPath* self, CMPIStatus* rc) {
  return getName(self, "getHostname", &ObjectPath::hostName, rc);
}

CMPIStatus setClassName(const CMPIObjectPath* self, const char* text) {
  return setName(self, "setClassName", &ObjectPath::className, text);
}

CMPIString* getClassName(const CMPIObjectPath* self, CMPIStatus* rc) {
  return getName(self, "getClassName", &ObjectPath::className, rc);
}

CMPIStatus copyNames(const CMPIObjectPath* self, const char* call, const CMPIObjectPath* source,
                     bool withHost) {
  auto& object = objectOf<ObjectPathObject>(self);
  if (const auto fault = object.broker().enter(object, call, {labelOf<ObjectPathObject>(source)})) {
    return object.broker().statusOf(*fault);
  }
  if (source == nullptr) {
    return {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
  }
  const auto& from = objectOf<ObjectPathObject>(source);
  object.path.nameSpace = from.path.nameSpace;
  if (withHost) {
    object.path.hostName = from.path.hostName;
  }
  return {CMPI_RC_OK, nullptr};
}

CMPIStatus setNameSpaceFrom(const CMPIObjectPath* self, const CMPIObjectPath* source) {
  return copyNames(self, "setNameSpaceFromObjectPath", source, false);
}

CMPIStatus setHostAndNameSpaceFrom(const CMPIObjectPath* self, const CMPIObjectPath* source) {
  return copyNames(self, "setHostAndNameSpaceFromObjectPath", source, true);
}

// ---- Keys -------------------------------------------------------------------------------------

CMPIStatus addKey(const CMPIObjectPath* self, const char* key, const CMPIValue* value,
                  CMPIType type) {
  auto& object = objectOf<ObjectPathObject>(self);
  const auto added = valueFromCmpi(value, type);
  if (const auto fault = object.broker().enter(
          object, "addKey", {textOf(key), added ? added->describe() : typeName(type)})) {
    return object.broker().statusOf(*fault);
  }
  if (key == nullptr || !added) {
    return {key == nullptr ? CMPI_RC_ERR_INVALID_PARAMETER : CMPI_RC_ERR_INVALID_DATA_TYPE,
            nullptr};
  }
  auto& keys = object.path.keys;
  for (NamedValue& present : keys) {
    if (sameName(present.name, key)) {
      present.value = *added;
      return {CMPI_RC_OK, nullptr};
    }
  }
  keys.push_back({key, *added});
  return {CMPI_RC_OK, nullptr};
}

CMPIData getKey(const CMPIObjectPath* self, const char* key, CMPIStatus* rc) {
  const auto& object = objectOf<ObjectPathObject>(self);
  BrokerState& broker = object.broker();
  if (const auto fault = broker.enter(object, "getKey", {textOf(key)})) {
    return failWithNoValue(broker, *fault, rc);
  }
  return answerValue(broker, object.path.key(textOf(key)), CMPI_RC_ERR_NOT_FOUND, rc);
}

CMPIData getKeyAt(const CMPIObjectPath* self, CMPICount index, CMPIString** name, CMPIStatus* rc) {
  const auto& object = objectOf<ObjectPathObject>(self);
  BrokerState& broker = object.broker();
  if (const auto fault = broker.enter(object, "getKeyAt", {std::to_string(index)})) {
    return failWithNoValue(broker, *fault, rc);
  }
  return namedValueAt(broker, object.path.keys, index, name, rc);
}

CMPICount getKeyCount(const CMPIObjectPath* self, CMPIStatus* rc) {
  const auto& object = objectOf<ObjectPathObject>(self);
  if (const auto fault = object.broker().enter(object, "getKeyCount")) {
    failWithNull<void>(object.broker(), *fault, rc);
    return 0;
  }
  setStatus(rc, CMPI_RC_OK);
  return static_cast<CMPICount>(object.path.keys.size());
}

CMPIString* toString(const CMPIObjectPath* self, CMPIStatus* rc) {
  const auto& object = objectOf<ObjectPathObject>(self);
  BrokerState& broker = object.broker();
  if (const auto fault = broker.enter(object, "toString")) {
    return failWithNull<CMPIString>(broker, *fault, rc);
  }
  setStatus(rc, CMPI_RC_OK);
  return broker.create<StringObject>(object.path.text());
}

CMPIObjectPathFT makeTable() {
  CMPIObjectPathFT table{};
  table.ftVersion = CMPIVersion100;
  table.release = releaseObject<ObjectPathObject, CMPIObjectPath>;
  table.clone = clone;
  table.setNameSpace = setNameSpace;
  table.getNameSpace = getNameSpace;
  table.setHostname = setHostname;
  table.getHostname = getHostname;
  table.setClassName = setClassName;
  table.getClassName = getClassName;
  table.addKey = addKey;
  table.getKey = getKey;
  table.getKeyAt = getKeyAt;
  table.getKeyCount = getKeyCount;
  table.setNameSpaceFromObjectPath = setNameSpaceFrom;
  table.setHostAndNameSpaceFromObjectPath = setHostAndNameSpaceFrom;
  refuse(table.getClassQualifier, table.getPropertyQualifier, table.getMethodQualifier,
         table.getParameterQualifier);
  table.toString = toString;
  return table;
}

}  // namespace

CMPIObjectPathFT objectPathTable = makeTable();

}  // namespace cmpihost
