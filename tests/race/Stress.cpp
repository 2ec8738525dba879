// Everything at once, for as long as asked: requesters, subscribers that come and go, polls at
// every tick with debug indications, clean-ups and new factory calls in flight, and unloading while
// threads poll and indications are on their way. Meant for the thread sanitizer; says what it did.
//
//   race_stress SECONDS

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "host/Provider.h"
#include "tests/fault/Clock.h"
#include "tests/fault/Streams.h"
#include "tests/fault/Till.h"

namespace {

using fault::Till;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kLife(400);
constexpr unsigned kTickMicroseconds = 300;

std::atomic<bool> stopping{false};
std::atomic<unsigned> requests{0};
std::atomic<unsigned> answered{0};  ///< of them, by a provider
std::atomic<unsigned> subscriptions{0};
std::atomic<unsigned> cleanUps{0};
std::atomic<unsigned> indications{0};

template <typename Work>
std::thread repeatedly(std::atomic<unsigned>& count, Work work) {
  return std::thread([&count, work] {
    while (!stopping) {
      work();
      ++count;
    }
  });
}

void request(Till& till, unsigned number) {
  const cmpihost::Reply reply = number % 3 == 0   ? till.names()
                                : number % 3 == 1 ? till.list()
                                                  : till.get("Simulated");
  answered += reply.status.rc == CMPI_RC_OK ? 1U : 0U;
}

/// Drives wear and recover, so that some reading is always above the threshold.
void wear(Till& till) {
  thread_local std::minstd_rand random(7);
  for (const auto& drive : till.machine.drives()) {
    drive->percentage = static_cast<std::uint8_t>(60 + random() % 40);
    drive->hours = random();
  }
  std::this_thread::sleep_for(std::chrono::microseconds(200));
}

/// What a manager in a hurry does: takes MIs and gives them back while requests run, sometimes more
/// often than it took them; then it takes them anew.
class HastyManager {
 public:
  explicit HastyManager(Till& till)
      : till_(till),
        createInstanceMi_(reinterpret_cast<CreateInstanceMi>(
            till.provider().symbol("SsdProvider_Create_InstanceMI"))),
        createIndicationMi_(reinterpret_cast<CreateIndicationMi>(
            till.provider().symbol("SsdProvider_Create_IndicationMI"))) {}

  void work() {
    CMPIStatus status{CMPI_RC_OK, nullptr};
    CMPIInstanceMI* instances = createInstanceMi_(till_.broker.cmpi(), nullptr, &status);
    CMPIIndicationMI* events = createIndicationMi_(till_.broker.cmpi(), nullptr, &status);
    events->ft->cleanup(events, nullptr, 0);
    events->ft->cleanup(events, nullptr, 1);
    instances->ft->cleanup(instances, nullptr, 1);
    if (++round_ % 4 == 0) {
      events->ft->cleanup(events, nullptr, 1);
      instances->ft->cleanup(instances, nullptr, 1);
      createInstanceMi_(till_.broker.cmpi(), nullptr, &status);
      createIndicationMi_(till_.broker.cmpi(), nullptr, &status);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }

 private:
  using CreateInstanceMi = CMPIInstanceMI* (*)(const CMPIBroker*, const CMPIContext*, CMPIStatus*);
  using CreateIndicationMi = CMPIIndicationMI* (*)(const CMPIBroker*, const CMPIContext*,
                                                   CMPIStatus*);
  Till& till_;
  CreateInstanceMi createInstanceMi_;
  CreateIndicationMi createIndicationMi_;
  unsigned round_ = 0;
};

/// From loading to unloading. In every second life all lines are logged; in the others the log's
/// lock orders nothing.
void live(Till& till, unsigned number) {
  till.machine.write("/etc/ssddrv/log.conf", number % 2 == 0 ? "Level=4\n" : "Level=1\n");
  till.machine.write("/var/log/ssddrv/ssddrv.log", "");
  till.load();
  till.start();
  HastyManager manager(till);
  stopping = false;
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < 3; ++i) {
    threads.push_back(repeatedly(requests, [&till, i] { request(till, i); }));
  }
  for (unsigned i = 0; i < 2; ++i) {
    threads.push_back(repeatedly(subscriptions, [&till] {
      till.subscribe();
      till.unsubscribe();
    }));
  }
  threads.push_back(repeatedly(cleanUps, [&manager] { manager.work(); }));
  static std::atomic<unsigned> moves{0};
  threads.push_back(repeatedly(moves, [&till] { wear(till); }));
  std::this_thread::sleep_for(kLife);
  stopping = true;
  for (std::thread& thread : threads) {
    thread.join();
  }
  // With an open subscription the polling threads go on starting indications while it unloads.
  if (number % 3 == 0) {
    till.subscribe();
  }
  if (!till.unload()) {
    std::fprintf(stderr, "the library did not leave the process\n");
    std::_Exit(1);
  }
  fault::closeStreams();
  fault::releaseScans();
}

}  // namespace

int main(int argc, char** argv) {
  const auto duration = std::chrono::seconds(argc > 1 ? std::atoi(argv[1]) : 2);
  // The library's own lines go nowhere; the sanitizer's reports go to standard error.
  const int out = ::dup(STDOUT_FILENO);
  const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  ::dup2(nowhere, STDOUT_FILENO);

  Till till(false);
  till.machine.write("/etc/ssddrv/ssddrv.ini",
                     "PollRate=1\nPercentUsedThreshold=80\nDebugIndications=1\n");
  till.broker.onIndication([](const cmpihost::Indication&) { ++indications; });
  fault::Clock::runFreely(kTickMicroseconds);
  const auto end = Clock::now() + duration;
  unsigned lives = 0;
  while (Clock::now() < end) {
    live(till, lives++);
  }
  ::dprintf(out,
            "%u loads, %u requests, %u of them answered, %u subscriptions, %u factory rounds, %u "
            "indications\n",
            lives, requests.load(), answered.load(), subscriptions.load(), cleanUps.load(),
            indications.load());
  return answered > requests / 2 && indications > 0 ? 0 : 1;
}
