#include "core/SupportedModels.h"

#include <algorithm>
#include <array>

#include "device/SanDiskAlgo.h"
#include "device/SolidStateLogStatisticsAlgo.h"
#include "device/SolidStateLogStatisticsNVMeAlgo.h"

namespace {

template <typename Algorithm>
std::unique_ptr<SsdAlgorithm> make() {
  return std::make_unique<Algorithm>();
}

struct Row {
  const char* model;
  std::unique_ptr<SsdAlgorithm> (*makeAlgorithm)();
};

constexpr std::array<Row, 12> kRows = {{
    {"SanDisk SSD P4 64GB", make<SanDiskAlgo>},
    {"SanDisk SSD U100 64GB", make<SolidStateLogStatisticsAlgo>},
    {"SanDisk SSD U100 128GB", make<SolidStateLogStatisticsAlgo>},
    {"SanDisk SD6SA1M064G", make<SolidStateLogStatisticsAlgo>},
    {"SanDisk SD6SA1M128G", make<SolidStateLogStatisticsAlgo>},
    {"SanDisk SD6SN1M064G", make<SolidStateLogStatisticsAlgo>},
    {"SanDisk SD6SN1M128G", make<SolidStateLogStatisticsAlgo>},
    {"SanDisk SD6SA1M064G1011", make<SolidStateLogStatisticsAlgo>},
    {"SanDisk SD6SA1M128G1011", make<SolidStateLogStatisticsAlgo>},
    {"TS64GHSD630", make<SolidStateLogStatisticsAlgo>},
    {kDefaultAtaModel, make<SolidStateLogStatisticsAlgo>},
    {kDefaultNvmeModel, make<SolidStateLogStatisticsNVMeAlgo>},
}};

}  // namespace

std::unique_ptr<SupportedModels> makeSupportedModels() {
  auto models = std::make_unique<SupportedModels>();
  models->reserve(kRows.size());
  for (const Row& row : kRows) {
    models->push_back(std::make_unique<SsdModel>(SsdModel{row.model, row.makeAlgorithm()}));
  }
  return models;
}

SsdAlgorithm* findAlgorithm(const SupportedModels& models, std::string_view model) {
  const auto found = std::find_if(models.begin(), models.end(),
                                  [model](const auto& known) { return known->model == model; });
  return found == models.end() ? nullptr : (*found)->algorithm.get();
}
