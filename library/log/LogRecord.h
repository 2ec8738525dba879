#pragma once

#include <cstdint>
#include <string>

#include <sys/types.h>

#include "log/Log.h"

/// One record: a formatted message with the time, process and thread of the call that made it.
class LogRecord {
 public:
  /// Stamps the record with the present time, process and thread.
  LogRecord(LOG_LEVEL recordLevel, std::string text);
  virtual ~LogRecord() = default;

  /// Asks for the number of this process and keeps it for the records to come; to be called again
  /// in a forked child. Until the first call every record asks.
  static void keepProcess();

  /// Replaces `line` with the whole line, its line feed included:
  /// time, tab, process and thread, tab, level name, tab, message.
  void GetLogLine(std::string& line) const;

  // Each appends its field to `text`.
  void GetTimeString(std::string& text) const;
  void GetPidString(std::string& text) const;
  void GetTidString(std::string& text) const;
  void GetLevelString(std::string& text) const;

 private:
  /// A moment of the real-time clock.
  struct Time {
    std::int64_t seconds;        ///< since the epoch
    std::uint16_t milliseconds;  ///< 0 to 999
  };

  static Time now();

  LOG_LEVEL level;
  std::string message;
  Time time;
  std::uint32_t tid;  ///< the low 32 bits of the thread's pthread_t
  pid_t pid;
};
