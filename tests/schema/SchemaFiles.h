#pragma once

#include <map>
#include <string>
#include <vector>

// What the schema tests read: the files in schema/, as they are delivered.
namespace schemafiles {

// The text of a file of schema/. Throws std::runtime_error when it can't be read.
std::string read(const std::string& name);

// A registration file of sfcb.
struct Section {
  std::string className;
  std::map<std::string, std::vector<std::string>> fields;  // each with its words
};
std::vector<Section> readRegistration(const std::string& name);

}  // namespace schemafiles
