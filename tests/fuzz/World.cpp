#include "tests/fuzz/World.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <glob.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr int kDriveFd = 1 << 20;
constexpr char kLogFile[] = "/fuzz/log";

world::DriveAnswer driveAnswer = nullptr;
int openDriveCount = 0;
int drive = 0;
std::string logged;
bool logging = false;

/// Every record is formatted, and none reaches a disk. VEKSSD_FUZZ_LOG_LEVEL=0 leaves the records
/// out, for many more executions in the same time.
std::string logSettings() {
  const char* level = std::getenv("VEKSSD_FUZZ_LOG_LEVEL");
  return std::string("Level=") + (level == nullptr ? "4" : level) + "\nFileName=" + kLogFile + "\n";
}

std::map<std::string, std::string>& files() {
  static std::map<std::string, std::string> all = {{"/etc/ssddrv/log.conf", logSettings()}};
  return all;
}

ssize_t takeLogged(void* /*cookie*/, const char* text, std::size_t length) {
  if (logging) {
    logged.append(text, length);
  }
  return static_cast<ssize_t>(length);
}

std::FILE* openLog() {
  cookie_io_functions_t functions{};
  functions.write = takeLogged;
  return fopencookie(nullptr, "a", functions);
}

std::FILE* openText(const std::string& content) {
  // A stream over memory can't be empty.
  return content.empty() ? fmemopen(nullptr, 1, "r")
                         : fmemopen(const_cast<char*>(content.data()), content.size(), "r");
}

template <typename Function>
Function next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void world::answerDrive(DriveAnswer answer) { driveAnswer = answer; }

void world::setFile(const std::string& path, std::string_view content) {
  files()[path].assign(content);
}

int world::openDrives() { return openDriveCount; }

int world::currentDrive() { return drive; }

std::string world::takeLog() {
  logging = true;
  return std::move(logged);
}

std::uint8_t world::Input::byte() {
  std::uint8_t value = 0;
  fill(&value, 1);
  return value;
}

void world::Input::fill(void* buffer, std::size_t length) {
  const std::size_t there = length < size_ ? length : size_;
  std::memset(buffer, 0, length);
  if (there > 0) {
    std::memcpy(buffer, data_, there);
  }
  data_ += there;
  size_ -= there;
}

std::string_view world::Input::rest() { return {reinterpret_cast<const char*>(data_), size_}; }

void world::require(bool condition, const char* what) {
  if (!condition) {
    std::fprintf(stderr, "violated: %s\n", what);
    std::abort();
  }
}

// ---- The calls. The executable's definitions come before the C library's.

extern "C" {

std::FILE* fopen(const char* path, const char* mode) {
  if (std::strcmp(path, kLogFile) == 0) {
    return openLog();
  }
  const auto file = files().find(path);
  if (file != files().end()) {
    return openText(file->second);
  }
  if (std::strncmp(path, "/etc/ssddrv/", 12) == 0 || std::strncmp(path, "/sys/", 5) == 0) {
    errno = ENOENT;
    return nullptr;
  }
  static const auto systemFopen = next<std::FILE* (*)(const char*, const char*)>("fopen");
  return systemFopen(path, mode);
}

int open(const char* path, int flags, ...) {
  if (std::strncmp(path, "/dev/nvme", 9) == 0 || std::strcmp(path, world::kDrive) == 0) {
    ++openDriveCount;
    drive = path[std::strlen(path) - 1] - '0';
    return kDriveFd;
  }
  std::va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

int close(int fd) {
  if (fd == kDriveFd) {
    --openDriveCount;
    return 0;
  }
  return static_cast<int>(syscall(SYS_close, fd));
}

int ioctl(int fd, unsigned long request, ...) {
  std::va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  if (fd == kDriveFd) {
    return driveAnswer(request, argument);
  }
  return static_cast<int>(syscall(SYS_ioctl, fd, request, argument));
}

int fcntl(int fd, int command, ...) {
  std::va_list arguments;
  va_start(arguments, command);
  const long argument = va_arg(arguments, long);
  va_end(arguments);
  if (fd == kDriveFd) {
    return 0;
  }
  return static_cast<int>(syscall(SYS_fcntl, fd, command, argument));
}

int fstat(int fd, struct stat* status) {
  if (fd < 0) {  // a stream over memory: the log
    *status = {};
    return 0;
  }
  return static_cast<int>(syscall(SYS_fstat, fd, status));
}

DIR* opendir(const char* path) {
  static const auto systemOpendir = next<DIR* (*)(const char*)>("opendir");
  // The machine has no disks: a folder in which no name begins with "sd".
  return systemOpendir(std::strcmp(path, "/sys/block/") == 0 ? "/proc/self/task" : path);
}

int glob(const char* /*pattern*/, int /*flags*/, int (* /*onError*/)(const char*, int),
         glob_t* found) {
  static char first[] = "/dev/nvme0";
  static char second[] = "/dev/nvme1";
  static char* paths[] = {first, second, nullptr};
  *found = {};
  found->gl_pathc = 2;
  found->gl_pathv = paths;
  return 0;
}

}  // extern "C"
