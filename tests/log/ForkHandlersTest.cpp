#include <cerrno>

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/types.h>

#include "log/Log.h"
#include "tests/log/FakeStamp.h"
#include "tests/support/FakeRoot.h"

// A process in which the library can't have itself told of forks.

extern "C" int __wrap_pthread_atfork(void (* /*prepare*/)(), void (* /*parent*/)(),
                                     void (* /*child*/)()) {
  return ENOMEM;
}

TEST(WithoutForkHandlers, TheProcessIsAskedForEachTime) {
  for (const pid_t process : {1, 2}) {
    fakeStamp().process = process;
    LogQuick(LOG_LEVEL_INFO, "m");
  }
  const std::string log = testkit::FakeRoot::instance().read("/var/log/ssddrv/ssddrv.log");
  EXPECT_NE(log.find("P[       1]"), std::string::npos) << log;
  EXPECT_NE(log.find("P[       2]"), std::string::npos) << log;
}
