#include "tests/schema/SchemaFiles.h"

#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace schemafiles {

std::string read(const std::string& name) {
  std::ifstream file(SCHEMA_DIRECTORY "/" + name);
  if (!file) {
    throw std::runtime_error("no file schema/" + name);
  }
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<Section> readRegistration(const std::string& name) {
  std::vector<Section> sections;
  std::istringstream lines(read(name));
  for (std::string line; std::getline(lines, line);) {
    if (line == "#") {
      continue;
    }
    if (line.front() == '[' && line.back() == ']') {
      sections.push_back({line.substr(1, line.size() - 2), {}});
      continue;
    }
    std::istringstream words(line);
    std::string field;
    words >> field;
    if (sections.empty() || field.back() != ':') {
      throw std::runtime_error("schema/" + name + ": no field: " + line);
    }
    field.pop_back();
    for (std::string word; words >> word;) {
      sections.back().fields[field].push_back(word);
    }
  }
  return sections;
}

}  // namespace schemafiles
