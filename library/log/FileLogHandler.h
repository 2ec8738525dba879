#pragma once

#include <cstdint>
#include <string>

#include "base/Mutex.h"
#include "base/UniqueFile.h"
#include "log/LogHandler.h"

/// Appends every record to one log file until the file has reached its size limit, and echoes it to
/// standard error when asked to. Configured once, from /etc/ssddrv/log.conf. Any thread may log.
class FileLogHandler : public LogHandler {
 public:
  FileLogHandler();
  FileLogHandler(const FileLogHandler&) = delete;
  FileLogHandler& operator=(const FileLogHandler&) = delete;

  void Log(LogRecord& record) override VEKSSD_EXCLUDES(fileMutex);
  LOG_LEVEL GetLevel() override;

  /// Sets the defaults, then what log.conf says.
  void GetConfig();

  /// Appends `line` to the file. A line that can't be written, or that comes after the limit was
  /// found reached, is lost; output to the file never resumes after the limit. A line behind one
  /// that was cut short, as on a full disk, begins a line of its own.
  void WriteLog(const std::string& line) VEKSSD_EXCLUDES(fileMutex);

  /// Writes `line` to standard error.
  void WriteConsole(const std::string& line);

  /// Held while the process forks, so that no line is being made or written then: the locks that
  /// this takes would never be given back in the child.
  Mutex& lockOfLog() VEKSSD_RETURN_CAPABILITY(fileMutex) { return fileMutex; }

 private:
  void append(const std::string& line) VEKSSD_REQUIRES(fileMutex);

  LOG_LEVEL level = LOG_LEVEL_OFF;
  std::string fileName;
  std::uint64_t maxLength = 0;  ///< in bytes
  bool isConsole = false;
  UniqueFile file VEKSSD_GUARDED_BY(fileMutex);
  bool limitReached VEKSSD_GUARDED_BY(fileMutex) = false;
  bool isCutShort VEKSSD_GUARDED_BY(fileMutex) = false;  ///< the last line, perhaps
  /// The one lock of the log: two threads may neither open the file twice nor close it under each
  /// other.
  Mutex fileMutex;
};
