#pragma once

#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace table {

/// A measurement is missing or was found wrong; says which.
class ResultError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The repetitions of one benchmark, in nanoseconds, in the order in which they ran.
using Repetitions = std::vector<double>;

/// What Google Benchmark wrote, by the benchmark's name. Throws ResultError for a benchmark that
/// found its own results wrong.
using Benchmarks = std::map<std::string, Repetitions>;

/// Reads `<group>.<round>.json` for every round that there is, and joins the rounds.
[[nodiscard]] Benchmarks readBenchmarks(const std::filesystem::path& directory,
                                        const std::string& group);

/// Reads one JSON object.
[[nodiscard]] nlohmann::json readObject(const std::filesystem::path& file);

/// The median of some values and the range in which eight of ten of them lie.
struct Spread {
  double median;
  double low;
  double high;
};

[[nodiscard]] Spread spreadOf(std::vector<double> values);

/// The quotients of values measured next to each other.
[[nodiscard]] std::vector<double> ratios(const Repetitions& ours, const Repetitions& reference);

}  // namespace table
