#pragma once

#include <string>
#include <vector>

#include "host/ObjectPath.h"

namespace cmpihost {

// An instance as a provider built it: every setProperty in the order of the calls. A property that
// was set twice is there twice; the last one counts.
struct Instance {
  ObjectPath path;
  std::vector<NamedValue> properties = {};

  // The value that counts, or null when the property was never set.
  const Value* property(const std::string& name) const;

  // The names in the order in which they were set, repetitions included.
  std::vector<std::string> propertyNames() const;
};

}  // namespace cmpihost
