#pragma once

#include <dirent.h>
#include <glob.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <time.h>

#include <cstddef>
#include <cstdio>
#include <string_view>

namespace simulator {

// The functions that would have been called without the simulator in front of them. Types and
// meaning are those of the C library.
struct Real {
  int (*open)(const char*, int, ...);
  int (*openat)(int, const char*, int, ...);
  int (*close)(int);
  int (*ioctl)(int, unsigned long, ...);
  int (*fcntl)(int, int, ...);
  int (*dup)(int);
  int (*dup2)(int, int);
  int (*dup3)(int, int, int);
  int (*access)(const char*, int);
  int (*faccessat)(int, const char*, int, int);
  int (*stat)(const char*, struct stat*);
  int (*lstat)(const char*, struct stat*);
  int (*fstat)(int, struct stat*);
  int (*fstatat)(int, const char*, struct stat*, int);
  int (*statx)(int, const char*, int, unsigned, struct statx*);
  DIR* (*opendir)(const char*);
  dirent* (*readdir)(DIR*);
  void (*rewinddir)(DIR*);
  int (*closedir)(DIR*);
  int (*glob)(const char*, int, int (*)(const char*, int), glob_t*);
  std::FILE* (*fopen)(const char*, const char*);
  int (*fclose)(std::FILE*);
  char* (*fgets)(char*, int, std::FILE*);
  ssize_t (*getdelim)(char**, std::size_t*, int, std::FILE*);
  std::size_t (*fwrite)(const void*, std::size_t, std::size_t, std::FILE*);
  int (*fflush)(std::FILE*);
  int (*usleep)(useconds_t);
  int (*nanosleep)(const timespec*, timespec*);
  int (*clock_nanosleep)(clockid_t, int, const timespec*, timespec*);
  int (*pthread_create)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
};

// Found at the first call, from whichever thread, before or after any constructor.
const Real& real();

// Writes all of text to fd and says whether that worked. Asks the kernel itself: a thread sanitizer
// would see the write, but not the opening and closing around it, and take one for another's.
bool writeAll(int fd, std::string_view text);

}  // namespace simulator
