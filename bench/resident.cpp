// What the library costs a process that only keeps it loaded: loads it through the embedded host on
// the machine of Machine.h, lets it poll, and prints one JSON object with the process's resident
// memory and how often its polling threads woke up.
//
//   resident SECONDS    for how long the wake-ups are counted

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include <unistd.h>

#include "bench/Machine.h"
#include "host/Broker.h"
#include "host/Provider.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

/// The number behind `field` in a status file of the kernel.
std::uint64_t statusField(const fs::path& file, const std::string& field) {
  std::ifstream status(file);
  for (std::string line; std::getline(status, line);) {
    if (line.compare(0, field.size() + 1, field + ":") == 0) {
      return std::stoull(line.substr(field.size() + 1));
    }
  }
  std::fprintf(stderr, "resident: no %s in %s\n", field.c_str(), file.c_str());
  std::exit(1);
}

struct Threads {
  unsigned count = 0;
  std::uint64_t wakeups = 0;  ///< each sleep that ends was begun by a voluntary switch
};

/// Of all threads but the main one.
Threads pollingThreads() {
  Threads threads;
  for (const fs::directory_entry& task : fs::directory_iterator("/proc/self/task")) {
    if (task.path().filename() != std::to_string(getpid())) {
      ++threads.count;
      threads.wakeups += statusField(task.path() / "status", "voluntary_ctxt_switches");
    }
  }
  return threads;
}

bool allListed(cmpihost::Provider& provider) {
  const cmpihost::Reply reply = provider.enumerateInstances({"root/cimv2", "KAV_SSDLifeMonitor"});
  return reply.status.rc == CMPI_RC_OK && reply.instances.size() == bench::driveCount();
}

}  // namespace

int main(int argc, char** argv) {
  const double seconds = argc == 2 ? std::strtod(argv[1], nullptr) : 0;
  if (seconds <= 0) {
    std::fprintf(stderr, "usage: resident SECONDS\n");
    return 2;
  }
  cmpihost::BrokerOptions options;
  options.journal = false;
  cmpihost::Broker broker(options);
  cmpihost::Provider provider(broker, BENCH_LIBRARY, "SsdProvider");
  if (!allListed(provider)) {
    std::fprintf(stderr, "resident: not all drives are listed\n");
    bench::leave(1);
  }
  // Long enough for every thread to have begun and, at one poll a second, to have read its drive.
  std::this_thread::sleep_for(std::chrono::milliseconds(2500));

  const Threads before = pollingThreads();
  const Clock::time_point start = Clock::now();
  std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
  const Threads after = pollingThreads();
  const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
  if (before.count != bench::driveCount() || after.count != before.count) {
    std::fprintf(stderr, "resident: %u polling threads for %u drives\n", after.count,
                 bench::driveCount());
    bench::leave(1);
  }
  std::printf("\n{\"drives\": %u, \"seconds\": %.6f, \"wakeups\": %llu, \"rss_kib\": %llu}\n",
              after.count, elapsed, static_cast<unsigned long long>(after.wakeups - before.wakeups),
              static_cast<unsigned long long>(statusField("/proc/self/status", "VmRSS")));
  bench::leave(0);
}
