#pragma once

#include <cmpi/cmpidt.h>

#include <map>
#include <string>

namespace cmpihost {

// A class as it is registered with an object manager: what a schema says of it, as far as a manager
// looks at that.
struct ClassDeclaration {
  std::string nameSpace;
  std::string className;
  std::string superclass;
  std::map<std::string, CMPIType> properties;
};

}  // namespace cmpihost
