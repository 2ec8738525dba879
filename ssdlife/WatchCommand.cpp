#include <array>
#include <chrono>
#include <cstdio>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

#include "ssdlife/Commands.h"
#include "ssdlife/Failure.h"
#include "ssdlife/Show.h"
#include "ssdlife/SsdClient.h"
#include "ssdlife/WakeUps.h"
#include "ssdlife/service/Service.h"

namespace ssdlife {
namespace {

// Events on their way from the threads that deliver them to the one that shows them.
class Inbox {
 public:
  explicit Inbox(const WakeUps& wakeUps) : wakeUps_(wakeUps) {}

  void put(const FailureEvent& event) {
    {
      const std::lock_guard lock(mutex_);
      events_.push_back(event);
    }
    wakeUps_.notify();
  }

  std::optional<FailureEvent> take() {
    const std::lock_guard lock(mutex_);
    if (events_.empty()) {
      return std::nullopt;
    }
    FailureEvent first = std::move(events_.front());
    events_.pop_front();
    return first;
  }

 private:
  const WakeUps& wakeUps_;
  std::mutex mutex_;
  std::deque<FailureEvent> events_;
};

std::optional<WakeUps::Clock::time_point> deadlineOf(const Options& options) {
  if (!options.seconds) {
    return std::nullopt;
  }
  const std::chrono::duration<double> wanted(*options.seconds);
  return WakeUps::Clock::now() + std::chrono::duration_cast<WakeUps::Clock::duration>(wanted);
}

// Shows events until there were enough of them, a signal comes or the time is over; says which.
WakeUps::Cause showEvents(const Options& options, const OwnOutput& output, const WakeUps& wakeUps,
                          Inbox& inbox, unsigned& shown) {
  const auto deadline = deadlineOf(options);
  while (true) {
    const WakeUps::Cause cause = wakeUps.wait(deadline);
    while (const auto event = inbox.take()) {
      output.out(showEvent(*event, options.format));
      if (++shown == options.count) {
        return WakeUps::Cause::kEvent;
      }
    }
    if (cause != WakeUps::Cause::kEvent) {
      return cause;
    }
  }
}

[[noreturn]] void failForCount(const Options& options, unsigned shown) {
  std::array<char, 96> line{};
  std::snprintf(line.data(), line.size(), "%u of %u indications came within %g seconds", shown,
                *options.count, *options.seconds);
  throw Failure(ExitCode::kNothing, line.data());
}

}  // namespace

ExitCode watch(const Options& options, const std::string& library, const OwnOutput& output) {
  if (options.service) {
    return serve(options, library, output);
  }
  // Both before the client: its threads must not get the signals, and deliver into the inbox.
  const WakeUps wakeUps;
  Inbox inbox(wakeUps);
  SsdClient client(library, options.like);
  client.subscribe([&inbox](const FailureEvent& event) { inbox.put(event); });
  output.error("watching; Ctrl-C ends it");
  unsigned shown = 0;
  const WakeUps::Cause end = showEvents(options, output, wakeUps, inbox, shown);
  client.unsubscribe();
  if (end == WakeUps::Cause::kTime) {
    client.leave();  // the time that was given is over: none is left for unloading
  }
  client.close();
  if (end == WakeUps::Cause::kTime && options.count) {
    failForCount(options, shown);
  }
  return ExitCode::kOk;
}

}  // namespace ssdlife
