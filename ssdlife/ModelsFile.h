#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/ModelTable.h"

namespace ssdlife {

// A line of a models file that the provider leaves out, or that never counts.
struct ModelsProblem {
  unsigned line;
  std::string what;
};

// A models file, read as the provider reads it.
struct ModelsFile {
  std::string path;  // empty: none is set
  ModelTable table;
  std::vector<ModelsProblem> problems;
};

// Reads the file. Throws Failure when it can't be read.
ModelsFile readModelsFile(const std::string& path);

// The file that ssddrv.ini names. Throws Failure when there is one and it can't be read.
ModelsFile modelsFileInForce();

// The row as it stands in a file: "Model*=231 current left agrees raw left".
std::string rowText(const ModelRow& row);

}  // namespace ssdlife
