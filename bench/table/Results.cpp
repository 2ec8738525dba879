#include "bench/table/Results.h"

#include <algorithm>
#include <cmath>
#include <fstream>

namespace {

using nlohmann::json;

double nanoseconds(const json& run) {
  static const std::map<std::string, double> kUnits = {
      {"ns", 1}, {"us", 1e3}, {"ms", 1e6}, {"s", 1e9}};
  const std::string name = run.at("name");
  // Processor time, unless the benchmark has timed itself: other work on the machine stays out.
  const char* clock = name.find("manual_time") != std::string::npos ? "real_time" : "cpu_time";
  return run.at(clock).get<double>() * kUnits.at(run.at("time_unit"));
}

/// "read_nvme/ours" of "read_nvme/ours/repeats:15", as it was registered.
std::string benchmarkName(const json& run) {
  const std::string name = run.at("run_name");
  return name.substr(0, name.find('/', name.find('/') + 1));
}

}  // namespace

json table::readObject(const std::filesystem::path& file) {
  std::ifstream stream(file);
  if (!stream) {
    throw ResultError("there is no " + file.string());
  }
  return json::parse(stream);
}

table::Benchmarks table::readBenchmarks(const std::filesystem::path& directory,
                                        const std::string& group) {
  Benchmarks benchmarks;
  for (unsigned round = 1;; ++round) {
    const auto file = directory / (group + "." + std::to_string(round) + ".json");
    if (round > 1 && !std::filesystem::exists(file)) {
      return benchmarks;
    }
    const json content = readObject(file);
    for (const json& run : content.at("benchmarks")) {
      if (run.value("error_occurred", false)) {
        throw ResultError(benchmarkName(run) + ": " + run.value("error_message", ""));
      }
      if (run.at("run_type") == "iteration") {
        benchmarks[benchmarkName(run)].push_back(nanoseconds(run));
      }
    }
  }
}

table::Spread table::spreadOf(std::vector<double> values) {
  if (values.empty()) {
    throw ResultError("a benchmark has no repetitions");
  }
  std::sort(values.begin(), values.end());
  const auto at = [&values](double quantile) {
    const double position = quantile * static_cast<double>(values.size() - 1);
    const auto below = static_cast<std::size_t>(position);
    const std::size_t above = std::min(below + 1, values.size() - 1);
    return values[below] + (position - std::floor(position)) * (values[above] - values[below]);
  };
  return {at(0.5), at(0.1), at(0.9)};
}

std::vector<double> table::ratios(const Repetitions& ours, const Repetitions& reference) {
  if (ours.size() != reference.size()) {
    throw ResultError("a benchmark and its reference were not repeated equally often");
  }
  std::vector<double> quotients;
  std::transform(ours.begin(), ours.end(), reference.begin(), std::back_inserter(quotients),
                 [](double a, double b) { return a / b; });
  return quotients;
}
