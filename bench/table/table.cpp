// Turns measurements into the table, the summary and the plot.
//
//   bench_table RESULTS SUMMARY DETAILS PLOT
//
// RESULTS is the directory with the measurements; the table goes to standard output, the others to
// the files named. Exits with 1 when a measurement is missing or found its own results wrong, else
// with 0, whether or not all goals are met.

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "bench/table/Plot.h"
#include "bench/table/Results.h"
#include "bench/table/Rows.h"

namespace {

using nlohmann::ordered_json;
using table::Row;

std::string fixed(double value, int digits) {
  std::array<char, 64> text;
  std::snprintf(text.data(), text.size(), "%.*f", digits, value);
  return text.data();
}

std::string figureText(const Row& row) {
  if (!row.figure) {
    return row.remark;
  }
  const int digits = row.figure->median < 0.1 ? 4 : row.figure->median < 10 ? 2 : 1;
  std::string text = fixed(row.figure->median, digits);
  if (row.figure->low != row.figure->high) {
    text += " (" + fixed(row.figure->low, digits) + ".." + fixed(row.figure->high, digits) + ")";
  }
  return text;
}

std::string goalText(const Row& row) {
  std::string goal = fixed(row.goal, 2);
  goal.erase(goal.find_last_not_of('0') + 1);
  if (goal.back() == '.') {
    goal.pop_back();
  }
  return "at most " + goal + (row.met() ? "" : row.figure ? "  MISSED" : "  not measured");
}

void printTable(const std::vector<Row>& rows) {
  using Line = std::array<std::string, 5>;
  std::vector<Line> lines = {{"what", "ours", "compared with", "ratio", "goal"}};
  for (const Row& row : rows) {
    lines.push_back({row.what, row.ours, row.comparedWith, figureText(row), goalText(row)});
  }
  std::array<std::size_t, 5> widths{};
  for (const Line& line : lines) {
    for (std::size_t i = 0; i < line.size(); ++i) {
      widths[i] = std::max(widths[i], line[i].size());
    }
  }
  for (std::size_t n = 0; n < lines.size(); ++n) {
    std::string text = "|";
    std::string rule = "|";
    for (std::size_t i = 0; i < widths.size(); ++i) {
      text += " " + lines[n][i] + std::string(widths[i] - lines[n][i].size(), ' ') + " |";
      rule += std::string(widths[i] + 2, '-') + "|";
    }
    std::printf("%s\n", text.c_str());
    if (n == 0) {
      std::printf("%s\n", rule.c_str());
    }
  }
}

void printRemarks(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    if (row.figure && !row.met() && !row.remark.empty()) {
      std::printf("\n%s: %s\n", row.key.c_str(), row.remark.c_str());
    }
  }
}

void writeFile(const char* path, const std::string& text) {
  std::ofstream file(path);
  file << text;
  if (!file.flush()) {
    throw table::ResultError(std::string("can't write ") + path);
  }
}

/// One figure to a row; null where there is none.
ordered_json summary(const std::vector<Row>& rows) {
  ordered_json all;
  for (const Row& row : rows) {
    all[row.key] = row.figure ? ordered_json(row.figure->median) : ordered_json();
  }
  return all;
}

ordered_json details(const std::vector<Row>& rows) {
  ordered_json all;
  for (const Row& row : rows) {
    ordered_json& entry = all[row.key];
    entry = {{"what", row.what}, {"ours", row.ours}, {"compared_with", row.comparedWith}};
    if (row.figure) {
      entry["figure"] = row.figure->median;
      entry["low"] = row.figure->low;
      entry["high"] = row.figure->high;
    }
    if (!row.met()) {
      entry["remark"] = row.remark;
    }
    entry["goal"] = row.goal;
    entry["met"] = row.met();
  }
  return all;
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 5) {
    std::fprintf(stderr, "usage: bench_table RESULTS SUMMARY DETAILS PLOT\n");
    return 2;
  }
  const std::vector<Row> rows = table::makeRows(argv[1]);
  printTable(rows);
  printRemarks(rows);
  writeFile(argv[2], summary(rows).dump(2) + "\n");
  writeFile(argv[3], details(rows).dump(2) + "\n");
  writeFile(argv[4], table::plot(table::listCosts(argv[1])));
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "bench: %s\n", error.what());
  return 1;
}
