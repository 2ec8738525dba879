#include "host/Instance.h"

#include <algorithm>
#include <iterator>

namespace cmpihost {

const Value* Instance::property(const std::string& name) const {
  const auto found =
      std::find_if(properties.rbegin(), properties.rend(),
                   [&](const NamedValue& property) { return sameName(property.name, name); });
  return found == properties.rend() ? nullptr : &found->value;
}

std::vector<std::string> Instance::propertyNames() const {
  std::vector<std::string> names;
  names.reserve(properties.size());
  std::transform(properties.begin(), properties.end(), std::back_inserter(names),
                 [](const NamedValue& property) { return property.name; });
  return names;
}

}  // namespace cmpihost
