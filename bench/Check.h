#pragma once

#include <cstdint>

#include <benchmark/benchmark.h>

#include "bench/Machine.h"

namespace bench {

/// Counts the requests that drives answer during a measurement.
class AnsweredRequests {
 public:
  /// Whether each iteration has made so many.
  [[nodiscard]] bool are(std::uint64_t perIteration, const benchmark::State& state) const {
    return answeredRequests() - before_ ==
           static_cast<std::uint64_t>(state.iterations()) * perIteration;
  }

 private:
  std::uint64_t before_ = answeredRequests();
};

/// Makes the measurement void unless what it did came out right.
inline void check(benchmark::State& state, bool right, const char* otherwise) {
  if (!right) {
    state.SkipWithError(otherwise);
  }
}

}  // namespace bench
