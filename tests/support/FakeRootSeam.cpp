#include "tests/support/Allocations.h"
#include "tests/support/FakeRoot.h"
#include "tests/support/RealCalls.h"

// Where the linker leads the file calls of the library and of the test.

using testkit::allocations::Exempt;

namespace {

testkit::FakeRoot& root() { return testkit::FakeRoot::instance(); }

}  // namespace

extern "C" {

std::FILE* __wrap_fopen(const char* path, const char* mode) {
  const Exempt exempt;
  return root().fopen(path, mode);
}

int __wrap_fclose(std::FILE* file) {
  const Exempt exempt;
  return root().fclose(file);
}

int __wrap_stat(const char* path, struct stat* status) {
  const Exempt exempt;
  return root().stat(path, status);
}

int __wrap_fstat(int fd, struct stat* status) {
  const Exempt exempt;
  return root().fstat(fd, status);
}

std::size_t __wrap_fwrite(const void* data, std::size_t size, std::size_t count, std::FILE* file) {
  const Exempt exempt;
  return root().fwrite(data, size, count, file);
}

int __wrap_access(const char* path, int mode) {
  const Exempt exempt;
  return root().access(path, mode);
}

DIR* __wrap_opendir(const char* path) {
  const Exempt exempt;
  return root().opendir(path);
}

dirent* __wrap_readdir(DIR* directory) {
  const Exempt exempt;
  return root().readdir(directory);
}

int __wrap_closedir(DIR* directory) {
  const Exempt exempt;
  return root().closedir(directory);
}

int __wrap_glob(const char* pattern, int flags, int (*onError)(const char*, int), glob_t* result) {
  const Exempt exempt;
  return root().glob(pattern, flags, onError, result);
}

void __wrap_globfree(glob_t* result) {
  const Exempt exempt;
  root().globfree(result);
}
}
