#include "simulator/recorder/NodeName.h"

#include <gtest/gtest.h>

using simulator::driveNode;
using simulator::isDiskName;

TEST(DriveNode, IsTheNameBelowDevOfDisksAndNvmeNodes) {
  EXPECT_EQ(driveNode("/dev/sda"), "sda");
  EXPECT_EQ(driveNode("/dev//sdaa1"), "sdaa1");
  EXPECT_EQ(driveNode("/dev/nvme0"), "nvme0");
  EXPECT_EQ(driveNode("/dev/nvme10n1"), "nvme10n1");
}

TEST(DriveNode, IsEmptyForEverythingElse) {
  for (const char* const path : {"/dev/null", "/dev/sd", "/dev/nvme", "/dev/nvme-fabrics", "sda",
                                 "/dev/sda/x", "/sys/block/sda", "", "/dev/sdA"}) {
    EXPECT_EQ(driveNode(path), "") << path;
  }
  EXPECT_EQ(driveNode(nullptr), "");
}

TEST(DiskName, BeginsWithSd) {
  EXPECT_TRUE(isDiskName("sda"));
  EXPECT_FALSE(isDiskName("sr0"));
  EXPECT_FALSE(isDiskName("nvme0n1"));
}
