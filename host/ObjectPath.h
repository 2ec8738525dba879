#pragma once

#include <string>
#include <vector>

#include "host/Value.h"

namespace cmpihost {

// A name and a value: a key of an object path, a property of an instance, an entry of a context.
struct NamedValue {
  std::string name;
  Value value;

  friend bool operator==(const NamedValue& a, const NamedValue& b) {
    return a.name == b.name && a.value == b.value;
  }
};

// Which class in which namespace and, with keys, which of its instances.
struct ObjectPath {
  std::string nameSpace;
  std::string className;
  std::vector<NamedValue> keys = {};
  std::string hostName = {};

  // The same path with one more key.
  ObjectPath withKey(std::string name, Value value) const;

  // The key of that name, ignoring letter case as CIM does; null when there is none.
  const Value* key(const std::string& name) const;

  // "root/cimv2:KAV_SSDLifeMonitor.DeviceID="..."".
  std::string text() const;
};

// Names in CIM are equal whatever the case of their letters.
bool sameName(const std::string& a, const std::string& b);

}  // namespace cmpihost
