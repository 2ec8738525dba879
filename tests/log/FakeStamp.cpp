#include "tests/log/FakeStamp.h"

#include <gtest/gtest.h>

FakeStamp& fakeStamp() {
  static FakeStamp stamp;
  return stamp;
}

extern "C" {

int __real_clock_gettime(clockid_t clock, timespec* time);
pid_t __real_getpid();
pthread_t __real_pthread_self();

int __wrap_clock_gettime(clockid_t clock, timespec* time) {
  if (fakeStamp().time) {
    EXPECT_EQ(clock, CLOCK_REALTIME);
    *time = *fakeStamp().time;
    return 0;
  }
  return __real_clock_gettime(clock, time);
}

pid_t __wrap_getpid() { return fakeStamp().process ? *fakeStamp().process : __real_getpid(); }

pthread_t __wrap_pthread_self() {
  return fakeStamp().thread ? *fakeStamp().thread : __real_pthread_self();
}
}
