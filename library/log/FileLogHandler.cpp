#include "log/FileLogHandler.h"

#include <algorithm>
#include <string_view>

#include <sys/stat.h>

#include "base/KeyValueFile.h"
#include "base/UniqueFile.h"

namespace {

constexpr char kConfigPath[] = "/etc/ssddrv/log.conf";
constexpr char kDefaultLogPath[] = "/var/log/ssddrv/ssddrv.log";
constexpr std::uint64_t kDefaultMaxLength = 10ULL * 1024 * 1024;
constexpr std::uint64_t kLeastMaxLength = 4096;

bool meansYes(const std::string& value) {
  return !value.empty() && (value[0] == '1' || value[0] == 'T' || value[0] == 't');
}

}  // namespace

FileLogHandler::FileLogHandler() { GetConfig(); }

FileLogHandler::~FileLogHandler() {
  const MutexLock lock(fileMutex);
  closeFile();
}

void FileLogHandler::GetConfig() {
  level = LOG_LEVEL_INFO;
  fileName = kDefaultLogPath;
  maxLength = kDefaultMaxLength;
  isConsole = false;

  const UniqueFile config(std::fopen(kConfigPath, "r"));
  if (config == nullptr) {
    return;
  }
  readKeyValueLines(config.get(), "", [this](std::string_view key, const std::string& value) {
    if (key == "FileName") {
      if (!value.empty()) {
        fileName = value;
      }
    } else if (key == "IsConsole") {
      // Can only be turned on: there is no value for "no".
      isConsole = isConsole || meansYes(value);
    } else if (key == "Level") {
      const auto number = parseUnsigned(value);
      if (number && *number <= LOG_LEVEL_TRACE) {
        level = static_cast<LOG_LEVEL>(*number);
      }
    } else if (key == "MaxLength") {
      if (const auto number = parseUnsigned(value)) {
        maxLength = std::max<std::uint64_t>(*number, kLeastMaxLength);
      }
    }
  });
}

void FileLogHandler::Log(LogRecord& record) {
  std::string line;
  record.GetLogLine(line);
  if (isConsole) {
    WriteConsole(line);
  }
  WriteLog(line);
}

LOG_LEVEL FileLogHandler::GetLevel() { return level; }

void FileLogHandler::WriteConsole(const std::string& line) { std::fputs(line.c_str(), stderr); }

void FileLogHandler::WriteLog(const std::string& line) {
  const MutexLock lock(fileMutex);
  if (limitReached) {
    return;
  }
  if (file == nullptr) {
    file = std::fopen(fileName.c_str(), "a+");
    if (file == nullptr) {
      return;
    }
  }
  struct stat status {};
  if (fstat(fileno(file), &status) != 0) {
    closeFile();
    return;
  }
  if (static_cast<std::uint64_t>(status.st_size) < maxLength) {
    std::fwrite(line.data(), 1, line.size(), file);
    std::fflush(file);
  } else {
    closeFile();
    limitReached = true;
  }
}

void FileLogHandler::closeFile() {
  if (file != nullptr) {
    std::fclose(file);
    file = nullptr;
  }
}
