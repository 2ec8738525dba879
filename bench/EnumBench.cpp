// What an enumeration of all instances costs through the embedded host, beside the list request
// that it contains. Both are made to one library in one process.

#include <string>

#include <benchmark/benchmark.h>

#include "bench/Check.h"
#include "bench/Machine.h"
#include "host/Broker.h"
#include "host/Provider.h"

namespace {

using ListRequest = std::size_t (*)();

cmpihost::Provider& provider() {
  static cmpihost::Broker broker([] {
    cmpihost::BrokerOptions options;
    options.journal = false;
    return options;
  }());
  static auto* loaded = new cmpihost::Provider(broker, BENCH_PROVIDER, "SsdProvider");
  return *loaded;
}

const cmpihost::ObjectPath kClass = {"root/cimv2", "KAV_SSDLifeMonitor"};

bool isRight(const cmpihost::Instance& instance, unsigned index) {
  const auto* id = instance.property("DeviceID");
  const auto* used = instance.property("PercentageUsed");
  const auto* hours = instance.property("PoweredOnHours");
  return instance.properties.size() == 15 && id != nullptr && used != nullptr && hours != nullptr &&
         id->asText().find(std::string(bench::kModel) + "___" + bench::kSerialNumber + "___sd") ==
             0 &&
         used->asUnsigned() == bench::kStatisticsPercentage &&
         hours->asUnsigned() == bench::kPowerOnHours && index < bench::driveCount();
}

void enumerate(benchmark::State& state) {
  cmpihost::Provider& asked = provider();
  cmpihost::Reply reply;
  bool right = true;
  for (auto _ : state) {
    reply = asked.enumerateInstances(kClass);
    right = right && reply.instances.size() == bench::driveCount();
  }
  unsigned index = 0;
  for (const cmpihost::Instance& instance : reply.instances) {
    right = right && isRight(instance, index++);
  }
  bench::check(state, right && reply.status.rc == CMPI_RC_OK && reply.doneCalls == 1,
               "the instances are not right");
}

void requestList(benchmark::State& state) {
  provider().createInstanceMI();
  const auto request = reinterpret_cast<ListRequest>(provider().symbol("benchRequestList"));
  bool right = true;
  for (auto _ : state) {
    right = request() == bench::driveCount() && right;
  }
  bench::check(state, right, "the list is not right");
}

BENCHMARK(enumerate)->Name("enum/ours");
BENCHMARK(requestList)->Name("enum/reference");

}  // namespace
