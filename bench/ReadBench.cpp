// What one reading of a drive costs, beside its bare system calls.

#include <memory>
#include <string>

#include <benchmark/benchmark.h>

#include "bench/BareCalls.h"
#include "bench/Check.h"
#include "bench/Machine.h"
#include "core/SsdDevice.h"

namespace {

struct Kind {
  const char* node;
  const char* model;
  IdentifySource source;
  bench::Reading expected;
  std::uint64_t requests;
  bench::Reading (*readBare)(const char* node);
};

constexpr Kind kNvme = {"/dev/nvme0",         "Vantor NV900",
                        IDENTIFIED_BY_NVME,   {bench::kNvmePercentage, bench::kPowerOnHours},
                        bench::kNvmeRequests, bench::readNvmeBare};
constexpr Kind kSanDisk = {"/dev/sda",
                           "SanDisk SSD P4 64GB",
                           IDENTIFIED_BY_ATA,
                           {bench::kSanDiskPercentage, bench::kPowerOnHours},
                           bench::kSanDiskRequests,
                           bench::readSanDiskBare};
constexpr Kind kStatistics = {"/dev/sda",
                              bench::kModel,
                              IDENTIFIED_BY_ATA,
                              {bench::kStatisticsPercentage, bench::kPowerOnHours},
                              bench::kStatisticsRequests,
                              bench::readStatisticsBare};

/// A device as the manager sets it up. Never deleted: it has a polling thread.
SsdDevice& makeDevice(const Kind& kind) {
  IdentifyData identify;
  identify.model = kind.model;
  identify.serialNumber = bench::kSerialNumber;
  identify.identifySource = kind.source;
  auto* device = new SsdDevice;
  if (!device->initialise(identify, std::string(kind.node).substr(5), kind.node, nullptr)) {
    std::abort();
  }
  return *device;
}

template <const Kind& kind>
void readOurs(benchmark::State& state) {
  static SsdDevice& device = makeDevice(kind);
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
