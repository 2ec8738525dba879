#include "base/WideView.h"

#include <string>

#include <gtest/gtest.h>

namespace {

/// The bytes of the view up to its first zero wide character.
std::string bytesOf(const WideView& view) {
  std::size_t length = 0;
  while (view.text()[length] != L'\0') {
    ++length;
  }
  return std::string(reinterpret_cast<const char*>(view.text()), length * sizeof(wchar_t));
}

}  // namespace

TEST(WideView, HoldsTheBytesUnchangedWithZeroesAfterThem) {
  EXPECT_EQ(bytesOf(WideView("SanDisk")), std::string("SanDisk\0", 8));
  EXPECT_EQ(bytesOf(WideView("SanD")), "SanD");
  EXPECT_EQ(bytesOf(WideView("S")), std::string("S\0\0\0", 4));
  EXPECT_EQ(bytesOf(WideView("")), "");
}

TEST(WideView, HoldsANameOf255BytesWhole) {
  const std::string name(255, 'n');
  EXPECT_EQ(bytesOf(WideView(name)), name + std::string(1, '\0'));
}

TEST(WideView, CutsWhatIsLongerAndStillEnds) {
  EXPECT_EQ(bytesOf(WideView(std::string(256, 'n'))), std::string(256, 'n'));
  EXPECT_EQ(bytesOf(WideView(std::string(5000, 'n'))), std::string(256, 'n'));
}
