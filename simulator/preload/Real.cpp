#include "simulator/preload/Real.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace simulator {

namespace {

Real functions;
pthread_once_t lookedUp = PTHREAD_ONCE_INIT;

template <typename Function>
void find(Function*& function, const char* name) {
  function = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

void findFiles() {
  find(functions.open, "open");
  find(functions.openat, "openat");
  find(functions.close, "close");
  find(functions.ioctl, "ioctl");
  find(functions.fcntl, "fcntl");
  find(functions.dup, "dup");
  find(functions.dup2, "dup2");
  find(functions.dup3, "dup3");
  find(functions.access, "access");
  find(functions.faccessat, "faccessat");
  find(functions.stat, "stat");
  find(functions.lstat, "lstat");
  find(functions.fstat, "fstat");
  find(functions.fstatat, "fstatat");
  find(functions.statx, "statx");
}

void findAll() {
  findFiles();
  find(functions.opendir, "opendir");
  find(functions.readdir, "readdir");
  find(functions.rewinddir, "rewinddir");
  find(functions.closedir, "closedir");
  find(functions.glob, "glob");
  find(functions.fopen, "fopen");
  find(functions.fclose, "fclose");
  find(functions.fgets, "fgets");
  find(functions.getdelim, "getdelim");
  find(functions.fwrite, "fwrite");
  find(functions.fflush, "fflush");
  find(functions.usleep, "usleep");
  find(functions.nanosleep, "nanosleep");
  find(functions.clock_nanosleep, "clock_nanosleep");
  find(functions.pthread_create, "pthread_create");
}

}  // namespace

const Real& real() {
  pthread_once(&lookedUp, findAll);
  return functions;
}

bool writeAll(int fd, std::string_view text) {
  return syscall(SYS_write, fd, text.data(), text.size()) == static_cast<long>(text.size());
}

}  // namespace simulator
