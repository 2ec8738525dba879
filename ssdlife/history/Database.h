#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

// SQLite in the terms of C++: what fails throws, what is opened is closed.
namespace ssdlife {

class DatabaseError : public std::runtime_error {
 public:
  DatabaseError(int code, const std::string& what) : std::runtime_error(what), code_(code) {}

  // The content is not, or no longer, that of a database.
  [[nodiscard]] bool damaged() const;

  // It can be read, but not be written: a full disk, a read-only one, a failing one.
  [[nodiscard]] bool unwritable() const;

 private:
  int code_;
};

class Database;

// One SQL statement with its values. Belongs to the thread that uses its database.
class Statement {
 public:
  Statement(const Database& database, const char* sql);

  // The values of its question marks, in their order.
  template <typename... Values>
  Statement& with(const Values&... values) {
    int place = 0;
    (bind(++place, values), ...);
    return *this;
  }

  // Goes on to the next row; false after the last one.
  bool next();

  // For statements without rows.
  void run() {
    while (next()) {
    }
  }

  // Of the present row; columns count from 0.
  [[nodiscard]] std::int64_t number(int column) const;
  [[nodiscard]] std::optional<std::int64_t> numberIfAny(int column) const;
  [[nodiscard]] std::string text(int column) const;

 private:
  void bind(int place, std::int64_t value);
  void bind(int place, const std::optional<std::int64_t>& value);
  void bind(int place, const std::string& value);

  sqlite3* connection_;
  std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement_;
};

// A connection. For one thread at a time.
class Database {
 public:
  enum class Access { kWrite, kRead, kUnchanging };

  // kWrite makes the file if there is none, and lasts through a power cut: write-ahead log,
  // synchronous=FULL. kUnchanging reads what nobody can write, on a read-only file system.
  Database(const std::string& path, Access access);

  // In memory.
  Database();

  void run(const char* sql) const;
  [[nodiscard]] sqlite3* connection() const { return connection_.get(); }

  // Replaces all that is in `target`, at once or not at all.
  void copyTo(const Database& target) const;

 private:
  std::unique_ptr<sqlite3, int (*)(sqlite3*)> connection_;
};

// All that is done until commit(), or nothing of it.
class Transaction {
 public:
  explicit Transaction(const Database& database);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void commit();

 private:
  const Database& database_;
  bool open_ = true;
};

}  // namespace ssdlife
