#include "simulator/Bytes.h"

#include <gtest/gtest.h>

#include <numeric>

namespace simulator {
namespace {

TEST(Bytes, AreShownAsTwoDigitsEachWithBlanksBetween) {
  EXPECT_EQ(toHex({0x00, 0x0f, 0xa5}), "00 0f a5");
  EXPECT_EQ(toHex(Bytes()), "");
}

TEST(Bytes, AreReadFromDigitsOfEitherCaseWithOrWithoutBlanks) {
  EXPECT_EQ(fromHex("00 0F a5"), (Bytes{0x00, 0x0f, 0xa5}));
  EXPECT_EQ(fromHex("000fA5"), (Bytes{0x00, 0x0f, 0xa5}));
  EXPECT_EQ(fromHex(""), Bytes());
}

TEST(Bytes, AreNotReadFromHalfBytesOrOtherCharacters) {
  EXPECT_EQ(fromHex("0"), std::nullopt);
  EXPECT_EQ(fromHex("0 0"), std::nullopt);
  EXPECT_EQ(fromHex("0g"), std::nullopt);
  EXPECT_EQ(fromHex("0x12"), std::nullopt);
}

TEST(Bytes, NumbersAreLittleEndian) {
  Bytes bytes(8, 0xff);
  putLe16(bytes, 0, 0x0102);
  EXPECT_EQ(toHex(bytes), "02 01 ff ff ff ff ff ff");
  putLe32(bytes, 0, 0x01020304);
  EXPECT_EQ(toHex(bytes), "04 03 02 01 ff ff ff ff");
  putLe48(bytes, 0, 0x010203040506);
  EXPECT_EQ(toHex(bytes), "06 05 04 03 02 01 ff ff");
  putLe64(bytes, 0, 0x0102030405060708);
  EXPECT_EQ(toHex(bytes), "08 07 06 05 04 03 02 01");
  EXPECT_EQ(getLe16(bytes, 2), 0x0506);
}

TEST(Bytes, TextIsPaddedWithBlanks) {
  Bytes bytes(6, 0);
  putText(bytes, 1, 4, "ab");
  EXPECT_EQ(toHex(bytes), "00 61 62 20 20 00");
}

TEST(Bytes, SealedDataSumsToZero) {
  Bytes bytes(512, 0x11);
  sealChecksum(bytes);
  EXPECT_EQ(std::accumulate(bytes.begin(), bytes.end(), 0U) % 256, 0U);
  Bytes zero(512, 0);
  sealChecksum(zero);
  EXPECT_EQ(zero[511], 0);
}

TEST(Bytes, WordsAreSwappedWithinTheirRangeOnly) {
  Bytes bytes{1, 2, 3, 4, 5, 6};
  swapWords(bytes, 2, 2);
  EXPECT_EQ(bytes, (Bytes{1, 2, 4, 3, 5, 6}));
}

}  // namespace
}  // namespace simulator
