#include "ssdlife/alarms/Alarm.h"

#include <algorithm>

#include "ssdlife/Show.h"

namespace ssdlife {
namespace {

constexpr Seconds kFirstPause = 60;
constexpr Seconds kLongestPause = 6 * 3600;

#define ALARM_COLUMNS                                                                   \
  "SELECT alarm.id, drive, cause, raised, ended, model, serial, firmware, alarm.node, " \
  "percentage, "                                                                        \
  "hours, threshold FROM alarm JOIN drive ON drive.id = alarm.drive "

Cause causeOf(const std::string& name) {
  return name == nameOf(Cause::kSilent)
             ? Cause::kSilent
             : (name == nameOf(Cause::kVanished) ? Cause::kVanished : Cause::kThreshold);
}

Alarm alarmOf(const Statement& row) {
  return {row.number(0),      row.number(1),      causeOf(row.text(2)), row.number(3),
          row.numberIfAny(4), row.text(5),        row.text(6),          row.text(7),
          row.text(8),        row.numberIfAny(9), row.numberIfAny(10),  row.number(11)};
}

constexpr const char* kDeliveryColumns =
    "SELECT alarm, hook, state, attempts, last, due, outcome FROM delivery ";

Delivery deliveryOf(const Statement& row) {
  return {row.number(0),      row.text(1),   row.text(2), row.number(3),
          row.numberIfAny(4), row.number(5), row.text(6)};
}

Seconds pauseAfter(std::int64_t attempts) {
  Seconds pause = kFirstPause;
  for (std::int64_t attempt = 1; attempt < attempts && pause < kLongestPause; ++attempt) {
    pause *= 2;
  }
  return std::min(pause, kLongestPause);
}

std::string used(const Alarm& alarm) {
  return alarm.percentage ? std::to_string(*alarm.percentage) + " %" : "unknown";
}

}  // namespace

const char* nameOf(Cause cause) {
  switch (cause) {
    case Cause::kSilent:
      return "silent";
    case Cause::kVanished:
      return "vanished";
    case Cause::kThreshold:
      break;
  }
  return "threshold";
}

std::string inWords(const Alarm& alarm) {
  const std::string drive = "SSD " + printable(alarm.node) + " (" + printable(alarm.model) +
                            ", serial number " + printable(alarm.serialNumber) + ")";
  switch (alarm.cause) {
    case Cause::kSilent:
      return drive + " no longer tells how worn it is; it last told " + used(alarm);
    case Cause::kVanished:
      return drive + " has vanished; " + used(alarm) + " of its rated life was used";
    case Cause::kThreshold:
      break;
  }
  return drive + ": " + used(alarm) + " of its rated life is used, over the threshold of " +
         std::to_string(alarm.threshold) + " %";
}

std::vector<Alarm> alarmsOf(const Database& database, std::optional<std::int64_t> drive) {
  std::vector<Alarm> alarms;
  Statement rows(database, ALARM_COLUMNS "WHERE ?1 IS NULL OR drive = ?1 ORDER BY alarm.id");
  rows.with(drive);
  while (rows.next()) {
    alarms.push_back(alarmOf(rows));
  }
  return alarms;
}

std::optional<Alarm> alarmOf(const Database& database, std::int64_t id) {
  Statement row(database, ALARM_COLUMNS "WHERE alarm.id = ?");
  return row.with(id).next() ? std::optional(alarmOf(row)) : std::nullopt;
}

std::vector<Delivery> deliveriesOf(const Database& database, std::int64_t alarm) {
  std::vector<Delivery> deliveries;
  Statement rows(
      database,
      (std::string(kDeliveryColumns) + "WHERE alarm = ? ORDER BY hook <> 'journal', hook").c_str());
  rows.with(alarm);
  while (rows.next()) {
    deliveries.push_back(deliveryOf(rows));
  }
  return deliveries;
}

std::optional<Delivery> nextDelivery(const Database& database, Seconds now) {
  // One that is due later than any pause lasts was put off before the clock was set back.
  Statement row(database, (std::string(kDeliveryColumns) +
                           "WHERE state = 'pending' AND (due <= ?1 OR due > ?1 + ?2) "
                           "ORDER BY alarm, hook <> 'journal', hook LIMIT 1")
                              .c_str());
  return row.with(now, kLongestPause).next() ? std::optional(deliveryOf(row)) : std::nullopt;
}

void beginAttempt(const Database& database, const Delivery& delivery, Seconds now) {
  Statement(database,
            "UPDATE delivery SET attempts = attempts + 1, last = ?, outcome = 'begun' "
            "WHERE alarm = ? AND hook = ?")
      .with(now, delivery.alarm, delivery.hook)
      .run();
}

void endAttempt(const Database& database, const Delivery& delivery, bool done,
                const std::string& outcome, Seconds now) {
  Statement(database,
            "UPDATE delivery SET state = ?, last = ?, due = ?, outcome = ? "
            "WHERE alarm = ? AND hook = ?")
      .with(std::string(done ? "done" : "pending"), now, now + pauseAfter(delivery.attempts + 1),
            outcome, delivery.alarm, delivery.hook)
      .run();
}

void giveUp(const Database& database, const Delivery& delivery, Seconds now) {
  Statement(database,
            "UPDATE delivery SET state = 'gone', last = ?, outcome = 'the hook is gone' "
            "WHERE alarm = ? AND hook = ?")
      .with(now, delivery.alarm, delivery.hook)
      .run();
}

void addDeliveries(const Database& database, std::int64_t alarm,
                   const std::vector<std::string>& hooks, Seconds now) {
  const auto add = [&](const std::string& hook) {
    Statement(database,
              "INSERT OR REPLACE INTO delivery(alarm, hook, state, attempts, last, due, outcome) "
              "VALUES(?, ?, 'pending', 0, NULL, ?, '')")
        .with(alarm, hook, now)
        .run();
  };
  add(kJournal);
  std::for_each(hooks.begin(), hooks.end(), add);
}

bool sendAgain(const Database& database, std::int64_t drive, const std::vector<std::string>& hooks,
               Seconds now) {
  const std::vector<Alarm> alarms = alarmsOf(database, drive);
  if (alarms.empty()) {
    return false;
  }
  addDeliveries(database, alarms.back().id, hooks, now);
  return true;
}

}  // namespace ssdlife
