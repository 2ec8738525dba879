#include "ssdlife/alarms/Rules.h"

#include <algorithm>
#include <cstdlib>
#include <set>

#include "ssdlife/history/History.h"

namespace ssdlife {
namespace {

constexpr unsigned kMissesOfASilentDrive = 3;

// The work of one observation.
class Observer {
 public:
  Observer(const Database& database, const AlarmRules& rules, Misses& misses, Seconds now)
      : database_(database), rules_(rules), misses_(misses), now_(now) {}

  void see(const Drive& drive) {
    const std::int64_t id = takeDown(database_, drive, now_);
    seen_.insert(id);
    end(id, Cause::kVanished);
    if (const auto percentage = toldBy(drive)) {
      misses_.erase(id);
      end(id, Cause::kSilent);
      seeWear(id, *percentage);
    } else if (lastTold(id) && ++misses_[id] >= kMissesOfASilentDrive && rules_.silent &&
               isNews(id, Cause::kSilent)) {
      raise(id, Cause::kSilent, lastTold(id));
    }
  }

  void missTheOthers() {
    for (const KnownDrive& drive : knownDrives(database_)) {
      if (!drive.present || seen_.count(drive.id) != 0) {
        continue;
      }
      Statement(database_, "UPDATE drive SET present = 0 WHERE id = ?").with(drive.id).run();
      if (rules_.vanished && isNews(drive.id, Cause::kVanished)) {
        raise(drive.id, Cause::kVanished, lastTold(drive.id));
      }
    }
  }

  [[nodiscard]] const std::vector<Alarm>& raised() const { return raised_; }

 private:
  void seeWear(std::int64_t id, std::int64_t percentage) {
    if (!rules_.threshold || percentage <= rules_.limit) {
      return;
    }
    // A limit that was raised since, and is passed again, is news.
    Statement told(
        database_,
        "SELECT 1 FROM alarm WHERE drive = ? AND cause = 'threshold' AND percentage > ?");
    if (!told.with(id, rules_.limit).next()) {
      raise(id, Cause::kThreshold, percentage);
    }
  }

  [[nodiscard]] std::optional<std::int64_t> lastTold(std::int64_t id) const {
    Statement row(database_,
                  "SELECT percentage FROM sample WHERE drive = ? AND percentage IS NOT NULL "
                  "ORDER BY time DESC LIMIT 1");
    return row.with(id).next() ? row.numberIfAny(0) : std::nullopt;
  }

  // Neither going on, nor so fresh that the drive just comes and goes.
  [[nodiscard]] bool isNews(std::int64_t id, Cause cause) const {
    Statement row(database_,
                  "SELECT raised, ended FROM alarm WHERE drive = ? AND cause = ? "
                  "ORDER BY id DESC LIMIT 1");
    return !row.with(id, std::string(nameOf(cause))).next() ||
           (row.numberIfAny(1) && std::abs(now_ - row.number(0)) >= kDay);
  }

  void end(std::int64_t id, Cause cause) const {
    Statement(database_,
              "UPDATE alarm SET ended = ? WHERE drive = ? AND cause = ? AND ended IS NULL")
        .with(now_, id, std::string(nameOf(cause)))
        .run();
  }

  void raise(std::int64_t id, Cause cause, std::optional<std::int64_t> percentage) {
    Statement(database_,
              "INSERT INTO alarm(drive, cause, raised, node, percentage, hours, threshold) "
              "SELECT id, ?, ?, node, ?, (SELECT hours FROM sample WHERE drive = drive.id AND "
              "hours IS NOT NULL ORDER BY time DESC LIMIT 1), ? FROM drive WHERE id = ?")
        .with(std::string(nameOf(cause)), now_, percentage, rules_.limit, id)
        .run();
    const std::int64_t alarm = sqlite3_last_insert_rowid(database_.connection());
    addDeliveries(database_, alarm, rules_.hooks, now_);
    raised_.push_back(*alarmOf(database_, alarm));
  }

  const Database& database_;
  const AlarmRules& rules_;
  Misses& misses_;
  const Seconds now_;
  std::set<std::int64_t> seen_;
  std::vector<Alarm> raised_;
};

}  // namespace

std::vector<Alarm> observe(const Database& database, const std::vector<Drive>& drives,
                           const AlarmRules& rules, Misses& misses, Seconds now) {
  Observer observer(database, rules, misses, now);
  for (const Drive& drive : drives) {
    observer.see(drive);
  }
  observer.missTheOthers();
  return observer.raised();
}

}  // namespace ssdlife
