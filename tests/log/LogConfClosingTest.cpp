#include <new>

#include <gtest/gtest.h>

#include "log/FileLogHandler.h"
#include "tests/support/Allocations.h"
#include "tests/support/FakeRoot.h"
#include "tests/support/LogCapture.h"

using namespace testkit;

// A stream left open would stay so in the host process for good.
TEST(LogConfFile, IsClosedWhenMemoryRunsOutWhileItIsRead) {
  FakeRoot& root = FakeRoot::instance();
  root.write(kLogConf, "FileName=/var/log/ssddrv/a-name-that-is-too-long-for-the-string-itself\n");
  unsigned shortages = 0;
  bool made = false;
  for (std::size_t skipped = 0; !made; ++skipped) {
    (void)root.takeCalls();
    allocations::refuseAfter(skipped);
    try {
      const FileLogHandler handler;
      made = true;
    } catch (const std::bad_alloc&) {
    }
    allocations::refuseNone();
    const Lines calls = root.takeCalls();
    if (!calls.empty()) {
      EXPECT_EQ(calls, (Lines{"fopen /etc/ssddrv/log.conf r", "fclose /etc/ssddrv/log.conf"}));
      shortages += made ? 0 : 1;
    }
    ASSERT_LT(skipped, 100U);
  }
  EXPECT_GE(shortages, 1U);
}
