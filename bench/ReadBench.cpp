// What one reading of a drive costs, beside its bare system calls.

#include <benchmark/benchmark.h>

#include "bench/Check.h"
#include "bench/Drives.h"

namespace {

using bench::Kind;
using bench::kNvme;
using bench::kSanDisk;
using bench::kStatistics;

template <const Kind& kind>
void readOurs(benchmark::State& state) {
  static SsdDevice& device = bench::makeDevice(kind);
  const bench::AnsweredRequests requests;
  for (auto _ : state) {
    device.getSsdData();
  }
  SsdInformation information;
  device.copySsdInformation(information);
  bench::check(state,
               requests.are(kind.requests, state) &&
                   information.percentageUsed == kind.expected.percentageUsed &&
                   information.poweredOnHours == kind.expected.poweredOnHours,
               "the drive was not read right");
}

template <const Kind& kind>
void readBare(benchmark::State& state) {
  bench::Reading reading;
  const bench::AnsweredRequests requests;
  for (auto _ : state) {
    reading = kind.readBare(kind.node);
    benchmark::DoNotOptimize(reading);
  }
  bench::check(state,
               requests.are(kind.requests, state) &&
                   reading.percentageUsed == kind.expected.percentageUsed &&
                   reading.poweredOnHours == kind.expected.poweredOnHours,
               "the drive was not read right");
}

BENCHMARK_TEMPLATE(readOurs, kNvme)->Name("read_nvme/ours");
BENCHMARK_TEMPLATE(readBare, kNvme)->Name("read_nvme/reference");
BENCHMARK_TEMPLATE(readOurs, kSanDisk)->Name("read_sandisk/ours");
BENCHMARK_TEMPLATE(readBare, kSanDisk)->Name("read_sandisk/reference");
BENCHMARK_TEMPLATE(readOurs, kStatistics)->Name("read_stats/ours");
BENCHMARK_TEMPLATE(readBare, kStatistics)->Name("read_stats/reference");

}  // namespace
