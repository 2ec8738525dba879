#include <gtest/gtest.h>

extern "C" {
extern const char EyeCatcher1[];
extern const char EyeCatcher2[];
extern const char BuildDate[];
extern const char DspdrvVersion[];
extern const char ExtraInfo[];
}

namespace {

TEST(VersionData, IsBracketedByThreeTildes) {
  EXPECT_STREQ(EyeCatcher1, "~~~");
  EXPECT_STREQ(EyeCatcher2, "~~~");
  EXPECT_LT(EyeCatcher2, BuildDate);
  EXPECT_LT(BuildDate, DspdrvVersion);
  EXPECT_LT(DspdrvVersion, EyeCatcher1);
}

TEST(VersionData, NamesTheVersionWithATrailingBlank) {
  EXPECT_STREQ(DspdrvVersion, "SSDDRV Version 1.4.1 / ");
}

TEST(VersionData, NamesTheMomentOfTheBuild) {
  EXPECT_TRUE(testing::internal::RE::FullMatch(
      std::string(BuildDate),
      testing::internal::RE("Built at [0-2][0-9]:[0-5][0-9]:[0-5][0-9] on "
                            "[A-Z][a-z][a-z] [ 123][0-9] [0-9][0-9][0-9][0-9]")))
      << BuildDate;
}

TEST(VersionData, HasNothingExtra) { EXPECT_EQ(ExtraInfo[0], '\0'); }

}  // namespace
