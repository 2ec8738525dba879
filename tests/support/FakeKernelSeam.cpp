#include <cstdarg>

#include <fcntl.h>

#include "tests/support/Allocations.h"
#include "tests/support/FakeKernel.h"
#include "tests/support/FakeThreads.h"
#include "tests/support/RealCalls.h"

// Where the linker leads the drive and thread calls of the library and of the test.

using testkit::FakeKernel;
using testkit::FakeThreads;
using testkit::allocations::Exempt;

extern "C" {

int __wrap_open(const char* path, int flags, ...) {
  const Exempt exempt;
  if (FakeKernel::ownsPath(path)) {
    return FakeKernel::instance().open(path, flags);
  }
  std::va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return __real_open(path, flags, mode);
}

int __wrap_close(int fd) {
  const Exempt exempt;
  return FakeKernel::instance().ownsDescriptor(fd) ? FakeKernel::instance().close(fd)
                                                   : __real_close(fd);
}

int __wrap_fcntl(int fd, int command, ...) {
  const Exempt exempt;
  std::va_list arguments;
  va_start(arguments, command);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  if (FakeKernel::instance().ownsDescriptor(fd) && command == F_SETFD) {
    return FakeKernel::instance().setDescriptorFlags(
        fd, static_cast<int>(reinterpret_cast<std::intptr_t>(argument)));
  }
  return __real_fcntl(fd, command, argument);
}

int __wrap_ioctl(int fd, unsigned long request, ...) {
  const Exempt exempt;
  std::va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  return FakeKernel::instance().ownsDescriptor(fd)
             ? FakeKernel::instance().ioctl(fd, request, argument)
             : __real_ioctl(fd, request, argument);
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*start)(void*), void* argument) {
  const Exempt exempt;
  return FakeThreads::instance().create(thread, attributes, start, argument);
}

int __wrap_pthread_join(pthread_t thread, void** result) {
  const Exempt exempt;
  return FakeThreads::instance().join(thread, result);
}

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) { return FakeThreads::lock(mutex); }

int __wrap_pthread_rwlock_wrlock(pthread_rwlock_t* lock) { return FakeThreads::lock(lock); }

int __wrap_sched_yield() { return FakeThreads::instance().yield(); }

int __wrap_usleep(useconds_t microseconds) { return FakeThreads::instance().sleep(microseconds); }
}
