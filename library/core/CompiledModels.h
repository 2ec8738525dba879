#pragma once

#include <array>
#include <cstdint>
#include <string_view>

/// What a compiled row reads.
enum class CompiledWear : std::uint8_t { kAttribute230, kDeviceStatistics, kNvmeHealthLog };

struct CompiledModel {
  const char* model;  ///< the exact model text
  CompiledWear wear;
};

/// The rows that serve drives without one of their own. Ordinary rows otherwise: a drive may bear
/// such a name.
constexpr char kDefaultAtaModel[] = "DEF_SSDLOG_ALGO";
constexpr char kDefaultNvmeModel[] = "DEF_NVME_ALGO";

/// The models that the library knows by itself, in the order of the search.
constexpr std::array<CompiledModel, 12> kCompiledModels = {{
    {"SanDisk SSD P4 64GB", CompiledWear::kAttribute230},
    {"SanDisk SSD U100 64GB", CompiledWear::kDeviceStatistics},
    {"SanDisk SSD U100 128GB", CompiledWear::kDeviceStatistics},
    {"SanDisk SD6SA1M064G", CompiledWear::kDeviceStatistics},
    {"SanDisk SD6SA1M128G", CompiledWear::kDeviceStatistics},
    {"SanDisk SD6SN1M064G", CompiledWear::kDeviceStatistics},
    {"SanDisk SD6SN1M128G", CompiledWear::kDeviceStatistics},
    {"SanDisk SD6SA1M064G1011", CompiledWear::kDeviceStatistics},
    {"SanDisk SD6SA1M128G1011", CompiledWear::kDeviceStatistics},
    {"TS64GHSD630", CompiledWear::kDeviceStatistics},
    {kDefaultAtaModel, CompiledWear::kDeviceStatistics},
    {kDefaultNvmeModel, CompiledWear::kNvmeHealthLog},
}};

/// The row of this very model, or null.
constexpr const CompiledModel* findCompiledModel(std::string_view model) {
  for (const CompiledModel& row : kCompiledModels) {
    if (row.model == model) {
      return &row;
    }
  }
  return nullptr;
}
