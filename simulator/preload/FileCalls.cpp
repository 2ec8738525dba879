#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdarg>

#include "simulator/preload/Calls.h"

// open, close and what works on descriptors and paths.
namespace simulator {

nlohmann::ordered_json entryOf(std::string_view call, std::string_view path, long result,
                               bool failed) {
  nlohmann::ordered_json entry{{"call", call}, {"path", path}, {"return", result}};
  if (failed) {
    entry["errno"] = errnoName(errno);
  }
  return entry;
}

namespace {

std::string flagNames(int flags) {
  static constexpr std::pair<int, const char*> kFlags[] = {
      {O_CREAT, "O_CREAT"},       {O_EXCL, "O_EXCL"},          {O_TRUNC, "O_TRUNC"},
      {O_APPEND, "O_APPEND"},     {O_NONBLOCK, "O_NONBLOCK"},  {O_CLOEXEC, "O_CLOEXEC"},
      {O_NOFOLLOW, "O_NOFOLLOW"}, {O_DIRECTORY, "O_DIRECTORY"}};
  const int mode = flags & O_ACCMODE;
  std::string names = mode == O_RDONLY ? "O_RDONLY" : mode == O_WRONLY ? "O_WRONLY" : "O_RDWR";
  for (const auto& [flag, name] : kFlags) {
    if ((flags & flag) == flag) {
      names += "|";
      names += name;
    }
  }
  return names;
}

int fail(int error) {
  errno = error;
  return -1;
}

// A file with this content that only this process sees.
int textDescriptor(const VirtualFile& file, int flags) {
  if ((flags & O_ACCMODE) != O_RDONLY) {
    return fail(EACCES);
  }
  const int fd = memfd_create(file.path.c_str(), (flags & O_CLOEXEC) != 0 ? MFD_CLOEXEC : 0U);
  if (fd < 0) {
    return -1;
  }
  if (!writeAll(fd, file.content) || lseek(fd, 0, SEEK_SET) != 0) {
    const int error = errno;
    real().close(fd);
    return fail(error);
  }
  return fd;
}

int openAny(const VirtualFile& file, int flags, mode_t mode) {
  switch (file.kind) {
    case VirtualFile::Kind::missing:
      return fail(file.error);
    case VirtualFile::Kind::text:
      return textDescriptor(file, flags);
    case VirtualFile::Kind::directory:
      return (flags & O_ACCMODE) != O_RDONLY ? fail(EISDIR) : real().open("/", flags);
    case VirtualFile::Kind::device:
      return real().open("/dev/null", flags & ~(O_CREAT | O_EXCL | O_TRUNC));
    case VirtualFile::Kind::elsewhere:
      return real().open(file.realPath.c_str(), flags, mode);
  }
  return fail(ENOENT);
}

int openPath(const char* path, int flags, mode_t mode) {
  Session* current = session();
  const VirtualFile* file = fileAt(current, path);
  if (file == nullptr) {
    const int fd = real().open(path, flags, mode);
    descriptors().clear(fd);
    return fd;
  }
  const std::string tidy = tidyPath(path);
  const FaultOutcome* fault = current->meetFault("open", tidy);
  const int fd = fault != nullptr ? fail(*fault->error) : openFile(*file, flags, mode);
  if (current->journal().wanted()) {
    auto entry = entryOf("open", tidy, fd, fd < 0);
    entry["flags"] = flagNames(flags);
    current->journal().write(std::move(entry));
  }
  return fd;
}

bool takesMode(int flags) { return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE; }

int accessPath(const char* path, int mode, const VirtualFile& file) {
  Session* current = session();
  const std::string tidy = tidyPath(path);
  int result = 0;
  if (const FaultOutcome* fault = current->meetFault("access", tidy)) {
    result = fail(*fault->error);
  } else if (file.kind == VirtualFile::Kind::missing) {
    result = fail(file.error);
  } else if (file.kind == VirtualFile::Kind::elsewhere) {
    result = real().access(file.realPath.c_str(), mode);
  }
  if (current->journal().wanted()) {
    current->journal().write(entryOf("access", tidy, result, result != 0));
  }
  return result;
}

int closeDescriptor(int fd, const VirtualFile& file) {
  Session* current = session();
  const FaultOutcome* fault = current->meetFault("close", file.path);
  descriptors().clear(fd);
  int result = real().close(fd);
  if (fault != nullptr) {
    result = fail(*fault->error);
  }
  if (current->journal().wanted()) {
    auto entry = entryOf("close", file.path, result, result != 0);
    entry["fd"] = fd;
    current->journal().write(std::move(entry));
  }
  return result;
}

int controlDescriptor(int fd, const VirtualFile& file, int command, void* argument) {
  Session* current = session();
  const FaultOutcome* fault = current->meetFault("fcntl", file.path);
  const int result = fault != nullptr ? fail(*fault->error) : real().fcntl(fd, command, argument);
  if (result >= 0 && (command == F_DUPFD || command == F_DUPFD_CLOEXEC)) {
    descriptors().set(result, &file);
  }
  if (current->journal().wanted()) {
    auto entry = entryOf("fcntl", file.path, result, result < 0);
    entry["fd"] = fd;
    entry["command"] = command == F_SETFD ? "F_SETFD" : std::to_string(command);
    entry["argument"] = reinterpret_cast<std::intptr_t>(argument);
    current->journal().write(std::move(entry));
  }
  return result;
}

int duplicated(int fd, int copy) {
  if (copy >= 0 && copy != fd) {
    descriptors().clear(copy);
    descriptors().set(copy, descriptors().at(fd));
  }
  return copy;
}

}  // namespace

int openFile(const VirtualFile& file, int flags, mode_t mode) {
  const int fd = openAny(file, flags, mode);
  if (fd >= Descriptors::kLimit) {
    real().close(fd);
    return fail(EMFILE);
  }
  descriptors().clear(fd);
  descriptors().set(fd, &file);
  return fd;
}

}  // namespace simulator

using namespace simulator;

#define VEKSSD_OPEN_MODE(flags)                              \
  mode_t mode = 0;                                           \
  if (takesMode(flags)) {                                    \
    va_list arguments;                                       \
    va_start(arguments, flags);                              \
    mode = static_cast<mode_t>(va_arg(arguments, unsigned)); \
    va_end(arguments);                                       \
  }

VEKSSD_INTERPOSED int open(const char* path, int flags, ...) {
  VEKSSD_OPEN_MODE(flags)
  return openPath(path, flags, mode);
}

VEKSSD_INTERPOSED int open64(const char* path, int flags, ...) {
  VEKSSD_OPEN_MODE(flags)
  return openPath(path, flags, mode);
}

VEKSSD_INTERPOSED int __open_2(const char* path, int flags);
VEKSSD_INTERPOSED int __open_2(const char* path, int flags) { return openPath(path, flags, 0); }

VEKSSD_INTERPOSED int __open64_2(const char* path, int flags);
VEKSSD_INTERPOSED int __open64_2(const char* path, int flags) { return openPath(path, flags, 0); }

static int openFrom(int directory, const char* path, int flags, mode_t mode) {
  if (fileAt(session(), path) != nullptr) {
    return openPath(path, flags, mode);
  }
  const int fd = real().openat(directory, path, flags, mode);
  descriptors().clear(fd);
  return fd;
}

VEKSSD_INTERPOSED int openat(int directory, const char* path, int flags, ...) {
  VEKSSD_OPEN_MODE(flags)
  return openFrom(directory, path, flags, mode);
}

VEKSSD_INTERPOSED int openat64(int directory, const char* path, int flags, ...) {
  VEKSSD_OPEN_MODE(flags)
  return openFrom(directory, path, flags, mode);
}

VEKSSD_INTERPOSED int close(int fd) {
  const VirtualFile* file = descriptors().at(fd);
  return file == nullptr ? real().close(fd) : closeDescriptor(fd, *file);
}

static int control(int fd, int command, void* argument) {
  const VirtualFile* file = descriptors().at(fd);
  return file == nullptr ? real().fcntl(fd, command, argument)
                         : controlDescriptor(fd, *file, command, argument);
}

VEKSSD_INTERPOSED int fcntl(int fd, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  return control(fd, command, argument);
}

VEKSSD_INTERPOSED int fcntl64(int fd, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  return control(fd, command, argument);
}

VEKSSD_INTERPOSED int dup(int fd) noexcept { return duplicated(fd, real().dup(fd)); }

VEKSSD_INTERPOSED int dup2(int fd, int copy) noexcept {
  return duplicated(fd, real().dup2(fd, copy));
}

VEKSSD_INTERPOSED int dup3(int fd, int copy, int flags) noexcept {
  return duplicated(fd, real().dup3(fd, copy, flags));
}

VEKSSD_INTERPOSED int access(const char* path, int mode) noexcept {
  const VirtualFile* file = fileAt(session(), path);
  return file == nullptr ? real().access(path, mode) : accessPath(path, mode, *file);
}

VEKSSD_INTERPOSED int faccessat(int directory, const char* path, int mode, int flags) noexcept {
  const VirtualFile* file = fileAt(session(), path);
  return file == nullptr ? real().faccessat(directory, path, mode, flags)
                         : accessPath(path, mode, *file);
}
