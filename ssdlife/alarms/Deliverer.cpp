#include "ssdlife/alarms/Deliverer.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>
#include <vector>

#include "ssdlife/Show.h"
#include "ssdlife/alarms/HookFolder.h"
#include "ssdlife/alarms/HookRun.h"

namespace ssdlife {
namespace {

std::string hostName() {
  std::array<char, 256> name{};
  return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

std::string textOf(const std::optional<std::int64_t>& number) {
  return number ? std::to_string(*number) : "";
}

// What a hook is told: ssdlife(8) lists it.
std::vector<std::string> environmentOf(const Alarm& alarm, const Delivery& delivery) {
  return {"PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin",
          "LANG=C.UTF-8",
          "HOME=/",
          "SSDLIFE_ALARM=" + std::to_string(alarm.id),
          "SSDLIFE_ATTEMPT=" + std::to_string(delivery.attempts + 1),
          std::string("SSDLIFE_CAUSE=") + nameOf(alarm.cause),
          "SSDLIFE_MESSAGE=" + inWords(alarm),
          "SSDLIFE_TIME=" + timeText(alarm.raised),
          "SSDLIFE_HOST=" + hostName(),
          "SSDLIFE_MODEL=" + printable(alarm.model),
          "SSDLIFE_SERIAL=" + printable(alarm.serialNumber),
          "SSDLIFE_FIRMWARE=" + printable(alarm.firmware),
          "SSDLIFE_DRIVE=" + printable(alarm.node),
          "SSDLIFE_PERCENTAGE=" + textOf(alarm.percentage),
          "SSDLIFE_HOURS=" + textOf(alarm.hours),
          "SSDLIFE_THRESHOLD=" + std::to_string(alarm.threshold)};
}

}  // namespace

Deliverer::Deliverer(StateFile& state, const Teller& teller, std::string hookFolder,
                     std::chrono::seconds limit)
    : state_(state), teller_(teller), folder_(std::move(hookFolder)), limit_(limit) {}

bool Deliverer::step() {
  std::optional<Delivery> next;
  std::optional<Alarm> alarm;
  state_.write([&](const Database& database) {
    next = nextDelivery(database, now());
    if (next) {
      alarm = alarmOf(database, next->alarm);
      beginAttempt(database, *next, now());
    }
  });
  if (!next || !alarm) {
    return false;
  }
  deliver(*alarm, *next);
  return true;
}

void Deliverer::deliver(const Alarm& alarm, const Delivery& delivery) {
  if (delivery.hook != kJournal) {
    run(alarm, delivery);
    return;
  }
  teller_.alarm(alarm);
  state_.write(
      [&](const Database& database) { endAttempt(database, delivery, true, "done", now()); });
}

void Deliverer::run(const Alarm& alarm, const Delivery& delivery) {
  const std::string path = folder_ + '/' + delivery.hook;
  if (access(path.c_str(), F_OK) != 0 && errno == ENOENT) {
    teller_.notice("hook " + delivery.hook + ": it is gone");
    state_.write([&](const Database& database) { giveUp(database, delivery, now()); });
    return;
  }
  const std::string refusal = refusalOf(folder_, delivery.hook);
  const HookEnd end =
      refusal.empty() ? runHook(path, environmentOf(alarm, delivery), limit_,
                                [&](const std::string& line) {
                                  teller_.notice("hook " + delivery.hook + ": " + printable(line));
                                })
                      : HookEnd{false, "refused: " + refusal};
  if (!end.done) {
    teller_.notice("hook " + delivery.hook + ": " + end.outcome + "; it will be tried again");
  }
  state_.write([&](const Database& database) {
    endAttempt(database, delivery, end.done, end.outcome, now());
  });
}

}  // namespace ssdlife
