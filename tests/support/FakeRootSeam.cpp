#include "tests/support/FakeRoot.h"
#include "tests/support/RealCalls.h"

// Where the linker leads the file calls of the library and of the test.

using testkit::FakeRoot;

extern "C" {

std::FILE* __wrap_fopen(const char* path, const char* mode) {
  return FakeRoot::instance().fopen(path, mode);
}

int __wrap_fclose(std::FILE* file) { return FakeRoot::instance().fclose(file); }

int __wrap_fstat(int fd, struct stat* status) { return FakeRoot::instance().fstat(fd, status); }

std::size_t __wrap_fwrite(const void* data, std::size_t size, std::size_t count, std::FILE* file) {
  return FakeRoot::instance().fwrite(data, size, count, file);
}

int __wrap_access(const char* path, int mode) { return FakeRoot::instance().access(path, mode); }

DIR* __wrap_opendir(const char* path) { return FakeRoot::instance().opendir(path); }

dirent* __wrap_readdir(DIR* directory) { return FakeRoot::instance().readdir(directory); }

int __wrap_closedir(DIR* directory) { return FakeRoot::instance().closedir(directory); }

int __wrap_glob(const char* pattern, int flags, int (*onError)(const char*, int), glob_t* result) {
  return FakeRoot::instance().glob(pattern, flags, onError, result);
}

void __wrap_globfree(glob_t* result) { FakeRoot::instance().globfree(result); }
}
