#include <gtest/gtest.h>

#include <iostream>

#include "tests/system/TillRun.h"

/// All roads to a drive, in every detail that the log can show, and an indication.
TEST(Stacks, Of64KiBAreEnoughForFactoriesRequestsIndicationsAndPolls) {
  TillRun till(
      machineWith(sataDrive("sda", "S1", "10") + "," +
                  R"({"kind": "sata", "node": "sdb", "model": "SanDisk SSD P4 64GB", "serial": "S2",
          "smart": {"attributes": [{"id": 9, "raw": 100}, {"id": 230, "raw": 5}]}},
         {"kind": "nvme", "node": "nvme0", "model": "N", "serial": "S3"})"));
  till.setting("PollRate=1")
      .setting("DebugTraceAttributes=1")
      .setting("DebugIndications=1")
      .run({"measure-stacks"});
  std::cout << till.out();
  EXPECT_GT(countOf(till.err(), "IndicateThread - Exit\n"), 0U);
  EXPECT_EQ(countOf(till.out(), " bytes of stack\n"), 4U);
}
