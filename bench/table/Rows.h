#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "bench/table/Results.h"

namespace table {

/// One line of the table.
struct Row {
  std::string key;
  std::string what;
  std::string ours;
  std::string comparedWith;
  std::optional<Spread> figure;  ///< nothing if it couldn't be measured here
  double goal;                   ///< the figure is to be at most this
  std::string remark;            ///< why it couldn't be measured, or why the goal may be missed

  [[nodiscard]] bool met() const { return figure && figure->median <= goal; }
};

/// Every row, from the measurements in `directory`. Throws ResultError.
[[nodiscard]] std::vector<Row> makeRows(const std::filesystem::path& directory);

/// The time of a list request for a number of drives, in microseconds.
struct ListCost {
  unsigned drives;
  Spread ours;
  Spread bare;
};

[[nodiscard]] std::vector<ListCost> listCosts(const std::filesystem::path& directory);

}  // namespace table
