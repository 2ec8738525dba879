#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "base/Mutex.h"
#include "log/LogHandler.h"

/// Appends every record to one log file until the file has reached its size limit, and echoes it to
/// standard error when asked to. Configured once, from /etc/ssddrv/log.conf. Any thread may log.
class FileLogHandler : public LogHandler {
 public:
  FileLogHandler();
  ~FileLogHandler() override;
  FileLogHandler(const FileLogHandler&) = delete;
  FileLogHandler& operator=(const FileLogHandler&) = delete;

  void Log(LogRecord& record) override;
  LOG_LEVEL GetLevel() override;

  /// Sets the defaults, then what log.conf says.
  void GetConfig();

  /// Appends `line` to the file. A line that can't be written, or that comes after the limit was
  /// found reached, is lost; output to the file never resumes after the limit.
  void WriteLog(const std::string& line) VEKSSD_EXCLUDES(fileMutex);

  /// Writes `line` to standard error.
  void WriteConsole(const std::string& line);

 private:
  void closeFile() VEKSSD_REQUIRES(fileMutex);

  LOG_LEVEL level = LOG_LEVEL_OFF;
  std::string fileName;
  std::uint64_t maxLength = 0;  ///< in bytes
  bool isConsole = false;
  std::FILE* file VEKSSD_GUARDED_BY(fileMutex) = nullptr;
  bool limitReached VEKSSD_GUARDED_BY(fileMutex) = false;
  /// Two threads may neither open the file twice nor close it under each other.
  Mutex fileMutex;
};
