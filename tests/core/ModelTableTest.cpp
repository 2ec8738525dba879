#include "core/ModelTable.h"

#include <gtest/gtest.h>

namespace {

using Field = WearValue::Field;
using Counts = WearValue::Counts;

struct Read {
  ModelTable table;
  std::vector<std::string> problems;
};

Read read(std::string text) {
  Read result;
  std::FILE* file = fmemopen(text.data(), text.size(), "r");
  EXPECT_TRUE(result.table.read(file, [&result](unsigned line, const std::string& problem) {
    result.problems.push_back(std::to_string(line) + ": " + problem);
  }));
  std::fclose(file);
  return result;
}

/// What is wrong with a line; "" if nothing.
std::string problemOf(const std::string& line) {
  const Read result = read(line + "\n");
  EXPECT_EQ(result.problems.size() + result.table.rows().size(), 1U) << line;
  return result.problems.empty() ? "" : result.problems[0].substr(3);
}

ModelRow rowOf(const std::string& line) {
  const Read result = read(line + "\n");
  EXPECT_EQ(result.problems, std::vector<std::string>{}) << line;
  return result.table.rows().empty() ? ModelRow{} : result.table.rows()[0];
}

unsigned lineFor(const ModelTable& table, const std::string& model, const std::string& firmware) {
  const ModelRow* row = table.find(model, firmware);
  return row == nullptr ? 0 : row->line;
}

}  // namespace

TEST(ModelRows, NameAModelItsAttributeAndWhatThatCounts) {
  const ModelRow row = rowOf("Samsung SSD 860 EVO 500GB=177 current left");
  EXPECT_EQ(row.model, "Samsung SSD 860 EVO 500GB");
  EXPECT_FALSE(row.isBeginning);
  EXPECT_EQ(row.firmware, "");
  EXPECT_EQ(row.line, 1U);
  EXPECT_EQ(row.wear.id, 177);
  EXPECT_EQ(row.wear.value.field, Field::kCurrent);
  EXPECT_EQ(row.wear.value.counts, Counts::kLeft);
  EXPECT_FALSE(row.wear.twin);
  EXPECT_FALSE(row.wear.beforeStatistics);
}

TEST(ModelRows, MayHaveAllThatThereIs) {
  const ModelRow row =
      rowOf("KINGSTON SA*=231  raw2-3 used /1024 agrees current left *2 override firmware SB K 1 ");
  EXPECT_EQ(row.model, "KINGSTON SA");
  EXPECT_TRUE(row.isBeginning);
  EXPECT_EQ(row.firmware, "SB K 1");
  EXPECT_EQ(row.wear.value.field, Field::kRaw);
  EXPECT_EQ(row.wear.value.counts, Counts::kUsed);
  EXPECT_EQ(row.wear.value.firstByte, 2);
  EXPECT_EQ(row.wear.value.lastByte, 3);
  EXPECT_EQ(row.wear.value.multiplier, 1U);
  EXPECT_EQ(row.wear.value.divisor, 1024U);
  ASSERT_TRUE(row.wear.twin);
  EXPECT_EQ(row.wear.twin->field, Field::kCurrent);
  EXPECT_EQ(row.wear.twin->counts, Counts::kLeft);
  EXPECT_EQ(row.wear.twin->multiplier, 2U);
  EXPECT_TRUE(row.wear.beforeStatistics);
}

TEST(ModelRows, CountAllOrOneOfTheRawBytes) {
  EXPECT_EQ(rowOf("Model=1 raw used").wear.value.lastByte, 5);
  const WearValue one = rowOf("Model=255 raw4 used").wear.value;
  EXPECT_EQ(one.firstByte, 4);
  EXPECT_EQ(one.lastByte, 4);
}

TEST(ModelRows, MayStandInAFileWithCarriageReturns) {
  EXPECT_EQ(rowOf("Model=1 raw used firmware FW1\r").firmware, "FW1");
  EXPECT_EQ(read("\r\n# comment\r\n").problems, std::vector<std::string>{});
}

TEST(ModelRows, ThatCannotBeUsedSayWhy) {
  const std::string model =
      "no drive calls itself so: a model has 1 to 40 characters and no blanks at its ends";
  EXPECT_EQ(problemOf("Model"), "no model and = before an attribute");
  EXPECT_EQ(problemOf("=177 current left"), "no model and = before an attribute");
  EXPECT_EQ(problemOf("Model =177 current left"), model);
  EXPECT_EQ(problemOf(" Model=177 current left"), model);
  EXPECT_EQ(problemOf("*=177 current left"), model);
  EXPECT_EQ(problemOf(std::string(41, 'M') + "=177 current left"), model);
  EXPECT_EQ(problemOf("Mod*el=177 current left"), "* stands only at the end of a model");
  EXPECT_EQ(problemOf("Mod*=177 current left"),
            "a beginning of fewer than 4 characters fits too many drives");
  EXPECT_EQ(problemOf("Model="), "\"\" is not an attribute number from 1 to 255");
  EXPECT_EQ(problemOf("Model=0 raw used"), "\"0\" is not an attribute number from 1 to 255");
  EXPECT_EQ(problemOf("Model=256 raw used"), "\"256\" is not an attribute number from 1 to 255");
  EXPECT_EQ(problemOf("Model=17x raw used"), "\"17x\" is not an attribute number from 1 to 255");
  EXPECT_EQ(problemOf("Model=177"),
            "\"\" is not current, raw, or raw with its bytes (raw0, raw0-1)");
  for (const std::string field : {"worst", "raw6", "raw3-2", "raw0-6", "raw-1", "raw1-", "RAW"}) {
    EXPECT_EQ(problemOf("Model=177 " + field + " used"),
              "\"" + field + "\" is not current, raw, or raw with its bytes (raw0, raw0-1)");
  }
  EXPECT_EQ(problemOf("Model=177 raw0"), "after raw0 neither used nor left");
  EXPECT_EQ(problemOf("Model=177 current 100"), "after current neither used nor left");
  for (const std::string factor : {"*0", "/0", "*", "/1000001", "/1.5", "*-1"}) {
    EXPECT_EQ(problemOf("Model=177 raw used " + factor),
              "\"" + factor + "\" is not * or / and a number from 1 to 1000000");
  }
  EXPECT_EQ(problemOf("Model=177 raw used 100"), "\"100\" is not understood here");
  EXPECT_EQ(problemOf("Model=177 raw used override override"),
            "\"override\" is not understood here");
  EXPECT_EQ(problemOf("Model=177 raw used agrees"),
            "\"\" is not current, raw, or raw with its bytes (raw0, raw0-1)");
  EXPECT_EQ(problemOf("Model=177 raw used firmware"), "a firmware has 1 to 8 characters");
  EXPECT_EQ(problemOf("Model=177 raw used firmware 123456789"), "a firmware has 1 to 8 characters");
  EXPECT_EQ(problemOf("M\xC3\xB6"
                      "del=177 raw used"),
            "other than printable ASCII characters");
  EXPECT_EQ(problemOf("Model=177\traw used"), "other than printable ASCII characters");
  EXPECT_EQ(problemOf("Model=177 raw used" + std::string(256, ' ')), "more than 256 characters");
}

TEST(ModelRows, ThatAreBadLeaveTheOthers) {
  const Read result = read("# models\n\nModel A=1 raw used\nModel B=raw\nModel C=2 raw used\n");
  EXPECT_EQ(result.problems,
            std::vector<std::string>{"4: \"raw\" is not an attribute number from 1 to 255"});
  ASSERT_EQ(result.table.rows().size(), 2U);
  EXPECT_EQ(result.table.rows()[1].line, 5U);
}

// "firmware SBFK" of a file that was cut off within "firmware SBFKB1D1" would fit other drives.
TEST(ModelRows, WithoutALineFeedAreCutOff) {
  const Read result = read("Model A=1 raw used\nModel B=1 raw used firmware SB");
  EXPECT_EQ(result.problems, std::vector<std::string>{"2: no line feed at its end"});
  EXPECT_EQ(result.table.rows().size(), 1U);
}

TEST(ModelTable, FindsTheMostExactRow) {
  const ModelTable table = read(
                               "KINGSTON*=1 raw used\n"
                               "KINGSTON SA400*=2 raw used\n"
                               "KINGSTON SA400*=3 raw used firmware SBFK\n"
                               "KINGSTON SA400*=4 raw used firmware SBFKB1\n"
                               "KINGSTON SA400S37120G=5 raw used\n"
                               "KINGSTON SA400*=6 raw used firmware S\n")
                               .table;
  EXPECT_EQ(lineFor(table, "KINGSTON SV300", "SBFKB1D1"), 1U);
  EXPECT_EQ(lineFor(table, "KINGSTON SA400S37240G", "03090006"), 2U);
  EXPECT_EQ(lineFor(table, "KINGSTON SA400S37240G", "SAH20105"), 6U);
  EXPECT_EQ(lineFor(table, "KINGSTON SA400S37240G", "SBFK71E0"), 3U);
  EXPECT_EQ(lineFor(table, "KINGSTON SA400S37240G", "SBFKB1D1"), 4U);
  EXPECT_EQ(lineFor(table, "KINGSTON SA400S37120G", "SBFKB1D1"), 5U);
  EXPECT_EQ(lineFor(table, "KINGSTON", "X"), 1U);
  EXPECT_EQ(lineFor(table, "KINGSTO", "X"), 0U);
  EXPECT_EQ(lineFor(table, " KINGSTON", "X"), 0U);
  EXPECT_EQ(lineFor(ModelTable{}, "KINGSTON", "X"), 0U);
}

TEST(ModelTable, FindsTheExactModelBeforeABeginningOfTheSameLength) {
  EXPECT_EQ(lineFor(read("Model=1 raw used\nModel*=2 raw used\n").table, "Model", ""), 1U);
}

TEST(ModelTable, FindsTheLastOfEqualRows) {
  EXPECT_EQ(lineFor(read("Model=1 raw used\nModel=2 raw used\n").table, "Model", ""), 2U);
}

TEST(ModelTable, ThatCannotBeReadToItsEndSaysSo) {
  std::FILE* directory = std::fopen("/", "r");
  ASSERT_NE(directory, nullptr);
  ModelTable table;
  EXPECT_FALSE(table.read(directory, [](unsigned, const std::string&) {}));
  std::fclose(directory);
}
