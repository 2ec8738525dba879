// The streams of the library under test, led to the machine and, when their time has come, to a
// failure. Streams of anybody else are the system's.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <stdio_ext.h>
#include <sys/stat.h>

#include "tests/fault/Calls.h"
#include "tests/fault/Streams.h"
#include "tests/fault/System.h"

namespace {

using fault::Call;
using fault::Failure;
using fault::Injector;
using fault::next;

struct System {
  decltype(&::fopen) fopen = next<decltype(&::fopen)>("fopen");
  decltype(&::fclose) fclose = next<decltype(&::fclose)>("fclose");
  decltype(&::fgets) fgets = next<decltype(&::fgets)>("fgets");
  decltype(&::getdelim) getdelim = next<decltype(&::getdelim)>("getdelim");
  decltype(&::fstat) fstat = next<decltype(&::fstat)>("fstat");
  decltype(&::fwrite) fwrite = next<decltype(&::fwrite)>("fwrite");
  decltype(&::fflush) fflush = next<decltype(&::fflush)>("fflush");
  decltype(&::fputs) fputs = next<decltype(&::fputs)>("fputs");
  decltype(&::fileno) fileno = next<decltype(&::fileno)>("fileno");
};

const System& theSystem() { return fault::lookedUp<System>(); }
[[maybe_unused]] const System& lookedUpEarly = theSystem();

/// The paths of the library's open streams. Never destroyed: the library may go last.
struct Opened {
  std::mutex mutex;
  std::map<const void*, std::string> streams;
};

Opened& opened() {
  static auto* const all = new Opened;
  return *all;
}

/// Only what counts or fails is asked for names: taking a lock at every call would hide races.
std::string nameOf(std::FILE* stream) {
  if (!Injector::instance().active()) {
    return {};
  }
  if (stream == stdout || stream == stderr) {
    return stream == stdout ? "stdout" : "stderr";
  }
  const std::lock_guard lock(opened().mutex);
  const auto found = opened().streams.find(stream);
  return found == opened().streams.end() ? "?" : found->second;
}

int fail(const Failure& failure) {
  errno = failure.number;
  return -1;
}

std::FILE* libraryFopen(const char* path, const char* mode) {
  if (const auto failure = Injector::instance().meet(Call::kFopen, path)) {
    errno = failure->number;
    return nullptr;
  }
  std::FILE* stream = theSystem().fopen(fault::realPath(path).c_str(), mode);
  if (stream != nullptr) {
    const std::lock_guard lock(opened().mutex);
    opened().streams[stream] = path;
  }
  return stream;
}

char* libraryFgets(char* buffer, int size, std::FILE* stream) {
  const auto failure = Injector::instance().meet(Call::kFgets, nameOf(stream));
  if (failure && failure->kind != Failure::kShort) {
    if (failure->kind == Failure::kError) {
      errno = failure->number;
    }
    return nullptr;
  }
  char* line = theSystem().fgets(buffer, size, stream);
  if (line != nullptr && failure) {
    line[(std::strlen(line) + 1) / 2] = '\0';
  }
  return line;
}

ssize_t libraryGetline(char** line, std::size_t* capacity, int delimiter, std::FILE* stream) {
  const auto failure = Injector::instance().meet(Call::kGetline, nameOf(stream));
  if (failure && failure->kind != Failure::kShort) {
    if (failure->kind == Failure::kError) {
      errno = failure->number;
    }
    return -1;
  }
  ssize_t length = theSystem().getdelim(line, capacity, delimiter, stream);
  if (length > 0 && failure) {
    length = (length + 1) / 2;
    (*line)[length] = '\0';
  }
  return length;
}

std::size_t libraryFwrite(const void* data, std::size_t size, std::size_t count,
                          std::FILE* stream) {
  const auto failure = Injector::instance().meet(Call::kFwrite, nameOf(stream));
  if (!failure) {
    return theSystem().fwrite(data, size, count, stream);
  }
  errno = failure->kind == Failure::kShort ? ENOSPC : failure->number;
  return failure->kind == Failure::kShort ? theSystem().fwrite(data, size, count / 2, stream) : 0;
}

int libraryFputs(const char* text, std::FILE* stream) {
  if (const auto failure = Injector::instance().meet(Call::kFputs, nameOf(stream))) {
    errno = failure->number;
    return EOF;
  }
  return theSystem().fputs(text, stream);
}

int libraryFileno(std::FILE* stream) {
  if (const auto failure = Injector::instance().meet(Call::kFileno, nameOf(stream))) {
    errno = failure->number;
    return -1;
  }
  return theSystem().fileno(stream);
}

/// What could not be written is gone, as in the C library on a disk that is full.
int libraryFflush(std::FILE* stream) {
  if (const auto failure = Injector::instance().meet(Call::kFflush, nameOf(stream))) {
    __fpurge(stream);
    errno = failure->kind == Failure::kShort ? ENOSPC : failure->number;
    return EOF;
  }
  return theSystem().fflush(stream);
}

}  // namespace

namespace fault {

std::vector<std::string> openStreams() {
  const std::lock_guard lock(opened().mutex);
  std::vector<std::string> paths;
  for (const auto& [stream, path] : opened().streams) {
    paths.push_back(path);
  }
  return paths;
}

void closeStreams() {
  const std::lock_guard lock(opened().mutex);
  for (const auto& [stream, path] : opened().streams) {
    theSystem().fclose(static_cast<std::FILE*>(const_cast<void*>(stream)));
  }
  opened().streams.clear();
}

}  // namespace fault

extern "C" {

FAULT_VISIBLE std::FILE* fopen(const char* path, const char* mode) {
  return FAULT_CALLED_BY_LIBRARY() ? libraryFopen(path, mode) : theSystem().fopen(path, mode);
}

FAULT_VISIBLE int fclose(std::FILE* stream) {
  if (!FAULT_CALLED_BY_LIBRARY()) {
    return theSystem().fclose(stream);
  }
  const auto failure = Injector::instance().meet(Call::kFclose, nameOf(stream));
  {
    const std::lock_guard lock(opened().mutex);
    opened().streams.erase(stream);
  }
  // The stream is gone, whatever it answers.
  const int result = theSystem().fclose(stream);
  if (failure) {
    errno = failure->number;
    return EOF;
  }
  return result;
}

FAULT_VISIBLE char* fgets(char* buffer, int size, std::FILE* stream) {
  return FAULT_CALLED_BY_LIBRARY() ? libraryFgets(buffer, size, stream)
                                   : theSystem().fgets(buffer, size, stream);
}

FAULT_VISIBLE ssize_t __getdelim(char** line, std::size_t* capacity, int delimiter,
                                 std::FILE* stream) {
  return FAULT_CALLED_BY_LIBRARY() ? libraryGetline(line, capacity, delimiter, stream)
                                   : theSystem().getdelim(line, capacity, delimiter, stream);
}

FAULT_VISIBLE ssize_t getline(char** line, std::size_t* capacity, std::FILE* stream) {
  return FAULT_CALLED_BY_LIBRARY() ? libraryGetline(line, capacity, '\n', stream)
                                   : theSystem().getdelim(line, capacity, '\n', stream);
}

FAULT_VISIBLE int fstat(int fd, struct stat* status) {
  if (FAULT_CALLED_BY_LIBRARY()) {
    if (const auto failure = Injector::instance().meet(Call::kFstat, "log file")) {
      return fail(*failure);
    }
  }
  return theSystem().fstat(fd, status);
}

FAULT_VISIBLE std::size_t fwrite(const void* data, std::size_t size, std::size_t count,
                                 std::FILE* stream) {
  return FAULT_CALLED_BY_LIBRARY() ? libraryFwrite(data, size, count, stream)
                                   : theSystem().fwrite(data, size, count, stream);
}

FAULT_VISIBLE int fflush(std::FILE* stream) {
  return FAULT_CALLED_BY_LIBRARY() ? libraryFflush(stream) : theSystem().fflush(stream);
}

FAULT_VISIBLE int fputs(const char* text, std::FILE* stream) {
  return FAULT_CALLED_BY_LIBRARY() ? libraryFputs(text, stream) : theSystem().fputs(text, stream);
}

FAULT_VISIBLE int fileno(std::FILE* stream) {
  return FAULT_CALLED_BY_LIBRARY() ? libraryFileno(stream) : theSystem().fileno(stream);
}

}  // extern "C"
