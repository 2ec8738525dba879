#include "core/SupportedModels.h"

#include <algorithm>

#include "device/SanDiskAlgo.h"
#include "device/SolidStateLogStatisticsAlgo.h"
#include "device/SolidStateLogStatisticsNVMeAlgo.h"

namespace {

std::unique_ptr<SsdAlgorithm> makeAlgorithm(CompiledWear wear) {
  switch (wear) {
    case CompiledWear::kAttribute230:
      return std::make_unique<SanDiskAlgo>();
    case CompiledWear::kDeviceStatistics:
      return std::make_unique<SolidStateLogStatisticsAlgo>();
    case CompiledWear::kNvmeHealthLog:
      break;
  }
  return std::make_unique<SolidStateLogStatisticsNVMeAlgo>();
}

}  // namespace

std::unique_ptr<SupportedModels> makeSupportedModels() {
  auto models = std::make_unique<SupportedModels>();
  models->reserve(kCompiledModels.size());
  for (const CompiledModel& row : kCompiledModels) {
    models->push_back(std::make_unique<SsdModel>(SsdModel{row.model, makeAlgorithm(row.wear)}));
  }
  return models;
}

SsdAlgorithm* findAlgorithm(const SupportedModels& models, std::string_view model) {
  const auto found = std::find_if(models.begin(), models.end(),
                                  [model](const auto& known) { return known->model == model; });
  return found == models.end() ? nullptr : (*found)->algorithm.get();
}
