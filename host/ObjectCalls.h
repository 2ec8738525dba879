#pragma once

#include <cmpi/cmpift.h>

#include "host/BrokerState.h"
#include "host/Marshal.h"
#include "host/Refuse.h"

// What the functions of all kinds of objects have in common.
namespace cmpihost {

// For journals: "instance#2"; "null" for a null pointer.
template <typename T, typename Cmpi>
std::string labelOf(const Cmpi* cmpi) {
  return cmpi == nullptr ? "null" : objectOf<T>(cmpi).label();
}

// The answer of a call that gives a pointer, when it is made to fail.
template <typename T>
T* failWithNull(BrokerState& broker, const Fault& fault, CMPIStatus* rc) {
  if (rc != nullptr) {
    *rc = broker.statusOf(fault);
  }
  return nullptr;
}

// The answer of a call that gives data, when it is made to fail.
inline CMPIData failWithNoValue(BrokerState& broker, const Fault& fault, CMPIStatus* rc) {
  if (rc != nullptr) {
    *rc = broker.statusOf(fault);
  }
  return noSuchValue();
}

// The answer of a call that gives data that may not be there.
inline CMPIData answerValue(BrokerState& broker, const Value* value, CMPIrc missing,
                            CMPIStatus* rc) {
  setStatus(rc, value != nullptr ? CMPI_RC_OK : missing);
  return value != nullptr ? valueToCmpi(broker, *value) : noSuchValue();
}

template <typename T, typename Cmpi>
CMPIStatus releaseObject(Cmpi* self) {
  T& object = objectOf<T>(self);
  BrokerState& broker = object.broker();
  if (const auto fault = broker.enter(object, "release")) {
    return broker.statusOf(*fault);
  }
  // A second release has been noted by enter() already.
  return {object.release() ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE, nullptr};
}

// A clone belongs to whoever made it and outlives the request.
template <typename T, typename Cmpi, typename Content>
Cmpi* cloneObject(const Cmpi* self, CMPIStatus* rc, Content content) {
  T& object = objectOf<T>(self);
  BrokerState& broker = object.broker();
  if (const auto fault = broker.enter(object, "clone", {})) {
    return failWithNull<Cmpi>(broker, *fault, rc);
  }
  setStatus(rc, CMPI_RC_OK);
  return broker.createLasting<T>(content(object));
}

// The nth of named values, its name through `name` as a string of the broker.
inline CMPIData namedValueAt(BrokerState& broker, const std::vector<NamedValue>& values,
                             CMPICount index, CMPIString** name, CMPIStatus* rc) {
  if (index >= values.size()) {
    setStatus(rc, CMPI_RC_ERR_NOT_FOUND);
    return noSuchValue();
  }
  if (name != nullptr) {
    *name = broker.create<StringObject>(values[index].name);
  }
  setStatus(rc, CMPI_RC_OK);
  return valueToCmpi(broker, values[index].value);
}

}  // namespace cmpihost
