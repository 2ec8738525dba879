#include "host/ObjectPath.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace cmpihost {
namespace {

std::string valueText(const Value& value) {
  const std::string described = value.describe();
  // The type in front is for journals; a path only shows the value.
  return value.isNull() ? "NULL" : described.substr(described.find(' ') + 1);
}

}  // namespace

ObjectPath ObjectPath::withKey(std::string name, Value value) const {
  ObjectPath longer = *this;
  longer.keys.push_back({std::move(name), std::move(value)});
  return longer;
}

const Value* ObjectPath::key(const std::string& name) const {
  const auto found = std::find_if(keys.begin(), keys.end(),
                                  [&](const NamedValue& key) { return sameName(key.name, name); });
  return found == keys.end() ? nullptr : &found->value;
}

std::string ObjectPath::text() const {
  std::string out = nameSpace + ':' + className;
  char separator = '.';
  for (const NamedValue& key : keys) {
    out += separator + key.name + '=' + valueText(key.value);
    separator = ',';
  }
  return out;
}

bool sameName(const std::string& a, const std::string& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](unsigned char x, unsigned char y) {
    return std::tolower(x) == std::tolower(y);
  });
}

}  // namespace cmpihost
