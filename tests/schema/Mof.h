#pragma once

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

// As much of MOF as the project's schema is written in.
namespace mof {

class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The words of a qualifier, in order: none for `Key`, one for `Units ( "Hours" )`, several for an
// array. Neighbouring strings are one word.
using Words = std::vector<std::string>;
using Qualifiers = std::map<std::string, Words>;

struct Property {
  std::string name;
  std::string type;
  Qualifiers qualifiers;
};

struct Class {
  std::string name;
  std::string superclass;  // empty for none
  Qualifiers qualifiers;
  std::vector<Property> properties;

  const Property* property(const std::string& propertyName) const;
};

// `instance of CLASS { NAME = VALUE; ... };`
struct Instance {
  std::string className;
  std::map<std::string, Words> values;

  // The one word of a value. Throws Error when it has another number of them.
  const std::string& value(const std::string& name) const;
};

struct File {
  std::vector<Class> classes;
  std::vector<Instance> instances;

  // Throws Error for a class that isn't declared.
  const Class& classNamed(const std::string& name) const;
};

// Throws Error, with the line, for what is no MOF.
File parse(const std::string& text);

}  // namespace mof
