#include "ssdlife/alarms/Teller.h"

#include <sys/uio.h>
#include <syslog.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "ssdlife/Show.h"

namespace ssdlife {
namespace {

// Fixed for ever: what journalctl MESSAGE_ID= is given, and the catalog is looked up by.
constexpr const char* kThresholdId = "4a526fb11b284616905846059f82bc07";
constexpr const char* kSilentId = "18ed9ccb323e4eefb735c39cac982414";
constexpr const char* kVanishedId = "9dac1e0ee91b40e7907807a45b12452a";

using Fields = std::vector<std::string>;

const char* idOf(Cause cause) {
  switch (cause) {
    case Cause::kSilent:
      return kSilentId;
    case Cause::kVanished:
      return kVanishedId;
    case Cause::kThreshold:
      break;
  }
  return kThresholdId;
}

// libsystemd loses in silence what it has no journal for.
bool send(const Fields& fields) {
  if (access("/run/systemd/journal/socket", F_OK) != 0) {
    return false;
  }
  std::vector<iovec> parts;
  std::transform(fields.begin(), fields.end(), std::back_inserter(parts),
                 [](const std::string& field) {
                   return iovec{const_cast<char*>(field.data()), field.size()};
                 });
  return sd_journal_sendv(parts.data(), static_cast<int>(parts.size())) == 0;
}

void tell(int priority, const std::string& line, Fields fields) {
  fields.push_back("MESSAGE=" + line);
  fields.push_back("PRIORITY=" + std::to_string(priority));
  fields.emplace_back("SYSLOG_IDENTIFIER=ssdlife");
  if (!send(fields)) {
    syslog(LOG_DAEMON | priority, "%s", line.c_str());  // NOLINT: its only form
  }
}

}  // namespace

void Teller::notice(const std::string& line) const {
  if (to_ == To::kStandardError) {
    output_.error(line);
  } else {
    tell(LOG_WARNING, line, {});
  }
}

void Teller::alarm(const Alarm& alarm) const {
  if (to_ == To::kStandardError) {
    output_.error("alarm: " + inWords(alarm));
    return;
  }
  Fields fields = {
      std::string("MESSAGE_ID=") + idOf(alarm.cause), "SSDLIFE_MODEL=" + printable(alarm.model),
      "SSDLIFE_SERIAL=" + printable(alarm.serialNumber), "SSDLIFE_DRIVE=" + printable(alarm.node),
      "SSDLIFE_THRESHOLD=" + std::to_string(alarm.threshold)};
  if (alarm.percentage) {
    fields.push_back("SSDLIFE_PERCENTAGE=" + std::to_string(*alarm.percentage));
  }
  if (alarm.hours) {
    fields.push_back("SSDLIFE_HOURS=" + std::to_string(*alarm.hours));
  }
  tell(LOG_CRIT, inWords(alarm), std::move(fields));
}

}  // namespace ssdlife
