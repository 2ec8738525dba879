#pragma once

#include <string>

#include "core/ModelTable.h"

/// The rows of the models file at `path`; none, and the file is not looked for, if `path` is empty.
/// What can't be used is logged, with its line, and left out.
[[nodiscard]] ModelTable readModelsFile(const std::string& path);
