// The file and drive calls of the library under test, led to the machine and, when their time has
// come, to a failure. Calls of anybody else go to the system as they are. Streams: StreamCalls.cpp.

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <glob.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/fault/Calls.h"
#include "tests/fault/DriveAnswer.h"
#include "tests/fault/Machine.h"
#include "tests/fault/Streams.h"
#include "tests/fault/System.h"

namespace {

using fault::Call;
using fault::Drive;
using fault::Failure;
using fault::Injector;
using fault::Machine;

using fault::next;

struct System {
  decltype(&::opendir) opendir = next<decltype(&::opendir)>("opendir");
  decltype(&::readdir) readdir = next<decltype(&::readdir)>("readdir");
  decltype(&::closedir) closedir = next<decltype(&::closedir)>("closedir");
  decltype(&::glob) glob = next<decltype(&::glob)>("glob");
  decltype(&::globfree) globfree = next<decltype(&::globfree)>("globfree");
};

const System& theSystem() { return fault::lookedUp<System>(); }
[[maybe_unused]] const System& lookedUpEarly = theSystem();

/// What the library has open. Never destroyed: the library may go last.
struct Opened {
  std::mutex mutex;
  std::array<std::atomic<Drive*>, 65536> drives{};
  std::vector<glob_t> scans;
};

Opened& opened() {
  static auto* const all = new Opened;
  return *all;
}

Drive* driveOf(int fd) {
  return fd >= 0 && static_cast<std::size_t>(fd) < opened().drives.size()
             ? opened().drives[static_cast<std::size_t>(fd)].load(std::memory_order_relaxed)
             : nullptr;
}

void setDrive(int fd, Drive* drive) {
  if (fd >= 0 && static_cast<std::size_t>(fd) < opened().drives.size()) {
    opened().drives[static_cast<std::size_t>(fd)].store(drive, std::memory_order_relaxed);
  }
}

/// "/dev/sda #2": the second time since the library was loaded.
std::string opening(Drive* drive) { return drive->node() + " #" + std::to_string(++drive->opened); }

std::string nodeOf(Drive* drive) {
  return drive->node() + " #" + std::to_string(drive->opened.load(std::memory_order_relaxed));
}

int fail(const Failure& failure) {
  errno = failure.number;
  return -1;
}

int systemOpen(const char* path, int flags, mode_t mode) {
  return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

int libraryOpen(const char* path, int flags) {
  const Machine* machine = Machine::current();
  Drive* drive = machine != nullptr ? machine->driveAt(path) : nullptr;
  const std::string what = drive != nullptr ? opening(drive) : path;
  if (const auto failure = Injector::instance().meet(Call::kOpen, what)) {
    return fail(*failure);
  }
  const int fd = systemOpen(fault::realPath(path).c_str(), flags, 0);
  setDrive(fd, drive);
  return fd;
}

int libraryIoctl(int fd, unsigned long request, void* argument) {
  Drive* drive = driveOf(fd);
  if (drive == nullptr) {
    errno = ENOTTY;
    return -1;
  }
  const std::string what = nodeOf(drive) + ' ' + fault::questionOf(request, argument);
  const auto failure = Injector::instance().meet(Call::kIoctl, what);
  if (failure && failure->kind == Failure::kError) {
    return fail(*failure);
  }
  if (failure && failure->kind == Failure::kStatus) {
    return failure->number;
  }
  while (drive->hanging.load(std::memory_order_relaxed)) {
    usleep(1000);
  }
  if (drive->refusing.load(std::memory_order_relaxed)) {
    errno = EIO;
    return -1;
  }
  return fault::answer(*drive, request, argument, failure.has_value());
}

dirent* libraryReaddir(DIR* folder) {
  dirent* entry = theSystem().readdir(folder);
  const std::string what = entry != nullptr ? entry->d_name : "end";
  if (const auto failure = Injector::instance().meet(Call::kReaddir, what)) {
    if (failure->kind == Failure::kError) {
      errno = failure->number;
    }
    return nullptr;
  }
  return entry;
}

int libraryGlob(const char* pattern, int flags, int (*onError)(const char*, int), glob_t* found) {
  if (const auto failure = Injector::instance().meet(Call::kGlob, pattern)) {
    *found = {};
    return failure->number;
  }
  const int result = theSystem().glob(fault::realPath(pattern).c_str(), flags, onError, found);
  if (result == 0) {
    const std::size_t prefix = fault::realPath(pattern).size() - std::strlen(pattern);
    for (std::size_t i = 0; i < found->gl_pathc; ++i) {
      char* path = found->gl_pathv[i];
      std::memmove(path, path + prefix, std::strlen(path + prefix) + 1);
    }
    const std::lock_guard lock(opened().mutex);
    opened().scans.push_back(*found);
  }
  return result;
}

}  // namespace

namespace fault {

int releaseScans() {
  const std::lock_guard lock(opened().mutex);
  const int count = static_cast<int>(opened().scans.size());
  for (glob_t& scan : opened().scans) {
    theSystem().globfree(&scan);
  }
  opened().scans.clear();
  return count;
}

}  // namespace fault

extern "C" {

FAULT_VISIBLE int open(const char* path, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return FAULT_CALLED_BY_LIBRARY() ? libraryOpen(path, flags) : systemOpen(path, flags, mode);
}

FAULT_VISIBLE int close(int fd) {
  if (FAULT_CALLED_BY_LIBRARY()) {
    Drive* drive = driveOf(fd);
    const auto failure = Injector::instance().meet(
        Call::kClose, drive != nullptr ? nodeOf(drive) : std::to_string(fd));
    setDrive(fd, nullptr);
    // Linux gives the descriptor back whatever it answers.
    const int result = static_cast<int>(syscall(SYS_close, fd));
    return failure ? fail(*failure) : result;
  }
  return static_cast<int>(syscall(SYS_close, fd));
}

FAULT_VISIBLE int ioctl(int fd, unsigned long request, ...) {
  std::va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  return FAULT_CALLED_BY_LIBRARY() ? libraryIoctl(fd, request, argument)
                                   : static_cast<int>(syscall(SYS_ioctl, fd, request, argument));
}

FAULT_VISIBLE int fcntl(int fd, int command, ...) {
  std::va_list arguments;
  va_start(arguments, command);
  const long argument = va_arg(arguments, long);
  va_end(arguments);
  if (FAULT_CALLED_BY_LIBRARY()) {
    Drive* drive = driveOf(fd);
    if (const auto failure = Injector::instance().meet(
            Call::kFcntl, drive != nullptr ? nodeOf(drive) : std::to_string(fd))) {
      return fail(*failure);
    }
  }
  return static_cast<int>(syscall(SYS_fcntl, fd, command, argument));
}

FAULT_VISIBLE int access(const char* path, int mode) {
  if (!FAULT_CALLED_BY_LIBRARY()) {
    return static_cast<int>(syscall(SYS_faccessat, AT_FDCWD, path, mode));
  }
  if (const auto failure = Injector::instance().meet(Call::kAccess, path)) {
    return fail(*failure);
  }
  return static_cast<int>(syscall(SYS_faccessat, AT_FDCWD, fault::realPath(path).c_str(), mode));
}

FAULT_VISIBLE DIR* opendir(const char* path) {
  if (!FAULT_CALLED_BY_LIBRARY()) {
    return theSystem().opendir(path);
  }
  if (const auto failure = Injector::instance().meet(Call::kOpendir, path)) {
    errno = failure->number;
    return nullptr;
  }
  return theSystem().opendir(fault::realPath(path).c_str());
}

FAULT_VISIBLE dirent* readdir(DIR* folder) {
  return FAULT_CALLED_BY_LIBRARY() ? libraryReaddir(folder) : theSystem().readdir(folder);
}

FAULT_VISIBLE int closedir(DIR* folder) {
  if (FAULT_CALLED_BY_LIBRARY()) {
    const auto failure = Injector::instance().meet(Call::kClosedir, "folder");
    const int result = theSystem().closedir(folder);
    return failure ? fail(*failure) : result;
  }
  return theSystem().closedir(folder);
}

FAULT_VISIBLE int glob(const char* pattern, int flags, int (*onError)(const char*, int),
                       glob_t* found) {
  return FAULT_CALLED_BY_LIBRARY() ? libraryGlob(pattern, flags, onError, found)
                                   : theSystem().glob(pattern, flags, onError, found);
}

FAULT_VISIBLE void globfree(glob_t* found) {
  if (FAULT_CALLED_BY_LIBRARY()) {
    const std::lock_guard lock(opened().mutex);
    auto& scans = opened().scans;
    scans.erase(
        std::remove_if(scans.begin(), scans.end(),
                       [found](const glob_t& scan) { return scan.gl_pathv == found->gl_pathv; }),
        scans.end());
  }
  theSystem().globfree(found);
}

}  // extern "C"
