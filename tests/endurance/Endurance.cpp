// A till over weeks, in minutes: polls, requests and events over four drives, or the library
// loaded, started and unloaded again and again. Descriptors, threads and resident memory are looked
// at all the time; their slopes must be flat.
//
//   endurance days N      N days of ten-second polls over four drives, one of which fails each hour
//   endurance rounds N    N times load, start, request, clean-up, unload
//   endurance sick N      N polls of an NVMe drive that fails every read: shows what that costs

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include "tests/fault/Clock.h"
#include "tests/fault/Streams.h"
#include "tests/fault/Till.h"

namespace {

using fault::Drive;
using fault::Till;

int out = STDOUT_FILENO;

struct Usage {
  double descriptors;
  double threads;
  double kilobytes;
  double heap;  ///< bytes in use
  unsigned step = 0;
};

double entriesOf(const char* folder) {
  const auto entries = std::filesystem::directory_iterator(folder);
  return static_cast<double>(std::distance(begin(entries), end(entries)));
}

Usage usage(unsigned step = 0) {
  std::ifstream memory("/proc/self/statm");
  double total = 0;
  double resident = 0;
  memory >> total >> resident;
  return {entriesOf("/proc/self/fd") - 1, entriesOf("/proc/self/task"), resident * 4,
          static_cast<double>(mallinfo2().uordblks), step};
}

/// Least squares: the growth from the first to the last sample.
double growth(const std::vector<Usage>& samples, double Usage::*what) {
  const auto count = static_cast<double>(samples.size());
  double sumX = 0;
  double sumY = 0;
  double sumXX = 0;
  double sumXY = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const auto x = static_cast<double>(i);
    const double y = samples[i].*what;
    sumX += x;
    sumY += y;
    sumXX += x * x;
    sumXY += x * y;
  }
  const double divisor = count * sumXX - sumX * sumX;
  return divisor == 0 ? 0 : (count * sumXY - sumX * sumY) / divisor * (count - 1);
}

/// Shows one figure; true if it has grown by no more than `allowed`.
bool show(const char* name, const std::vector<Usage>& samples, double Usage::*what,
          double allowed) {
  const double slope = growth(samples, what);
  const bool flat = slope <= allowed;
  ::dprintf(out, "  %-12s first %8.0f  last %8.0f  slope over the run %+8.1f  %s\n", name,
            samples.front().*what, samples.back().*what, slope, flat ? "flat" : "GROWS");
  return flat;
}

bool showAll(const std::vector<Usage>& samples) {
  const bool descriptors = show("descriptors", samples, &Usage::descriptors, 0.5);
  const bool threads = show("threads", samples, &Usage::threads, 0.5);
  // A block here and there is the allocator's; 1 byte lost in each of a million polls is not.
  return show("resident kB", samples, &Usage::kilobytes, 512) && threads && descriptors;
}

/// Does `step` `count` times and takes a sample a hundred times, after a tenth to warm up.
std::vector<Usage> sampled(unsigned count, const std::function<void(unsigned)>& step) {
  std::vector<Usage> samples;
  const unsigned every = std::max(1U, count / 100);
  for (unsigned i = 0; i < count; ++i) {
    step(i);
    if (i >= count / 10 && i % every == 0) {
      samples.push_back(usage(i));
    }
  }
  samples.push_back(usage(count));
  return samples;
}

/// A day has 8640 polls of ten seconds.
int days(unsigned count) {
  Till till;
  till.machine.add(Drive::kStatistics, "sdc", "SanDisk SSD U100 64GB", "U1");
  till.machine.write("/etc/ssddrv/log.conf", "Level=2\n");
  till.machine.write("/etc/ssddrv/ssddrv.ini",
                     "PollRate=1\nPercentUsedThreshold=80\nDebugIndications=1\n");
  till.load();
  till.start();
  till.subscribe();
  unsigned indications = 0;
  const auto samples = sampled(count * 8640, [&](unsigned poll) {
    fault::Clock::tick();
    till.machine.drive("sdc").hours = poll / 360;
    till.machine.drive("sda").refusing = poll % 360 == 0;  // SATA: costs nothing
    if (poll % 30 == 0) {
      till.list();
    }
    if (poll % 97 == 0) {
      till.unsubscribe();
      till.subscribe();
    }
    indications += static_cast<unsigned>(till.takeIndications().size());
    till.broker.journal().clear();
  });
  ::dprintf(out, "%u days: %u polls of 4 drives, %u indications\n", count, count * 8640,
            indications);
  const bool flat = showAll(samples);
  till.cleanUp();
  return flat && till.unload() && indications > 0 ? 0 : 1;
}

/// What a load keeps for good, as documented: its log's handler and path, its configuration.
constexpr double kBytesKeptByLoad = 288;

int rounds(unsigned count) {
  const auto samples = sampled(count, [](unsigned) {
    Till till;  // its broker remembers every object that it has given out
    till.load();
    till.start();
    till.subscribe();
    till.list();
    till.cleanUp();
    if (!till.unload()) {
      std::_Exit(1);
    }
    // Besides, each load keeps its log's stream and its scan; they are not what is measured.
    fault::closeStreams();
    fault::releaseScans();
  });
  ::dprintf(out, "%u rounds of load, start, request, clean-up, unload; each keeps %.0f bytes\n",
            count,
            growth(samples, &Usage::heap) /
                static_cast<double>(samples.back().step - samples.front().step));
  const double kept = kBytesKeptByLoad * (samples.back().step - samples.front().step);
  const bool descriptors = show("descriptors", samples, &Usage::descriptors, 0.5);
  const bool threads = show("threads", samples, &Usage::threads, 0.5);
  // The allocator's own stock counts as used.
  const bool heap = show("heap bytes", samples, &Usage::heap, 8192 + kept);
  const bool memory = show("resident kB", samples, &Usage::kilobytes, 512 + kept / 1024);
  return descriptors && threads && heap && memory ? 0 : 1;
}

/// Each failed command of an NVMe drive keeps its descriptor: that much, and nothing else.
int sick(unsigned polls) {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, polls + 256);
  setrlimit(RLIMIT_NOFILE, &limit);
  Till till;
  // No log: it would give up its descriptor at its greatest length, and the count would be one
  // less.
  till.machine.write("/etc/ssddrv/log.conf", "Level=0\n");
  till.machine.write("/etc/ssddrv/ssddrv.ini", "PollRate=1\n");
  till.load();
  till.start();
  till.machine.drive("nvme0").refusing = true;
  till.machine.drive("sda").refusing = true;
  const double before = usage().descriptors;
  const auto samples = sampled(polls, [](unsigned) { fault::Clock::tick(); });
  const double lost = usage().descriptors - before;
  ::dprintf(out, "%u polls of an NVMe and a SATA drive that fail every read: %.0f descriptors\n",
            polls, lost);
  const bool threads = show("threads", samples, &Usage::threads, 0.5);
  const bool memory = show("resident kB", samples, &Usage::kilobytes, 512);
  return threads && memory && lost == polls ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  // The library's own lines go nowhere.
  out = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
  const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  ::dup2(nowhere, STDOUT_FILENO);
  ::dup2(nowhere, STDERR_FILENO);

  const std::string kind = argc > 2 ? argv[1] : "";
  const auto count = argc > 2 ? static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10)) : 0;
  if (count > 0 && kind == "days") {
    return days(count);
  }
  if (count > 0 && kind == "rounds") {
    return rounds(count);
  }
  if (count > 0 && kind == "sick") {
    return sick(count);
  }
  ::dprintf(out, "usage: endurance days|rounds|sick N\n");
  return 2;
}
