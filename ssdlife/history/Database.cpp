#include "ssdlife/history/Database.h"

namespace ssdlife {
namespace {

// Another process's transaction is over long before.
constexpr int kBusyMilliseconds = 10000;

void require(int code, sqlite3* connection) {
  if (code != SQLITE_OK && code != SQLITE_ROW && code != SQLITE_DONE) {
    throw DatabaseError(code,
                        connection == nullptr ? sqlite3_errstr(code) : sqlite3_errmsg(connection));
  }
}

std::unique_ptr<sqlite3, int (*)(sqlite3*)> opened(const std::string& name, int flags) {
  sqlite3* connection = nullptr;
  const int code = sqlite3_open_v2(name.c_str(), &connection, flags, nullptr);
  std::unique_ptr<sqlite3, int (*)(sqlite3*)> owner(connection, sqlite3_close);
  require(code, connection);
  sqlite3_busy_timeout(connection, kBusyMilliseconds);
  return owner;
}

// A path as the part of an URI: what would end it is escaped.
std::string uri(const std::string& path) {
  std::string text = "file:";
  for (const char c : path) {
    text += c == '%' ? "%25" : (c == '?' ? "%3f" : (c == '#' ? "%23" : std::string(1, c)));
  }
  return text + "?immutable=1";
}

std::unique_ptr<sqlite3, int (*)(sqlite3*)> opened(const std::string& path,
                                                   Database::Access access) {
  switch (access) {
    case Database::Access::kWrite:
      return opened(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    case Database::Access::kRead:
      return opened(path, SQLITE_OPEN_READONLY);
    case Database::Access::kUnchanging:
      break;
  }
  return opened(uri(path), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
}

}  // namespace

bool DatabaseError::damaged() const {
  return (code_ & 0xFF) == SQLITE_CORRUPT || (code_ & 0xFF) == SQLITE_NOTADB;
}

bool DatabaseError::unwritable() const {
  switch (code_ & 0xFF) {
    case SQLITE_READONLY:
    case SQLITE_FULL:
    case SQLITE_IOERR:
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
      return true;
    default:
      return false;
  }
}

Statement::Statement(const Database& database, const char* sql)
    : connection_(database.connection()), statement_(nullptr, sqlite3_finalize) {
  sqlite3_stmt* statement = nullptr;
  require(sqlite3_prepare_v2(connection_, sql, -1, &statement, nullptr), connection_);
  statement_.reset(statement);
}

bool Statement::next() {
  const int code = sqlite3_step(statement_.get());
  require(code, connection_);
  return code == SQLITE_ROW;
}

std::int64_t Statement::number(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

std::optional<std::int64_t> Statement::numberIfAny(int column) const {
  return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL
             ? std::nullopt
             : std::optional(number(column));
}

std::string Statement::text(int column) const {
  const auto* const bytes = static_cast<const char*>(sqlite3_column_blob(statement_.get(), column));
  const int length = sqlite3_column_bytes(statement_.get(), column);
  return bytes == nullptr ? "" : std::string(bytes, static_cast<std::size_t>(length));
}

void Statement::bind(int place, std::int64_t value) {
  require(sqlite3_bind_int64(statement_.get(), place, value), connection_);
}

void Statement::bind(int place, const std::optional<std::int64_t>& value) {
  require(value ? sqlite3_bind_int64(statement_.get(), place, *value)
                : sqlite3_bind_null(statement_.get(), place),
          connection_);
}

void Statement::bind(int place, const std::string& value) {
  require(sqlite3_bind_text(statement_.get(), place, value.data(), static_cast<int>(value.size()),
                            SQLITE_TRANSIENT),
          connection_);
}

Database::Database(const std::string& path, Access access) : connection_(opened(path, access)) {
  if (access == Access::kWrite) {
    run("PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL; PRAGMA foreign_keys=ON");
  }
}

Database::Database()
    : connection_(opened(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)) {}

void Database::run(const char* sql) const {
  require(sqlite3_exec(connection(), sql, nullptr, nullptr, nullptr), connection());
}

void Database::copyTo(const Database& target) const {
  sqlite3_backup* const copy =
      sqlite3_backup_init(target.connection(), "main", connection(), "main");
  if (copy != nullptr) {
    sqlite3_backup_step(copy, -1);
    sqlite3_backup_finish(copy);
  }
  require(sqlite3_errcode(target.connection()), target.connection());
}

Transaction::Transaction(const Database& database) : database_(database) {
  database_.run("BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
  if (open_) {
    sqlite3_exec(database_.connection(), "ROLLBACK", nullptr, nullptr, nullptr);
  }
}

void Transaction::commit() {
  database_.run("COMMIT");
  open_ = false;
}

}  // namespace ssdlife
