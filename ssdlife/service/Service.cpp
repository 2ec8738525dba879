#include "ssdlife/service/Service.h"

#include <systemd/sd-daemon.h>

#include <atomic>
#include <chrono>
#include <exception>
#include <thread>

#include "ssdlife/Failure.h"
#include "ssdlife/SimulatedMachine.h"
#include "ssdlife/WakeUps.h"
#include "ssdlife/alarms/Deliverer.h"
#include "ssdlife/alarms/HookFolder.h"
#include "ssdlife/alarms/Rules.h"
#include "ssdlife/service/Bell.h"
#include "ssdlife/service/DriveReader.h"
#include "ssdlife/service/FolderLock.h"
#include "ssdlife/service/Settings.h"

namespace ssdlife {
namespace {

using Steady = std::chrono::steady_clock;

// The library's own threads look at each drive every few seconds, and wake the service at once when
// one passes the threshold; this is for all else.
constexpr Seconds kBetweenReadings = 60;

// "ssdlife alarms --again" writes into the state file, where it has to be found.
constexpr Seconds kBetweenGlances = 10;

// A drive that hangs keeps a reading waiting for about a minute, and there may be several.
constexpr auto kLongestSilence = std::chrono::minutes(15);

// One of the two threads: runs `turn` again and again, with a pause between.
class Worker {
 public:
  Worker(const Teller& teller, Seconds pause) : teller_(teller), pause_(pause) {}
  ~Worker() { stop(); }
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  template <typename Turn>
  void start(Turn turn) {
    thread_ = std::thread([this, turn] {
      while (!stopping_) {
        attempt(turn);
        alive_ = Steady::now().time_since_epoch().count();
        if (!stopping_) {
          bell_.wait(waitOf(pause_));
        }
      }
    });
  }

  void wake() { bell_.ring(); }

  // Waits for the turn in progress.
  void stop() {
    stopping_ = true;
    bell_.ring();
    if (thread_.joinable()) {
      thread_.join();
    }
  }

  [[nodiscard]] bool isStopping() const { return stopping_; }

  [[nodiscard]] bool isAlive() const {
    return Steady::now().time_since_epoch() - Steady::duration(alive_) < kLongestSilence;
  }

 private:
  // What fails is told once, not at every turn.
  template <typename Turn>
  void attempt(const Turn& turn) {
    try {
      turn();
      trouble_.clear();
    } catch (const std::exception& error) {
      if (trouble_ != error.what()) {
        trouble_ = error.what();
        teller_.notice(trouble_);
      }
    }
  }

  const Teller& teller_;
  const Seconds pause_;
  Bell bell_;
  std::atomic<bool> stopping_{false};
  std::atomic<Steady::rep> alive_{Steady::now().time_since_epoch().count()};
  std::string trouble_;
  std::thread thread_;
};

class Service {
 public:
  Service(const Options& options, const std::string& library, const Teller& teller)
      : settings_(readSettings(options.settings)),
        folder_(stateFolder(options.state)),
        lock_(folder_),
        teller_(teller),
        deliverer_(teller, kBetweenGlances),
        watcher_(teller, kBetweenReadings) {
    if (!lock_.isOurs()) {
      throw Failure(ExitCode::kBusy, "another ssdlife watches already, with " + folder_);
    }
    state_.emplace(folder_, [&teller](const std::string& line) { teller.notice(line); });
    rules_ = {settings_.alarmThreshold,
              settings_.alarmSilent,
              settings_.alarmVanished,
              thresholdOfLibrary(),
              {}};
    reader_.emplace(library, options.like, [this] { noticeEvent(); });
  }

  // The first look at the drives, then more of them beside the caller.
  void start() {
    look();
    deliver_.emplace(*state_, teller_, settings_.hookFolder, settings_.hookTime);
    deliverer_.start([this] {
      while (!deliverer_.isStopping() && deliver_->step()) {
      }
    });
    watcher_.start([this] { look(); });
  }

  // The hook that runs, and the reading that goes on, come to their end.
  void stop() {
    watcher_.stop();
    deliverer_.stop();
  }

  [[nodiscard]] bool isAlive() const { return watcher_.isAlive() && deliverer_.isAlive(); }

  [[nodiscard]] std::string inWords() const {
    return "watching " + std::to_string(drives_) + (drives_ == 1 ? " SSD" : " SSDs") +
           ", threshold " + std::to_string(rules_.limit) + " %, history in " + folder_;
  }

 private:
  // A library that is told to send an event at every reading does so at those of this service too.
  void noticeEvent() {
    if (now() != lastLook_) {
      watcher_.wake();
    }
  }

  void look() {
    const std::vector<Drive> drives = reader_->read();
    lastLook_ = now();
    drives_ = drives.size();
    rules_.hooks =
        settings_.hookFolder.empty() ? std::vector<std::string>() : hooksIn(settings_.hookFolder);
    state_->goBackToDisk();
    std::vector<Alarm> raised;
    state_->write([&](const Database& database) {
      raised = observe(database, drives, rules_, misses_, now());
    });
    if (!raised.empty()) {
      deliverer_.wake();
    }
  }

  const Settings settings_;
  const std::string folder_;
  const FolderLock lock_;
  const Teller& teller_;
  std::optional<StateFile> state_;
  AlarmRules rules_;
  Misses misses_;
  std::atomic<std::size_t> drives_{0};
  std::atomic<Seconds> lastLook_{0};
  Worker deliverer_;
  Worker watcher_;
  std::optional<Deliverer> deliver_;
  std::optional<DriveReader> reader_;
};

// How often systemd wants to hear from us, halved; nothing if it does not.
std::optional<Steady::duration> watchdogPause() {
  std::uint64_t microseconds = 0;
  return sd_watchdog_enabled(0, &microseconds) > 0
             ? std::optional<Steady::duration>(std::chrono::microseconds(microseconds / 2))
             : std::nullopt;
}

void waitForTheEnd(const Service& service, const WakeUps& wakeUps,
                   std::optional<Steady::time_point> end) {
  const auto pause = watchdogPause();
  while (true) {
    auto deadline = end;
    if (pause && (!deadline || Steady::now() + *pause < *deadline)) {
      deadline = Steady::now() + *pause;
    }
    const WakeUps::Cause cause = wakeUps.wait(deadline);
    if (cause == WakeUps::Cause::kSignal || (end && Steady::now() >= *end)) {
      return;
    }
    if (service.isAlive()) {
      sd_notify(0, "WATCHDOG=1");
    }
  }
}

}  // namespace

ExitCode serve(const Options& options, const std::string& library, const OwnOutput& output) {
  // Before any thread: none of them must get the signals.
  const WakeUps wakeUps;
  const Teller teller(output,
                      onSimulatedMachine() ? Teller::To::kStandardError : Teller::To::kSystem);
  std::optional<Steady::time_point> end;
  if (options.seconds) {
    end = Steady::now() + std::chrono::duration_cast<Steady::duration>(
                              std::chrono::duration<double>(*options.seconds));
  }
  Service service(options, library, teller);
  service.start();
  sd_notifyf(0, "READY=1\nSTATUS=%s", service.inWords().c_str());
  output.error(service.inWords());
  waitForTheEnd(service, wakeUps, end);
  sd_notify(0, "STOPPING=1");
  service.stop();
  return ExitCode::kOk;
}

}  // namespace ssdlife
