// Runs the benchmarks of its program, on the machine of Machine.h.

#include <benchmark/benchmark.h>

#include "bench/Machine.h"

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  const std::size_t run = benchmark::RunSpecifiedBenchmarks();
  bench::leave(run == 0 ? 1 : 0);
}
