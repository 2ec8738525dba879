// As a packager may have the library compiled.
#undef NDEBUG
#define NDEBUG

#include "base/Require.h"

#include <string>

#include <gtest/gtest.h>

namespace {

constexpr int kLine = __LINE__ + 1;
void refuse() { require(false, "never"); }

}  // namespace

TEST(RequireDeath, NamesThePlaceOfItsCaller) {
  EXPECT_DEATH(refuse(), "tests/base/RequireTest\\.cpp:" + std::to_string(kLine) +
                             ": refuse: Assertion `never' failed\\.");
}

TEST(RequireDeath, NamesThePlaceThatItIsGiven) {
  EXPECT_DEATH(require(false, "a == b", "room/File.cpp", 79, "void C::f()"),
               "room/File\\.cpp:79: void C::f\\(\\): Assertion `a == b' failed\\.");
}

TEST(Require, LetsWhatHoldsPass) { require(true, "always"); }
