#pragma once

#include <benchmark/benchmark.h>

namespace bench {

/// Makes the measurement void unless what it did came out right.
inline void check(benchmark::State& state, bool right, const char* otherwise) {
  if (!right) {
    state.SkipWithError(otherwise);
  }
}

}  // namespace bench
