#include "bench/table/Rows.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

using nlohmann::json;
using table::Benchmarks;
using table::Repetitions;
using table::Row;
using table::Spread;
namespace fs = std::filesystem;

constexpr std::array<unsigned, 3> kListSizes = {1, 10, 100};

std::string format(const char* pattern, double value) {
  std::array<char, 64> text;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  std::snprintf(text.data(), text.size(), pattern, value);
#pragma GCC diagnostic pop
  return text.data();
}

std::string duration(double nanoseconds) {
  if (nanoseconds < 1e3) {
    return format("%.1f ns", nanoseconds);
  }
  return nanoseconds < 1e6 ? format("%.2f us", nanoseconds / 1e3)
                           : format("%.2f ms", nanoseconds / 1e6);
}

const Repetitions& named(const Benchmarks& benchmarks, const std::string& name) {
  const auto found = benchmarks.find(name);
  if (found == benchmarks.end()) {
    throw table::ResultError(name + " was not run");
  }
  return found->second;
}

/// A row whose figure is a quotient of two benchmarks of one group.
struct Pair {
  const char* key;
  const char* what;
  const char* group;
  const char* ours;
  const char* reference;
  const char* referenceText;
  double goal;
};

constexpr std::array<Pair, 11> kPairs = {{
    {"log_suppressed", "a suppressed Log call", "log_suppressed", "log_suppressed/ours",
     "log_suppressed/reference", "spdlog's disabled level", 0.5},
    {"log_line_floor", "a written log line", "log_line", "log_line/ours", "log_line/floor",
     "one fstat, one write", 1.35},
    {"log_line_spdlog", "a written log line", "log_line", "log_line/ours", "log_line/spdlog",
     "spdlog, flushed, and fstat", 1.05},
    {"read_nvme", "one reading, NVMe", "read_nvme", "read_nvme/ours", "read_nvme/reference",
     "bare system calls", 1.15},
    {"read_sandisk", "one reading, SanDisk", "read_sandisk", "read_sandisk/ours",
     "read_sandisk/reference", "bare system calls", 1.15},
    {"read_stats", "one reading, statistics", "read_stats", "read_stats/ours",
     "read_stats/reference", "bare system calls", 1.15},
    {"list_1", "list request, 1 drive", "list_1", "list/ours", "list/reference",
     "bare system calls", 1.2},
    {"list_10", "list request, 10 drives", "list_10", "list/ours", "list/reference",
     "bare system calls", 1.2},
    {"list_100", "list request, 100 drives", "list_100", "list/ours", "list/reference",
     "bare system calls", 1.2},
    {"enum_100", "enumerate instances, 100 drives", "enum_100", "enum/ours", "enum/reference",
     "the list request alone", 3},
    {"load", "loading the library", "load", "load/ours", "load/reference", "an empty C++ library",
     2},
}};

Row pairRow(const Pair& pair, const fs::path& directory) {
  const Benchmarks group = table::readBenchmarks(directory, pair.group);
  const Repetitions& ours = named(group, pair.ours);
  const Repetitions& reference = named(group, pair.reference);
  return {pair.key,
          pair.what,
          duration(table::spreadOf(ours).median),
          std::string(pair.referenceText) + " " + duration(table::spreadOf(reference).median),
          table::spreadOf(table::ratios(ours, reference)),
          pair.goal,
          ""};
}

/// Why a written line can't come near enough to the floor.
std::string boundOfLine(const fs::path& directory) {
  const Benchmarks group = table::readBenchmarks(directory, "log_line");
  const Spread bound = table::spreadOf(
      table::ratios(named(group, "log_line/bound"), named(group, "log_line/floor")));
  return "what every line is bound to (a heap buffer of its own, vsnprintf, the clock, getpid, "
         "fstat, fwrite and fflush) is " +
         format("%.2f", bound.median) + " of the floor by itself";
}

/// Cost per drive among 100, over the cost of one alone.
Row growthRow(const fs::path& directory) {
  const Repetitions one = named(table::readBenchmarks(directory, "list_1"), "list/ours");
  Repetitions hundred = named(table::readBenchmarks(directory, "list_100"), "list/ours");
  for (double& cost : hundred) {
    cost /= 100;
  }
  return {"list_growth",
          "list request, per drive among 100",
          duration(table::spreadOf(hundred).median),
          "1 drive alone " + duration(table::spreadOf(one).median),
          table::spreadOf(table::ratios(hundred, one)),
          1.1,
          ""};
}

Spread exactly(double value) { return {value, value, value}; }

Row wakeupsRow(const fs::path& directory) {
  const json run = table::readObject(directory / "idle.json");
  const double perSecond = run.at("wakeups").get<double>() / run.at("seconds").get<double>();
  return {"idle_wakeups",
          "wake-ups per second, 100 drives idle",
          format("%.2f", perSecond),
          "one per drive and second",
          exactly(perSecond / run.at("drives").get<double>()),
          1.02,
          ""};
}

Row residentRow(const fs::path& directory) {
  const json few = table::readObject(directory / "rss_few.json");
  const json many = table::readObject(directory / "rss_many.json");
  const double drives = many.at("drives").get<double>() - few.at("drives").get<double>();
  const double perDrive =
      (many.at("rss_kib").get<double>() - few.at("rss_kib").get<double>()) / drives;
  return {"rss_per_drive_kib",
          "resident memory per further drive",
          format("%.1f KiB", perDrive),
          "-",
          exactly(perDrive),
          48,
          ""};
}

Row sizeRow(const fs::path& directory) {
  const double kib =
      static_cast<double>(fs::file_size(directory / "libvekssdprov.so.0.stripped")) / 1024;
  return {"so_kib", "stripped size of the library", format("%.1f KiB", kib), "-", exactly(kib), 160,
          ""};
}

/// What the run in the virtual machine measured; a machine that can't run it has the reason there.
Row peerRow(const json& peers, const char* key, const char* what, const char* command) {
  Row row = {key, what, "-", command, {}, 0.02, ""};
  if (!peers.contains(key)) {
    row.remark = peers.value("reason", "not measured");
    return row;
  }
  const json& peer = peers.at(key);
  const Repetitions ours = peer.at("ours_ns");
  const Repetitions reference = peer.at("reference_ns");
  row.ours = duration(table::spreadOf(ours).median);
  row.comparedWith += " " + duration(table::spreadOf(reference).median);
  row.figure = table::spreadOf(table::ratios(ours, reference));
  return row;
}

}  // namespace

std::vector<Row> table::makeRows(const fs::path& directory) {
  std::vector<Row> rows;
  for (const Pair& pair : kPairs) {
    rows.push_back(pairRow(pair, directory));
    if (rows.back().key == "log_line_floor") {
      rows.back().remark = boundOfLine(directory);
    } else if (rows.back().key == "list_100") {
      rows.push_back(growthRow(directory));
    }
  }
  const json peers = readObject(directory / "peers.json");
  rows.push_back(peerRow(peers, "vs_smartctl", "one reading, statistics, real kernel",
                         "smartctl -j -A -l devstat"));
  rows.push_back(
      peerRow(peers, "vs_nvme_cli", "one reading, NVMe, real kernel", "nvme smart-log -o json"));
  rows.push_back(wakeupsRow(directory));
  rows.push_back(residentRow(directory));
  rows.push_back(sizeRow(directory));
  return rows;
}

std::vector<table::ListCost> table::listCosts(const fs::path& directory) {
  const auto inMicroseconds = [](Repetitions values) {
    std::transform(values.begin(), values.end(), values.begin(),
                   [](double nanoseconds) { return nanoseconds / 1e3; });
    return spreadOf(std::move(values));
  };
  std::vector<ListCost> costs;
  for (const unsigned size : kListSizes) {
    const Benchmarks group = readBenchmarks(directory, "list_" + std::to_string(size));
    costs.push_back({size, inMicroseconds(named(group, "list/ours")),
                     inMicroseconds(named(group, "list/reference"))});
  }
  return costs;
}
