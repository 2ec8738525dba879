// What loading the library costs a process, beside a library with nothing in it.

#include <ctime>

#include <dlfcn.h>

#include <benchmark/benchmark.h>

#include "bench/Check.h"

namespace {

/// Processor time: what else the machine does stays out, and nothing sleeps here.
double threadSeconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// Loads and unloads `path`; only the loading is timed. Void unless `symbol` is there each time and
/// the library is gone afterwards.
void load(benchmark::State& state, const char* path, const char* symbol) {
  bool right = true;
  for (auto _ : state) {
    const double start = threadSeconds();
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    state.SetIterationTime(threadSeconds() - start);
    if (library == nullptr) {
      state.SkipWithError(dlerror());
      return;
    }
    right = right && dlsym(library, symbol) != nullptr;
    dlclose(library);
    right = right && dlopen(path, RTLD_NOW | RTLD_NOLOAD) == nullptr;
  }
  bench::check(state, right, "the library was not loaded or not unloaded");
}

void loadOurs(benchmark::State& state) {
  load(state, BENCH_LIBRARY, "SsdProvider_Create_InstanceMI");
}

void loadEmpty(benchmark::State& state) { load(state, BENCH_EMPTY_LIBRARY, "benchEmpty"); }

BENCHMARK(loadOurs)->Name("load/ours")->UseManualTime();
BENCHMARK(loadEmpty)->Name("load/reference")->UseManualTime();

}  // namespace
