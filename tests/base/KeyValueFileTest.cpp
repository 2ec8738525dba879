#include "base/KeyValueFile.h"

#include <cstdio>
#include <limits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

Pairs pairsIn(std::string text) {
  Pairs pairs;
  std::FILE* file = fmemopen(text.data(), text.size(), "r");
  readKeyValueLines(file, "nothing", [&pairs](std::string_view key, const std::string& value) {
    pairs.emplace_back(key, value);
  });
  std::fclose(file);
  return pairs;
}

}  // namespace

TEST(KeyValueLines, EndInALineFeed) {
  EXPECT_EQ(pairsIn("a=1\nb=2\n"), (Pairs{{"a", "1"}, {"b", "2"}}));
}

TEST(KeyValueLines, LoseTheLastCharacterOfALineWithoutLineFeed) {
  EXPECT_EQ(pairsIn("a=1\nb=23"), (Pairs{{"a", "1"}, {"b", "2"}}));
  EXPECT_EQ(pairsIn("a=1"), (Pairs{{"a", ""}}));
}

TEST(KeyValueLines, HaveTheSubstituteOnlyWhenNothingAtAllFollows) {
  EXPECT_EQ(pairsIn("a="), (Pairs{{"a", "nothing"}}));
  EXPECT_EQ(pairsIn("a=\n"), (Pairs{{"a", ""}}));
}

TEST(KeyValueLines, WithoutAKeyOrAnEqualsSignArePassedOver) {
  EXPECT_EQ(pairsIn("[section]\n=1\n\n==\na=1\n"), (Pairs{{"a", "1"}}));
}

TEST(KeyValueLines, AreTrimmedNowhere) {
  EXPECT_EQ(pairsIn(" a = 1 \r\n"), (Pairs{{" a ", " 1 \r"}}));
}

TEST(KeyValueLines, EndTheKeyAtTheFirstEqualsSign) {
  EXPECT_EQ(pairsIn("a=b=c\n"), (Pairs{{"a", "b=c"}}));
}

TEST(KeyValueLines, MayBeOfAnyLengthAndHoldZeroBytes) {
  const std::string longText(100000, 'x');
  EXPECT_EQ(pairsIn("a=" + longText + "\nb=2\n"), (Pairs{{"a", longText}, {"b", "2"}}));
  EXPECT_EQ(pairsIn(std::string("a=1\0002\nb=3\n", 10)),
            (Pairs{{"a", std::string("1\0002", 3)}, {"b", "3"}}));
}

TEST(KeyValueLines, OfAFileThatCannotBeReadAreNone) {
  std::FILE* directory = std::fopen("/", "r");
  ASSERT_NE(directory, nullptr);
  readKeyValueLines(directory, "", [](std::string_view, const std::string&) { FAIL(); });
  std::fclose(directory);
}

TEST(UnsignedNumber, IsReadFromTheDigitsAtTheStart) {
  EXPECT_EQ(parseUnsigned("3600"), 3600U);
  EXPECT_EQ(parseUnsigned("5x"), 5U);
  EXPECT_EQ(parseUnsigned("12\r"), 12U);
  EXPECT_EQ(parseUnsigned("010"), 10U);
  EXPECT_EQ(parseUnsigned("0x10"), 0U);
  EXPECT_EQ(parseUnsigned(" \t7"), 7U);
  EXPECT_EQ(parseUnsigned("1.9"), 1U);
}

TEST(UnsignedNumber, TakesASignAsScanfDoes) {
  EXPECT_EQ(parseUnsigned("+3"), 3U);
  EXPECT_EQ(parseUnsigned("-1"), std::numeric_limits<unsigned long>::max());
}

TEST(UnsignedNumber, BeyondAllBoundsIsTheGreatest) {
  EXPECT_EQ(parseUnsigned("99999999999999999999999"), std::numeric_limits<unsigned long>::max());
}

TEST(UnsignedNumber, IsNoneWithoutDigits) {
  for (const char* value : {"", "x", " ", "+", "- 1", "x5", "***bad value length***"}) {
    EXPECT_EQ(parseUnsigned(value), std::nullopt) << value;
  }
}

TEST(Lines, ComeAsTheyStandWithTheirNumbers) {
  std::string text = "a=1\n\nb";
  std::FILE* file = fmemopen(text.data(), text.size(), "r");
  std::vector<std::pair<unsigned, std::string>> lines;
  readLines(file,
            [&lines](unsigned number, std::string_view line) { lines.emplace_back(number, line); });
  std::fclose(file);
  EXPECT_EQ(lines,
            (std::vector<std::pair<unsigned, std::string>>{{1, "a=1\n"}, {2, "\n"}, {3, "b"}}));
}
