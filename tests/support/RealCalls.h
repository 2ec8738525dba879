#pragma once

#include <cstdio>

#include <dirent.h>
#include <glob.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

// The system's own functions, under the names that the linker gives them beside the faked ones.

#define VEKSSD_REAL(result, name, ...) extern "C" result __real_##name(__VA_ARGS__)

VEKSSD_REAL(std::FILE*, fopen, const char* path, const char* mode);
VEKSSD_REAL(int, fclose, std::FILE* file);
VEKSSD_REAL(int, stat, const char* path, struct stat* status);
VEKSSD_REAL(int, fstat, int fd, struct stat* status);
VEKSSD_REAL(std::size_t, fwrite, const void* data, std::size_t size, std::size_t count,
            std::FILE* file);
VEKSSD_REAL(int, access, const char* path, int mode);
VEKSSD_REAL(DIR*, opendir, const char* path);
VEKSSD_REAL(dirent*, readdir, DIR* directory);
VEKSSD_REAL(int, closedir, DIR* directory);
VEKSSD_REAL(int, glob, const char* pattern, int flags, int (*onError)(const char*, int),
            glob_t* result);
VEKSSD_REAL(void, globfree, glob_t* result);

VEKSSD_REAL(int, open, const char* path, int flags, ...);
VEKSSD_REAL(int, close, int fd);
VEKSSD_REAL(int, fcntl, int fd, int command, ...);
VEKSSD_REAL(int, ioctl, int fd, unsigned long request, ...);

VEKSSD_REAL(int, pthread_create, pthread_t* thread, const pthread_attr_t* attributes,
            void* (*start)(void*), void* argument);
VEKSSD_REAL(int, pthread_join, pthread_t thread, void** result);
VEKSSD_REAL(int, pthread_mutex_lock, pthread_mutex_t* mutex);
VEKSSD_REAL(int, pthread_rwlock_wrlock, pthread_rwlock_t* lock);
VEKSSD_REAL(int, sched_yield, void);
VEKSSD_REAL(int, usleep, useconds_t microseconds);

#undef VEKSSD_REAL
