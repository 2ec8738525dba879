#include <fcntl.h>

#include <cstdio>
#include <cstring>

#include "simulator/preload/Calls.h"

// Streams of the C library over files of the machine.
namespace simulator {

namespace {

// The flags that open would get for a mode of fopen.
int flagsOf(const char* mode) {
  const bool both = std::strchr(mode, '+') != nullptr;
  int flags = both ? O_RDWR : mode[0] == 'r' ? O_RDONLY : O_WRONLY;
  if (mode[0] == 'w') {
    flags |= O_CREAT | O_TRUNC;
  } else if (mode[0] == 'a') {
    flags |= O_CREAT | O_APPEND;
  }
  if (std::strchr(mode, 'e') != nullptr) {
    flags |= O_CLOEXEC;
  }
  if (std::strchr(mode, 'x') != nullptr) {
    flags |= O_EXCL;
  }
  return flags;
}

FILE* openStream(const VirtualFile& file, const char* mode) {
  const int fd = openFile(file, flagsOf(mode), 0666);
  if (fd < 0) {
    return nullptr;
  }
  FILE* stream = fdopen(fd, mode);
  if (stream == nullptr) {
    const int saved = errno;
    descriptors().clear(fd);
    real().close(fd);
    errno = saved;
  }
  return stream;
}

FILE* openStreamAt(const char* path, const char* mode) {
  Session* current = session();
  const VirtualFile* file = fileAt(current, path);
  if (file == nullptr) {
    FILE* stream = real().fopen(path, mode);
    if (stream != nullptr) {
      descriptors().clear(fileno(stream));
    }
    return stream;
  }
  const std::string tidy = tidyPath(path);
  FILE* stream = nullptr;
  if (const FaultOutcome* fault = current->meetFault("fopen", tidy)) {
    errno = *fault->error;
  } else {
    stream = openStream(*file, mode);
  }
  if (current->journal().wanted()) {
    auto entry = entryOf("fopen", tidy, stream != nullptr ? fileno(stream) : -1, stream == nullptr);
    entry["mode"] = mode;
    current->journal().write(std::move(entry));
  }
  return stream;
}

// What a stream stands for; null for the others, and for no stream at all.
const VirtualFile* fileOf(FILE* stream) {
  return stream == nullptr ? nullptr : descriptors().at(fileno(stream));
}

// True if the call meets a fault; errno is set then.
bool meets(std::string_view call, const VirtualFile& file) {
  const FaultOutcome* fault = session()->meetFault(call, file.path);
  if (fault != nullptr) {
    errno = *fault->error;
  }
  return fault != nullptr;
}

void note(std::string_view call, const VirtualFile& file, long result, bool failed) {
  if (session()->journal().wanted()) {
    session()->journal().write(entryOf(call, file.path, result, failed));
  }
}

char* readLine(char* buffer, int size, FILE* stream) {
  const VirtualFile* file = fileOf(stream);
  if (file == nullptr) {
    return real().fgets(buffer, size, stream);
  }
  const bool fails = meets("fgets", *file);
  char* line = fails ? nullptr : real().fgets(buffer, size, stream);
  note("fgets", *file, line != nullptr ? 1 : 0, fails);
  return line;
}

ssize_t readUpTo(char** line, std::size_t* room, int delimiter, FILE* stream) {
  const VirtualFile* file = fileOf(stream);
  if (file == nullptr) {
    return real().getdelim(line, room, delimiter, stream);
  }
  const bool fails = meets("getline", *file);
  const ssize_t length = fails ? -1 : real().getdelim(line, room, delimiter, stream);
  note("getline", *file, length, fails);
  return length;
}

}  // namespace

}  // namespace simulator

using namespace simulator;

VEKSSD_INTERPOSED FILE* fopen(const char* path, const char* mode) {
  return openStreamAt(path, mode);
}

VEKSSD_INTERPOSED FILE* fopen64(const char* path, const char* mode) {
  return openStreamAt(path, mode);
}

VEKSSD_INTERPOSED int fclose(FILE* stream) {
  const VirtualFile* file = fileOf(stream);
  if (file == nullptr) {
    return real().fclose(stream);
  }
  descriptors().clear(fileno(stream));
  const int result = real().fclose(stream);
  note("fclose", *file, result, result != 0);
  return result;
}

VEKSSD_INTERPOSED char* fgets(char* buffer, int size, FILE* stream) {
  return readLine(buffer, size, stream);
}

VEKSSD_INTERPOSED char* __fgets_chk(char* buffer, std::size_t room, int size, FILE* stream);
VEKSSD_INTERPOSED char* __fgets_chk(char* buffer, std::size_t /*room*/, int size, FILE* stream) {
  return readLine(buffer, size, stream);
}

VEKSSD_INTERPOSED ssize_t getline(char** line, std::size_t* room, FILE* stream) {
  return readUpTo(line, room, '\n', stream);
}

VEKSSD_INTERPOSED ssize_t getdelim(char** line, std::size_t* room, int delimiter, FILE* stream) {
  return readUpTo(line, room, delimiter, stream);
}

// What getline becomes in optimised code.
VEKSSD_INTERPOSED ssize_t __getdelim(char** line, std::size_t* room, int delimiter, FILE* stream) {
  return readUpTo(line, room, delimiter, stream);
}

VEKSSD_INTERPOSED std::size_t fwrite(const void* data, std::size_t size, std::size_t count,
                                     FILE* stream) {
  const VirtualFile* file = fileOf(stream);
  if (file == nullptr) {
    return real().fwrite(data, size, count, stream);
  }
  const bool fails = meets("fwrite", *file);
  const std::size_t written = fails ? 0 : real().fwrite(data, size, count, stream);
  note("fwrite", *file, static_cast<long>(written), fails || written != count);
  return written;
}

VEKSSD_INTERPOSED int fflush(FILE* stream) {
  const VirtualFile* file = fileOf(stream);
  if (file == nullptr) {
    return real().fflush(stream);
  }
  const bool fails = meets("fflush", *file);
  const int result = fails ? EOF : real().fflush(stream);
  note("fflush", *file, result, fails || result != 0);
  return result;
}
