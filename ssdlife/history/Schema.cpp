#include "ssdlife/history/Schema.h"

#include <iterator>
#include <string>

#include "ssdlife/Failure.h"

namespace ssdlife {
namespace {

// Each brings a database one version further. What has been released stays as it is: a change is a
// script more. Times are seconds since 1970, UTC.
constexpr const char* kMigrations[] = {
    // 1: drives and their wear.
    "CREATE TABLE drive("
    " id INTEGER PRIMARY KEY,"
    " model TEXT NOT NULL, serial TEXT NOT NULL, firmware TEXT NOT NULL, node TEXT NOT NULL,"
    " first_seen INTEGER NOT NULL, present INTEGER NOT NULL,"
    " UNIQUE(model, serial));"
    "CREATE TABLE sample("
    " drive INTEGER NOT NULL REFERENCES drive, time INTEGER NOT NULL,"
    " percentage INTEGER, hours INTEGER,"
    " PRIMARY KEY(drive, time)) WITHOUT ROWID;",
    // 2: alarms, and who has been told of each.
    "CREATE TABLE alarm("
    " id INTEGER PRIMARY KEY, drive INTEGER NOT NULL REFERENCES drive, cause TEXT NOT NULL,"
    " raised INTEGER NOT NULL, ended INTEGER,"
    " node TEXT NOT NULL, percentage INTEGER, hours INTEGER, threshold INTEGER NOT NULL);"
    "CREATE INDEX alarm_of_drive ON alarm(drive, cause);"
    "CREATE TABLE delivery("
    " alarm INTEGER NOT NULL REFERENCES alarm, hook TEXT NOT NULL, state TEXT NOT NULL,"
    " attempts INTEGER NOT NULL, last INTEGER, due INTEGER NOT NULL, outcome TEXT NOT NULL,"
    " PRIMARY KEY(alarm, hook)) WITHOUT ROWID;"
    "CREATE INDEX delivery_pending ON delivery(due) WHERE state = 'pending';",
};

constexpr auto kVersion = static_cast<std::int64_t>(std::size(kMigrations));

std::int64_t versionOf(const Database& database) {
  Statement version(database, "PRAGMA user_version");
  return version.next() ? version.number(0) : 0;
}

[[noreturn]] void refuse(std::int64_t version, const char* remedy) {
  throw Failure(ExitCode::kState, "the history is of version " + std::to_string(version) +
                                      ", this ssdlife knows version " + std::to_string(kVersion) +
                                      ": " + remedy);
}

void requireNotNewer(std::int64_t version) {
  if (version > kVersion) {
    refuse(version, "a newer ssdlife wrote it, and it has been left as it is");
  }
}

}  // namespace

void migrate(const Database& database) {
  std::int64_t version = versionOf(database);
  requireNotNewer(version);
  if (version == kVersion) {
    return;
  }
  Transaction transaction(database);
  // Another process may have been faster.
  for (version = versionOf(database); version < kVersion; ++version) {
    database.run(kMigrations[version]);
    database.run(("PRAGMA user_version=" + std::to_string(version + 1)).c_str());
  }
  transaction.commit();
}

void requireKnown(const Database& database) {
  const std::int64_t version = versionOf(database);
  requireNotNewer(version);
  if (version < kVersion) {
    refuse(version, "\"ssdlife sample\" or the service brings it up to date");
  }
}

}  // namespace ssdlife
