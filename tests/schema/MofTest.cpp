#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/schema/Mof.h"

// The reader that the schema is judged with: it must see what is there, and refuse what isn't MOF.

namespace {

using testing::ElementsAre;

std::string errorOf(const std::string& text) {
  try {
    mof::parse(text);
  } catch (const mof::Error& error) {
    return error.what();
  }
  return "";
}

TEST(MofReader, ReadsAClassWithItsSuperclassQualifiersAndProperties) {
  const mof::File file = mof::parse(
      "// a comment\n"
      "[Indication, Description ( \"one \"\n  \"text\" )]\n"
      "class A : B { [Key] string Name; uint8 Plain; };\n");
  const mof::Class& cls = file.classNamed("A");
  EXPECT_EQ(cls.superclass, "B");
  EXPECT_THAT(cls.qualifiers.at("Description"), ElementsAre("one text"));
  EXPECT_TRUE(cls.qualifiers.at("Indication").empty());
  ASSERT_EQ(cls.properties.size(), 2U);
  EXPECT_EQ(cls.property("Name")->qualifiers.count("Key"), 1U);
  EXPECT_EQ(cls.property("Plain")->type, "uint8");
  EXPECT_EQ(cls.property("Absent"), nullptr);
}

TEST(MofReader, ReadsEscapedQuotesAndArrays) {
  const mof::File file = mof::parse("class A { [Values { \"a \\\"b\\\"\", \"c\" }] uint8 P; };");
  EXPECT_THAT(file.classNamed("A").property("P")->qualifiers.at("Values"),
              ElementsAre("a \"b\"", "c"));
}

TEST(MofReader, ReadsInstances) {
  const mof::File file = mof::parse("instance of A { N = \"x\"; T = { 2, 4 }; U = NULL; };");
  ASSERT_EQ(file.instances.size(), 1U);
  EXPECT_EQ(file.instances[0].value("N"), "x");
  EXPECT_EQ(file.instances[0].value("U"), "NULL");
  EXPECT_THAT(file.instances[0].values.at("T"), ElementsAre("2", "4"));
  EXPECT_THROW(file.instances[0].value("T"), mof::Error);
}

TEST(MofReader, RefusesWhatIsNoMofAndNamesTheLine) {
  EXPECT_EQ(errorOf("class A { string P }\n;"), "line 1: \";\" expected before \"}\"");
  EXPECT_EQ(errorOf("class A {\n string P;\n string P;\n};"), "line 3: property P declared twice");
  EXPECT_EQ(errorOf("class A {\n string \"P\n"), "line 2: string not closed");
  EXPECT_EQ(errorOf("[Key, Key] class A { };"), "line 1: qualifier Key given twice");
}

}  // namespace
