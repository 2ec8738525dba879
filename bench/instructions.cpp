// Does one thing a number of times, for valgrind's callgrind to count the instructions of
// `measured`:
//
//   bench_instructions NAME COUNT
//
// Instructions of the kernel aren't among them, so a figure is the code's own share and hardly
// differs from run to run or between machines. VEKSSD_BENCH_DRIVES drives are listed and
// enumerated.

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "bench/BareCalls.h"
#include "bench/Drives.h"
#include "bench/LogLines.h"
#include "bench/Machine.h"
#include "core/ModelTable.h"
#include "core/SsdApi.h"
#include "host/Broker.h"
#include "host/Provider.h"

extern "C" __attribute__((noinline, visibility("default"))) void measured(
    const std::function<void()>& work, unsigned long count) {
  for (unsigned long i = 0; i < count; ++i) {
    work();
  }
}

namespace {

using Work = std::function<void()>;

Work reading(const bench::Kind& kind) {
  SsdDevice& device = bench::makeDevice(kind);
  return [&device] { device.getSsdData(); };
}

Work bareReading(const bench::Kind& kind) {
  return [&kind] { static_cast<void>(kind.readBare(kind.node)); };
}

Work bareLine() {
  const int fd = open(bench::logPath().c_str(), O_WRONLY | O_APPEND | O_CREAT, 0600);
  return [fd, line = std::string(116, 'x') + '\n'] {
    struct stat status {};
    fstat(fd, &status);
    static_cast<void>(!write(fd, line.data(), line.size()));
  };
}

Work list() {
  static SsdApi api;
  if (api.initialiseSsdDriver() != SSD_SUCCESS) {
    std::abort();
  }
  return [] {
    SsdInformationList drives;
    api.getSsdInformationList(drives);
  };
}

Work bareList() {
  return [] {
    for (unsigned i = 0; i < bench::driveCount(); ++i) {
      static_cast<void>(bench::readStatisticsBare(("/dev/" + bench::driveName(i)).c_str()));
    }
  };
}

cmpihost::Provider& provider() {
  cmpihost::BrokerOptions options;
  options.journal = false;
  static cmpihost::Broker broker(options);
  static auto* loaded = new cmpihost::Provider(broker, BENCH_PROVIDER, "SsdProvider");
  loaded->createInstanceMI();
  return *loaded;
}

Work enumeration() {
  return [&asked = provider()] { asked.enumerateInstances({"root/cimv2", "KAV_SSDLifeMonitor"}); };
}

/// The list request that an enumeration contains, on the same library.
Work listOfEnumeration() {
  const auto request = reinterpret_cast<std::size_t (*)()>(provider().symbol("benchRequestList"));
  return [request] { request(); };
}

/// A models file of 200 rows.
const std::string& modelsFile() {
  static const std::string text = [] {
    std::string rows;
    for (int i = 0; i < 200; ++i) {
      rows += "Bench maker, series " + std::to_string(i) + "*=231 current left agrees raw left\n";
    }
    return rows;
  }();
  return text;
}

ModelTable readModels() {
  ModelTable table;
  std::FILE* file = fmemopen(const_cast<char*>(modelsFile().data()), modelsFile().size(), "r");
  if (!table.read(file, [](unsigned, const std::string&) { std::abort(); })) {
    std::abort();
  }
  std::fclose(file);
  return table;
}

Work findModel() {
  return [table = readModels()] {
    if (table.find("Bench maker, series 150 128GB", "FW1") == nullptr) {
      std::abort();
    }
  };
}

const std::map<std::string, std::function<Work()>>& works() {
  static const std::map<std::string, std::function<Work()>> all = {
      {"suppressed", [] { return [] { bench::logLine(LOG_LEVEL_DEBUG); }; }},
      {"suppressed-spdlog", [] { return [] { bench::spdlogLine(spdlog::level::debug); }; }},
      {"line", [] { return [] { bench::logLine(LOG_LEVEL_INFO); }; }},
      {"line-spdlog", [] { return [] { bench::spdlogLine(spdlog::level::info); }; }},
      {"line-bare", bareLine},
      {"nvme", [] { return reading(bench::kNvme); }},
      {"nvme-bare", [] { return bareReading(bench::kNvme); }},
      {"sandisk", [] { return reading(bench::kSanDisk); }},
      {"sandisk-bare", [] { return bareReading(bench::kSanDisk); }},
      {"statistics", [] { return reading(bench::kStatistics); }},
      {"statistics-bare", [] { return bareReading(bench::kStatistics); }},
      {"list", list},
      {"list-bare", bareList},
      {"models", findModel},
      {"models-file", [] { return [] { readModels(); }; }},
      {"enumeration", enumeration},
      {"enumeration-list", listOfEnumeration},
  };
  return all;
}

}  // namespace

int main(int argc, char** argv) {
  const auto found = argc == 3 ? works().find(argv[1]) : works().end();
  const unsigned long count = argc == 3 ? std::strtoul(argv[2], nullptr, 10) : 0;
  if (found == works().end() || count == 0) {
    std::fprintf(stderr, "usage: bench_instructions NAME COUNT\n");
    return 2;
  }
  const Work work = found->second();
  for (int i = 0; i < 3; ++i) {
    work();  // files are opened, caches filled
  }
  measured(work, count);
  bench::leave(0);
}
