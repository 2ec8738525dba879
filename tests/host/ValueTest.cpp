#include "host/Value.h"

#include <gtest/gtest.h>

#include "host/Instance.h"

using cmpihost::DateTime;
using cmpihost::Instance;
using cmpihost::ObjectPath;
using cmpihost::Value;
using cmpihost::ValueError;

TEST(Value, DescribesItsTypeAndContent) {
  EXPECT_EQ(Value::uint8(34).describe(), "uint8 34");
  EXPECT_EQ(Value::uint64(~0ULL).describe(), "uint64 18446744073709551615");
  EXPECT_EQ(Value::ofSigned(CMPI_sint16, -5).describe(), "sint16 -5");
  EXPECT_EQ(Value::ofReal(CMPI_real64, 1.5).describe(), "real64 1.5");
  EXPECT_EQ(Value::boolean(true).describe(), "boolean true");
  EXPECT_EQ(Value::chars("SanDisk").describe(), "chars \"SanDisk\"");
  EXPECT_EQ(Value::dateTime({0, false}).describe(), "dateTime 19700101000000.000000+000");
  EXPECT_EQ(Value::null(CMPI_string).describe(), "null string");
  EXPECT_EQ(Value().describe(), "null");
  EXPECT_EQ(Value::stringWithoutCharacters().describe(), "string without characters");
}

TEST(Value, SaysWhatItIsWhenAskedForSomethingElse) {
  try {
    static_cast<void>(Value::uint8(34).asText());
    FAIL() << "a number was read as a text";
  } catch (const ValueError& error) {
    EXPECT_STREQ(error.what(), "the value is uint8 34, not a text");
  }
  EXPECT_THROW(static_cast<void>(Value::chars("x").asUnsigned()), ValueError);
  EXPECT_THROW(static_cast<void>(Value::null(CMPI_boolean).asBoolean()), ValueError);
}

TEST(Value, AStringWithoutCharactersIsNotANullString) {
  EXPECT_FALSE(Value::stringWithoutCharacters().isNull());
  EXPECT_TRUE(Value::null(CMPI_string).isNull());
  EXPECT_NE(Value::stringWithoutCharacters(), Value::null(CMPI_string));
  EXPECT_NE(Value::string(""), Value::stringWithoutCharacters());
}

TEST(Value, FurtherStateBitsAreAddedToThoseThatAreThere) {
  EXPECT_EQ(Value::null(CMPI_string).withState(CMPI_keyValue).state(), 0x300);
  EXPECT_EQ(Value::string("a").withState(CMPI_keyValue).state(), CMPI_keyValue);
}

TEST(Value, ATypeWithoutANameIsShownByItsCode) {
  EXPECT_EQ(cmpihost::typeName(CMPI_uint8), "uint8");
  EXPECT_EQ(cmpihost::typeName(CMPI_ARRAY | CMPI_uint8), "type 0x2080");
}

TEST(ObjectPath, FindsKeysWhateverTheCaseOfTheirNames) {
  const ObjectPath path = ObjectPath{"root/cimv2", "A_Class"}
                              .withKey("DeviceID", Value::string("x"))
                              .withKey("Index", Value::uint8(3));
  ASSERT_NE(path.key("deviceid"), nullptr);
  EXPECT_EQ(*path.key("deviceid"), Value::string("x"));
  EXPECT_EQ(path.key("Device"), nullptr);
  EXPECT_EQ(path.text(), "root/cimv2:A_Class.DeviceID=\"x\",Index=3");
}

TEST(Instance, TheLastValueOfAPropertySetTwiceCounts) {
  Instance instance;
  instance.properties = {{"A", Value::uint8(1)}, {"B", Value::uint8(2)}, {"A", Value::uint8(3)}};
  ASSERT_NE(instance.property("a"), nullptr);
  EXPECT_EQ(*instance.property("a"), Value::uint8(3));
  EXPECT_EQ(instance.property("C"), nullptr);
  EXPECT_EQ(instance.propertyNames(), (std::vector<std::string>{"A", "B", "A"}));
}
