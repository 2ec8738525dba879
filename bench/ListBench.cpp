// What a request for the list of all drives costs, beside the bare system calls of reading them.

#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/BareCalls.h"
#include "bench/Check.h"
#include "bench/Machine.h"
#include "core/SsdApi.h"

namespace {

SsdApi& startedApi() {
  static SsdApi api;
  static const SSD_CODE code = api.initialiseSsdDriver();
  if (code != SSD_SUCCESS) {
    std::abort();
  }
  return api;
}

bool isRight(const SsdInformationList& list) {
  bool right = list.size() == bench::driveCount();
  for (const SsdInformation& drive : list) {
    right = right && drive.model == bench::kModel && drive.serialNumber == bench::kSerialNumber &&
            drive.firmwareVersion == bench::kFirmware &&
            drive.percentageUsed == bench::kStatisticsPercentage &&
            drive.poweredOnHours == bench::kPowerOnHours && !drive.failureImminent;
  }
  return right;
}

std::uint64_t requestsPerList() { return bench::driveCount() * bench::kStatisticsRequests; }

void listOurs(benchmark::State& state) {
  SsdApi& api = startedApi();
  bool right = true;
  const bench::AnsweredRequests requests;
  for (auto _ : state) {
    SsdInformationList list;
    right = api.getSsdInformationList(list) == SSD_SUCCESS && right;
    benchmark::DoNotOptimize(list.data());
  }
  right = right && requests.are(requestsPerList(), state);
  SsdInformationList list;
  api.getSsdInformationList(list);
  bench::check(state, right && isRight(list), "the list is not right");
}

void listBare(benchmark::State& state) {
  std::vector<std::string> nodes;
  for (unsigned i = 0; i < bench::driveCount(); ++i) {
    nodes.push_back("/dev/" + bench::driveName(i));
  }
  bench::Reading reading;
  const bench::AnsweredRequests requests;
  for (auto _ : state) {
    for (const std::string& node : nodes) {
      reading = bench::readStatisticsBare(node.c_str());
      benchmark::DoNotOptimize(reading);
    }
  }
  bench::check(state,
               requests.are(requestsPerList(), state) &&
                   reading.percentageUsed == bench::kStatisticsPercentage &&
                   reading.poweredOnHours == bench::kPowerOnHours,
               "the drives were not read right");
}

BENCHMARK(listOurs)->Name("list/ours");
BENCHMARK(listBare)->Name("list/reference");

}  // namespace
