#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/CompiledModels.h"
#include "device/SsdAlgorithm.h"

/// One row of the supported-model table.
struct SsdModel {
  std::string model;  ///< the exact model text
  std::unique_ptr<SsdAlgorithm> algorithm;
};

using SupportedModels = std::vector<std::unique_ptr<SsdModel>>;

/// Builds the table; every row has an algorithm of its own.
std::unique_ptr<SupportedModels> makeSupportedModels();

/// The algorithm of the first row with exactly this model text, or null.
SsdAlgorithm* findAlgorithm(const SupportedModels& models, std::string_view model);
