#include "ssdlife/history/StateFile.h"

#include <unistd.h>

#include <array>
#include <filesystem>
#include <system_error>
#include <utility>

#include "ssdlife/Failure.h"
#include "ssdlife/history/Schema.h"

namespace ssdlife {
namespace {

constexpr const char* kFileName = "/history.db";

// What a power cut or a bad sector left is found now, not at the next alarm.
void check(const Database& database) {
  Statement result(database, "PRAGMA quick_check(1)");
  if (result.next() && result.text(0) != "ok") {
    throw DatabaseError(SQLITE_CORRUPT, result.text(0));
  }
}

std::unique_ptr<Database> openForReading(const std::string& path) {
  const auto tried = [&path](Database::Access access) {
    auto database = std::make_unique<Database>(path, access);
    Statement(*database, "SELECT count(*) FROM sqlite_master").run();
    return database;
  };
  try {
    return tried(Database::Access::kRead);
  } catch (const DatabaseError& error) {
    // The write-ahead log needs a writable folder even to be read.
    if (!error.unwritable()) {
      throw;
    }
  }
  return tried(Database::Access::kUnchanging);
}

}  // namespace

StateFile::StateFile(const std::string& folder, Notice notice)
    : folder_(folder), path_(folder + kFileName), notice_(std::move(notice)) {
  std::error_code ignored;
  std::filesystem::create_directories(folder_, ignored);
  try {
    open();
  } catch (const DatabaseError& error) {
    if (error.damaged()) {
      setAside(error.what());
    } else {
      moveToMemory(error.what());
    }
  }
}

void StateFile::open() {
  auto database = std::make_unique<Database>(path_, Database::Access::kWrite);
  check(*database);
  migrate(*database);
  // A disk that can't be written shows now.
  Transaction(*database).commit();
  database_ = std::move(database);
  inMemory_ = false;
}

void StateFile::setAside(const std::string& why) {
  database_.reset();
  const std::string aside = path_ + ".damaged-" + timeText(now());
  std::error_code failed;
  std::filesystem::rename(path_, aside, failed);
  for (const char* const suffix : {"-wal", "-shm"}) {
    std::error_code ignored;
    std::filesystem::rename(path_ + suffix, aside + suffix, ignored);
  }
  if (failed) {
    moveToMemory(why);
    return;
  }
  notice_("the history was damaged (" + why + "): it is now " + aside + ", and a new one begins");
  try {
    open();
  } catch (const DatabaseError& error) {
    moveToMemory(error.what());
  }
}

void StateFile::moveToMemory(const std::string& why) {
  auto memory = std::make_unique<Database>();
  try {
    (database_ ? *database_ : *openForReading(path_)).copyTo(*memory);
  } catch (const DatabaseError&) {
    // Nothing to be had from the disk: what is known begins today.
    memory = std::make_unique<Database>();
  }
  migrate(*memory);
  notice_(path_ + " can't be written (" + why + "): everything goes on in memory");
  database_ = std::move(memory);
  inMemory_ = true;
}

void StateFile::attempt(const std::function<void(const Database&)>& action) {
  Transaction transaction(*database_);
  action(*database_);
  transaction.commit();
}

void StateFile::write(const std::function<void(const Database&)>& action) {
  const std::lock_guard lock(mutex_);
  try {
    attempt(action);
    return;
  } catch (const DatabaseError& error) {
    if (inMemory_ || !(error.damaged() || error.unwritable())) {
      throw;
    }
    if (error.damaged()) {
      setAside(error.what());
    } else {
      moveToMemory(error.what());
    }
  }
  attempt(action);
}

void StateFile::goBackToDisk() {
  const std::lock_guard lock(mutex_);
  if (!inMemory_) {
    return;
  }
  try {
    std::error_code ignored;
    std::filesystem::create_directories(folder_, ignored);
    auto disk = std::make_unique<Database>(path_, Database::Access::kWrite);
    migrate(*disk);  // not over what a newer ssdlife has put there
    database_->copyTo(*disk);
    database_ = std::move(disk);
    inMemory_ = false;
    notice_(path_ + " can be written again");
  } catch (const std::exception&) {
    // Still not: memory will do.
  }
}

bool StateFile::inMemory() const {
  const std::lock_guard lock(mutex_);
  return inMemory_;
}

std::unique_ptr<Database> readState(const std::string& folder) {
  const std::string path = folder + kFileName;
  if (access(path.c_str(), F_OK) != 0) {
    return nullptr;
  }
  try {
    auto database = openForReading(path);
    requireKnown(*database);
    return database;
  } catch (const DatabaseError& error) {
    throw Failure(ExitCode::kState, path + " can't be read: " + error.what());
  }
}

}  // namespace ssdlife
