#include "device/Bytes.h"

#include <array>
#include <numeric>

#include <gtest/gtest.h>

namespace {

std::string trimmed(std::string text) {
  bytes::trim(text);
  return text;
}

}  // namespace

TEST(Trim, RemovesBlanksAtBothEnds) {
  EXPECT_EQ(trimmed(" A B  "), "A B");
  EXPECT_EQ(trimmed("A"), "A");
  EXPECT_EQ(trimmed("  A"), "A");
  EXPECT_EQ(trimmed("A "), "A");
}

TEST(Trim, MakesNothingOutOfBlanksAlone) {
  EXPECT_EQ(trimmed("   "), "");
  EXPECT_EQ(trimmed(" "), "");
  EXPECT_EQ(trimmed(""), "");
}

TEST(Trim, KeepsEverythingThatIsNotABlank) {
  EXPECT_EQ(trimmed("\tA"), "\tA");
  EXPECT_EQ(trimmed("A\n"), "A\n");
  EXPECT_EQ(trimmed("\rA\v "), "\rA\v");
  EXPECT_EQ(trimmed(std::string("\0 A\0", 4)), std::string("\0 A\0", 4));
  EXPECT_EQ(trimmed("\xC2\xA0"), "\xC2\xA0");
}

TEST(TrimmedField, LiesBetweenItsBounds) {
  const auto* data = reinterpret_cast<const std::uint8_t*>("xx A B yy");
  EXPECT_EQ(bytes::trimmedField(data, 2, 5), "A B");
  EXPECT_EQ(bytes::trimmedField(data, 0, 9), "xx A B yy");
  EXPECT_EQ(bytes::trimmedField(data, 2, 1), "");
}

TEST(Checksum, IsGoodForBytesThatSumToNoughtModulo256) {
  std::array<unsigned char, 512> sector{};
  EXPECT_TRUE(bytes::checksum(sector.data(), 512));
  sector.fill(0xFF);
  EXPECT_TRUE(bytes::checksum(sector.data(), 512));
  EXPECT_FALSE(bytes::checksum(sector.data(), 511));
  const unsigned char pair[] = {0x01, 0xFF};
  EXPECT_TRUE(bytes::checksum(pair, 2));
  EXPECT_FALSE(bytes::checksum(pair, 1));
}

TEST(Checksum, IsGoodForNoBytes) {
  const unsigned char one = 1;
  EXPECT_TRUE(bytes::checksum(&one, 0));
  EXPECT_TRUE(bytes::checksum(nullptr, 0));
}

TEST(Bytes, AreReadLeastSignificantFirst) {
  const std::uint8_t buffer[] = {0xFF, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x88};
  EXPECT_EQ(bytes::littleEndian16(buffer, 1), 0x0201U);
  EXPECT_EQ(bytes::littleEndian32(buffer, 1), 0x04030201U);
  EXPECT_EQ(bytes::littleEndian(buffer, 1, 6), 0x060504030201U);
  EXPECT_EQ(bytes::littleEndian(buffer, 1, 8), 0x8807060504030201U);
  EXPECT_EQ(bytes::littleEndian(buffer, 0, 1), 0xFFU);
  EXPECT_EQ(bytes::littleEndian(buffer, 0, 0), 0U);
}
