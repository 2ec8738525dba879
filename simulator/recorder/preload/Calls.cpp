#include <fcntl.h>

#include <cerrno>
#include <cstdarg>

#include "simulator/preload/Real.h"
#include "simulator/recorder/NodeName.h"
#include "simulator/recorder/preload/Recorder.h"

// The calls through which a process reaches its drives. Each goes where it would have gone without
// the recorder, which notes what came of it.
#define VEKSSD_INTERPOSED extern "C" __attribute__((visibility("default")))

namespace simulator {

namespace {

// Notes an opening of path, which has just been tried, and leaves errno as it was.
int noted(const char* path, int fd) {
  const int error = errno;
  Recorder* const current = recorder();
  if (current == nullptr) {
    return fd;
  }
  const std::string node = driveNode(path);
  current->setNode(fd, node.empty() ? nullptr : current->keep(node));
  if (!node.empty()) {
    current->recording().opened(node, fd < 0 ? error : 0);
  }
  errno = error;
  return fd;
}

bool takesMode(int flags) { return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE; }

int closeNoted(int fd) {
  // Before: as soon as it is closed the number may be another thread's.
  if (Recorder* const current = recorder()) {
    current->setNode(fd, nullptr);
  }
  return real().close(fd);
}

int duplicated(int fd, int copy) {
  Recorder* const current = recorder();
  if (current != nullptr && copy >= 0 && copy != fd) {
    current->setNode(copy, current->nodeAt(fd));
  }
  return copy;
}

int controlled(int fd, int command, void* argument) {
  const int result = real().fcntl(fd, command, argument);
  return command == F_DUPFD || command == F_DUPFD_CLOEXEC ? duplicated(fd, result) : result;
}

int recorded(Recorder& current, const std::string& node, int fd, unsigned long number,
             void* argument) {
  const DriveRequest request = decodeRequest(number, argument);
  const int result = real().ioctl(fd, number, argument);
  const int error = errno;
  current.recording().answered(node, request, answerTo(request, result, error));
  errno = error;
  return result;
}

}  // namespace

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
  return noted(path, real().open(path, flags, mode));
}

VEKSSD_INTERPOSED int open64(const char* path, int flags, ...) {
  VEKSSD_OPEN_MODE(flags)
  return noted(path, real().open(path, flags, mode));
}

VEKSSD_INTERPOSED int __open_2(const char* path, int flags);
VEKSSD_INTERPOSED int __open_2(const char* path, int flags) {
  return noted(path, real().open(path, flags));
}

VEKSSD_INTERPOSED int __open64_2(const char* path, int flags);
VEKSSD_INTERPOSED int __open64_2(const char* path, int flags) {
  return noted(path, real().open(path, flags));
}

VEKSSD_INTERPOSED int openat(int directory, const char* path, int flags, ...) {
  VEKSSD_OPEN_MODE(flags)
  return noted(path, real().openat(directory, path, flags, mode));
}

VEKSSD_INTERPOSED int openat64(int directory, const char* path, int flags, ...) {
  VEKSSD_OPEN_MODE(flags)
  return noted(path, real().openat(directory, path, flags, mode));
}

VEKSSD_INTERPOSED int close(int fd) { return closeNoted(fd); }

VEKSSD_INTERPOSED int fcntl(int fd, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  return controlled(fd, command, argument);
}

VEKSSD_INTERPOSED int fcntl64(int fd, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  return controlled(fd, command, argument);
}

VEKSSD_INTERPOSED int dup(int fd) noexcept { return duplicated(fd, real().dup(fd)); }

VEKSSD_INTERPOSED int dup2(int fd, int copy) noexcept {
  return duplicated(fd, real().dup2(fd, copy));
}

VEKSSD_INTERPOSED int dup3(int fd, int copy, int flags) noexcept {
  return duplicated(fd, real().dup3(fd, copy, flags));
}

VEKSSD_INTERPOSED int ioctl(int fd, unsigned long number, ...) noexcept {
  va_list arguments;
  va_start(arguments, number);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  Recorder* const current = recorder();
  const std::string* const node = current == nullptr ? nullptr : current->nodeAt(fd);
  return node == nullptr ? real().ioctl(fd, number, argument)
                         : recorded(*current, *node, fd, number, argument);
}

// For the program that records on purpose: writes the machine file now. Null if that worked, else
// what went wrong; the text lives until the next call.
VEKSSD_INTERPOSED const char* vekssdrecSave();
VEKSSD_INTERPOSED const char* vekssdrecSave() {
  static std::string trouble;
  Recorder* const current = recorder();
  trouble = current == nullptr ? "nothing is recorded: VEKSSD_RECORD is not set" : current->save();
  return trouble.empty() ? nullptr : trouble.c_str();
}
