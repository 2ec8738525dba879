#include "host/Status.h"

#include <gtest/gtest.h>

using cmpihost::describe;
using cmpihost::Status;

TEST(Status, IsDescribedByNameNumberAndMessage) {
  EXPECT_EQ(Status{}.describe(), "CMPI_RC_OK (0)");
  EXPECT_EQ((Status{CMPI_RC_ERR_FAILED, "no drive"}.describe()),
            "CMPI_RC_ERR_FAILED (1): no drive");
  EXPECT_EQ(describe(CMPI_RC_DO_NOT_UNLOAD), "CMPI_RC_DO_NOT_UNLOAD (50)");
  EXPECT_EQ(describe(static_cast<CMPIrc>(99)), "code (99)");
}

TEST(Status, OnlyCodeZeroIsFine) {
  EXPECT_TRUE(Status{}.ok());
  EXPECT_FALSE((Status{CMPI_RC_ERR_NOT_FOUND, {}}.ok()));
}
