#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "device/WearAttribute.h"

/// One row: which drives it is for, and where they keep their wear.
struct ModelRow {
  std::string model;  ///< the exact model text, or its beginning
  bool isBeginning = false;
  std::string firmware;  ///< how the firmware version begins; empty: any
  WearAttribute wear;
  unsigned line = 0;  ///< of the file, from 1
};

/// The rows of a models file: vekssdprov-models(5). Filled by one thread, then only read.
class ModelTable {
 public:
  /// Receives what is wrong with a line that is left out.
  using ProblemHandler = std::function<void(unsigned line, const std::string& problem)>;

  /// Adds the rows of the open text file `file`. Comments ("#" first) and blank lines are passed
  /// over. False if the file can't be read to its end.
  [[nodiscard]] bool read(std::FILE* file, const ProblemHandler& handler);

  /// The row that fits a drive best, or null: an exact model before a beginning, a longer beginning
  /// before a shorter one, then a longer firmware before a shorter one, of equals the last.
  [[nodiscard]] const ModelRow* find(std::string_view model, std::string_view firmware) const;

  [[nodiscard]] const std::vector<ModelRow>& rows() const { return _rows; }

 private:
  std::vector<ModelRow> _rows;
};
