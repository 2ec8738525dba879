#include "ssdlife/history/History.h"

#include <algorithm>
#include <iterator>

#include "ssdlife/Failure.h"
#include "ssdlife/Show.h"

namespace ssdlife {
namespace {

template <typename Number>
std::optional<std::int64_t> widened(const std::optional<Number>& number) {
  return number ? std::optional(static_cast<std::int64_t>(*number)) : std::nullopt;
}

std::int64_t idOf(const Database& database, const Drive& drive, Seconds now) {
  const std::string serial = identityOf(drive);
  Statement known(database,
                  "SELECT id, firmware, node, present FROM drive WHERE model = ? AND serial = ?");
  if (!known.with(drive.model, serial).next()) {
    Statement(database,
              "INSERT INTO drive(model, serial, firmware, node, first_seen, present) "
              "VALUES(?, ?, ?, ?, ?, 1)")
        .with(drive.model, serial, drive.firmware, drive.physicalDrive, now)
        .run();
    return sqlite3_last_insert_rowid(database.connection());
  }
  const std::int64_t id = known.number(0);
  if (known.text(1) != drive.firmware || known.text(2) != drive.physicalDrive ||
      known.number(3) == 0) {
    Statement(database, "UPDATE drive SET firmware = ?, node = ?, present = 1 WHERE id = ?")
        .with(drive.firmware, drive.physicalDrive, id)
        .run();
  }
  return id;
}

bool begins(const std::string& text, const std::string& with) {
  return text.compare(0, with.size(), with) == 0;
}

bool isNamed(const KnownDrive& drive, const std::string& text) {
  return drive.node == text || "/dev/" + drive.node == text || drive.serialNumber == text ||
         begins(drive.model + "___" + drive.serialNumber + "___" + drive.node, text);
}

}  // namespace

std::string identityOf(const Drive& drive) {
  return drive.serialNumber.empty() ? "none, at " + drive.physicalDrive : drive.serialNumber;
}

std::optional<std::int64_t> toldBy(const Drive& drive) {
  return drive.readError ? std::nullopt : widened(drive.percentageUsed);
}

std::vector<KnownDrive> knownDrives(const Database& database) {
  std::vector<KnownDrive> drives;
  Statement rows(database,
                 "SELECT id, model, serial, firmware, node, first_seen, present FROM drive "
                 "ORDER BY present DESC, node, id");
  while (rows.next()) {
    drives.push_back({rows.number(0), rows.text(1), rows.text(2), rows.text(3), rows.text(4),
                      rows.number(5), rows.number(6) != 0});
  }
  return drives;
}

std::vector<KnownDrive> knownDrives(const Database& database, const std::string& text) {
  std::vector<KnownDrive> all = knownDrives(database);
  if (text.empty()) {
    return all;
  }
  std::vector<KnownDrive> named;
  std::copy_if(all.begin(), all.end(), std::back_inserter(named),
               [&text](const KnownDrive& drive) { return isNamed(drive, text); });
  // A place that another drive has taken is that one's.
  const auto isPresent = [](const KnownDrive& drive) { return drive.present; };
  if (std::any_of(named.begin(), named.end(), isPresent)) {
    named.erase(std::stable_partition(named.begin(), named.end(), isPresent), named.end());
  }
  if (named.empty()) {
    throw Failure(ExitCode::kNothing, "the history knows no SSD called " + printable(text));
  }
  return named;
}

std::vector<Sample> samplesOf(const Database& database, std::int64_t drive, Seconds now) {
  std::vector<Sample> samples;
  Statement rows(database,
                 "SELECT time, percentage, hours FROM sample WHERE drive = ? AND time <= ? "
                 "ORDER BY time");
  rows.with(drive, now + kDay);
  while (rows.next()) {
    samples.push_back({rows.number(0), rows.numberIfAny(1), rows.numberIfAny(2)});
  }
  return samples;
}

std::int64_t takeDown(const Database& database, const Drive& drive, Seconds now) {
  const std::int64_t id = idOf(database, drive, now);
  const auto percentage = toldBy(drive);
  Statement last(database,
                 "SELECT time, percentage FROM sample WHERE drive = ? AND time <= ? "
                 "ORDER BY time DESC LIMIT 1");
  last.with(id, now);
  const bool due = !last.next() || (last.number(0) != now && (last.number(0) / kDay != now / kDay ||
                                                              last.numberIfAny(1) != percentage));
  if (due) {
    Statement(database,
              "INSERT OR REPLACE INTO sample(drive, time, percentage, hours) VALUES(?, ?, ?, ?)")
        .with(id, now, percentage, drive.readError ? std::nullopt : widened(drive.poweredOnHours))
        .run();
  }
  return id;
}

}  // namespace ssdlife
