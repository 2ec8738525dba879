#pragma once

#include <string>
#include <vector>

#include "ssdlife/Drive.h"

namespace ssdlife {

// How a table of drives is to look.
struct TableStyle {
  std::vector<std::string> columns;  // none: the usual ones
  bool headings = true;
  std::size_t width = 0;  // of the terminal, in characters; 0: as wide as it gets
  bool colours = false;
};

// The names of all columns that there are.
std::vector<std::string> columnNames();

// A line for each drive. A column has no blanks, but the last one, in which those of the drive
// stay; elsewhere an underscore stands for one. What is wider than the terminal loses the usual
// columns in this order: LIFE, FIRMWARE, SOURCE, SERIAL; then texts are cut. Columns that were
// asked for are never dropped.
std::string driveTable(const std::vector<Drive>& drives, const TableStyle& style);

}  // namespace ssdlife
