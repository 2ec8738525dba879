#include <new>

#include <gtest/gtest.h>

#include "config/Config.h"
#include "log/Log.h"
#include "tests/support/Allocations.h"
#include "tests/support/FakeRoot.h"
#include "tests/support/LogCapture.h"

using namespace testkit;

// A stream left open would stay so in the host process for good.
TEST(SsddrvIniFile, IsClosedWhenMemoryRunsOutWhileItIsRead) {
  FakeRoot& root = FakeRoot::instance();
  root.write(kLogConf, "Level=0\n");
  root.write(kSsddrvIni, "PollRate=00000000000000000000000000020\n");
  LogQuick(LOG_LEVEL_INFO, "the handler is there");
  unsigned shortages = 0;
  const Config* config = nullptr;
  for (std::size_t skipped = 0; config == nullptr; ++skipped) {
    (void)root.takeCalls();
    allocations::refuseAfter(skipped);
    try {
      config = Config::GetInstance();
    } catch (const std::bad_alloc&) {
    }
    allocations::refuseNone();
    const Lines calls = root.takeCalls();
    if (!calls.empty()) {
      EXPECT_EQ(calls, (Lines{"fopen /etc/ssddrv/ssddrv.ini r", "fclose /etc/ssddrv/ssddrv.ini"}));
      shortages += config == nullptr ? 1 : 0;
    }
    ASSERT_LT(skipped, 100U);
  }
  EXPECT_GE(shortages, 1U);
}
