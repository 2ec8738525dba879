#pragma once

#include "log/LogRecord.h"

/// Where log records go.
class LogHandler {
 public:
  virtual ~LogHandler() = default;

  /// Outputs one record. May be called on any thread.
  virtual void Log(LogRecord& record) = 0;

  /// The last level that this handler lets through.
  virtual LOG_LEVEL GetLevel() = 0;
};
