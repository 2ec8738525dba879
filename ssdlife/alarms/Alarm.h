#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ssdlife/history/Database.h"
#include "ssdlife/service/Clock.h"

// What has been told, to whom, and what is still to be told.
namespace ssdlife {

enum class Cause { kThreshold, kSilent, kVanished };

// "threshold", "silent", "vanished": in the database, for hooks and in JSON.
const char* nameOf(Cause cause);

struct Alarm {
  std::int64_t id = 0;
  std::int64_t drive = 0;  // KnownDrive::id
  Cause cause = Cause::kThreshold;
  Seconds raised = 0;
  std::optional<Seconds> ended;
  std::string model;
  std::string serialNumber;
  std::string firmware;
  std::string node;
  std::optional<std::int64_t> percentage;  // the last that was told
  std::optional<std::int64_t> hours;
  std::int64_t threshold = 0;
};

// One line in plain words: "SSD sda (TS64GHSD630, serial number E2148): 96 % of its rated life is
// used, over the threshold of 95 %".
std::string inWords(const Alarm& alarm);

// One alarm for one hook. The journal is told in the same way, under the name "journal".
struct Delivery {
  std::int64_t alarm = 0;
  std::string hook;
  std::string state;  // "pending", "done", "gone": the hook is no longer there
  std::int64_t attempts = 0;
  std::optional<Seconds> last;
  Seconds due = 0;
  std::string outcome;  // of the last attempt, in words
};

inline constexpr const char* kJournal = "journal";

// All, the oldest first, those of one drive if it is given.
std::vector<Alarm> alarmsOf(const Database& database, std::optional<std::int64_t> drive);

std::optional<Alarm> alarmOf(const Database& database, std::int64_t id);

std::vector<Delivery> deliveriesOf(const Database& database, std::int64_t alarm);

// The next one that is due: alarms in their order, the journal first, then hooks by name.
std::optional<Delivery> nextDelivery(const Database& database, Seconds now);

// An attempt begins; what becomes of it is unknown until endAttempt().
void beginAttempt(const Database& database, const Delivery& delivery, Seconds now);

// An attempt that failed is made again after a pause, which doubles from a minute to six hours.
void endAttempt(const Database& database, const Delivery& delivery, bool done,
                const std::string& outcome, Seconds now);

void giveUp(const Database& database, const Delivery& delivery, Seconds now);

// Sends the last alarm of the drive again, to all of `hooks` and the journal. False without one.
bool sendAgain(const Database& database, std::int64_t drive, const std::vector<std::string>& hooks,
               Seconds now);

// Makes the deliveries of a new alarm.
void addDeliveries(const Database& database, std::int64_t alarm,
                   const std::vector<std::string>& hooks, Seconds now);

}  // namespace ssdlife
