#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "ssdlife/history/Database.h"
#include "ssdlife/service/Clock.h"

namespace ssdlife {

// One line for whoever looks after this till.
using Notice = std::function<void(const std::string& line)>;

// What ssdlife remembers of the drives, in history.db of a folder. Any thread may use it; one
// transaction runs at a time.
//
// Whatever happens to the disk, work goes on: a damaged file is set aside under another name and a
// new one begun; where nothing can be written, all is kept in memory, and written when that becomes
// possible again.
class StateFile {
 public:
  // The folder is made if need be. Throws Failure when the file is of a newer ssdlife.
  StateFile(const std::string& folder, Notice notice);

  // Runs `action` in a transaction, once more if the file had to be given up meanwhile. It must be
  // able to begin anew.
  void write(const std::function<void(const Database&)>& action);

  // Where all is in memory: writes it to the file, if that can be done now.
  void goBackToDisk();

  [[nodiscard]] bool inMemory() const;

 private:
  void open();
  void setAside(const std::string& why);
  void moveToMemory(const std::string& why);
  void attempt(const std::function<void(const Database&)>& action);

  const std::string folder_;
  const std::string path_;
  const Notice notice_;
  mutable std::mutex mutex_;
  std::unique_ptr<Database> database_;
  bool inMemory_ = false;
};

// The file read as it stands, for commands that only show it; null where there is none. Throws
// Failure when it can't be read, or is of a newer ssdlife.
std::unique_ptr<Database> readState(const std::string& folder);

}  // namespace ssdlife
