#include "log/FileLogHandler.h"

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/KeyValueFile.h"
#include "base/UniqueFd.h"

namespace {

constexpr char kConfigPath[] = "/etc/ssddrv/log.conf";
constexpr char kDefaultLogPath[] = "/var/log/ssddrv/ssddrv.log";
constexpr std::uint64_t kDefaultMaxLength = 10ULL * 1024 * 1024;
constexpr std::uint64_t kLeastMaxLength = 4096;
constexpr mode_t kPermissions = 07777;
constexpr mode_t kWritableByOthers = S_IWGRP | S_IWOTH;

bool meansYes(const std::string& value) {
  return !value.empty() && (value[0] == '1' || value[0] == 'T' || value[0] == 't');
}

bool exists(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 || errno != ENOENT;
}

/// The descriptor of `file`, which is made a higher one if it is that of a standard stream. A
/// process whose standard streams are closed gives their numbers to the next files that it opens,
/// and prints into these what it means for its streams.
int descriptorOf(UniqueFile& file) {
  const int fd = fileno(file.get());
  if (fd > STDERR_FILENO) {
    return fd;
  }
  UniqueFd higher(fcntl(fd, F_DUPFD, STDERR_FILENO + 1));
  UniqueFile moved(fdopen(higher.get(), "a+"));
  if (moved == nullptr) {
    return fd;
  }
  file = std::move(moved);
  return higher.release();  // now the stream's
}

/// Whether the file of `size` bytes ends within a line. Asked of the file, as other processes
/// append to it too.
bool endsWithinLine(int fd, off_t size) {
  char last = '\n';
  return size > 0 && pread(fd, &last, 1, size - 1) == 1 && last != '\n';
}

}  // namespace

FileLogHandler::FileLogHandler() { GetConfig(); }

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
      // No value turns it off. kept: docs/compatibility.md
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
  {
    // The C library's lock in localtime_r would not be free in a child forked meanwhile.
    const MutexLock lock(fileMutex);
    record.GetLogLine(line);
  }
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
  const bool isNew = file == nullptr && !exists(fileName);
  if (file == nullptr) {
    file.reset(std::fopen(fileName.c_str(), "a+"));
  }
  if (file == nullptr) {
    return;
  }
  const int fd = descriptorOf(file);
  struct stat status {};
  if (fstat(fd, &status) != 0) {
    file.reset();
    return;
  }
  if (isNew && (status.st_mode & kWritableByOthers) != 0) {
    (void)fchmod(fd, status.st_mode & kPermissions & ~kWritableByOthers);
  }
  if (static_cast<std::uint64_t>(status.st_size) >= maxLength) {
    file.reset();
    limitReached = true;
  } else if (isCutShort && endsWithinLine(fd, status.st_size)) {
    append('\n' + line);
  } else {
    append(line);
  }
}

void FileLogHandler::append(const std::string& line) {
  const bool isTaken = std::fwrite(line.data(), 1, line.size(), file.get()) == line.size();
  const bool isWritten = std::fflush(file.get()) == 0;
  isCutShort = !isTaken || !isWritten;
}
