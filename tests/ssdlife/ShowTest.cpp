#include "ssdlife/Show.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "host/Value.h"

using cmpihost::Instance;
using cmpihost::Value;
using ssdlife::Drive;
using ssdlife::driveOf;
using ssdlife::Format;
using ssdlife::printable;
using ssdlife::wearBar;

namespace {

Drive wornTo(unsigned percentage) {
  Drive drive;
  drive.percentageUsed = percentage;
  return drive;
}

TEST(WearBar, FillsUpByTwentiethsAndStopsWhenFull) {
  EXPECT_EQ(wearBar(wornTo(4)), "[....................]");
  EXPECT_EQ(wearBar(wornTo(5)), "[#...................]");
  EXPECT_EQ(wearBar(wornTo(99)), "[###################.]");
  EXPECT_EQ(wearBar(wornTo(100)), "[####################]");
  EXPECT_EQ(wearBar(wornTo(254)), "[####################]");
  EXPECT_EQ(wearBar(Drive{}), "-");
}

TEST(Printable, KeepsTextOfAllLanguages) {
  for (const char* const text :
       {"SanDisk", "S\xc3\xa9rie", "\xe2\x82\xac", "\xf0\x9f\x98\x80", "\xed\x9f\xbf",
        "\xef\xbf\xbd", "\xf4\x8f\xbf\xbf", "\xc2\xa0", "\xe0\xa0\x80", "\xf0\x90\x80\x80"}) {
    EXPECT_EQ(printable(text), text);
  }
}

TEST(Printable, ReplacesControlCharactersAndBytesThatAreNoUtf8) {
  EXPECT_EQ(printable("a\x1b[2Jb\n\x7f"), "a?[2Jb??");
  EXPECT_EQ(printable(std::string("a\0b", 3)), "a?b");
  EXPECT_EQ(printable("\xc2\x9b"), "??");       // a terminal may take it for an escape
  EXPECT_EQ(printable("\xe9t\xe9"), "?t?");     // Latin-1
  EXPECT_EQ(printable("\xc0\xaf"), "??");       // overlong
  EXPECT_EQ(printable("\xe0\x80\xaf"), "???");  // overlong
  EXPECT_EQ(printable("\xf0\x8f\xbf\xbf"), "????");
  EXPECT_EQ(printable("\xed\xa0\x80"), "???");       // half of a pair
  EXPECT_EQ(printable("\xf4\x90\x80\x80"), "????");  // beyond the last character
  EXPECT_EQ(printable("\xe2\x82"), "??");            // cut off
}

TEST(ADriveFromAnInstance, StaysEmptyWhereTheInstanceHasNothingOrSomethingElse) {
  Instance instance;
  instance.properties = {{"DriveModel", Value::uint8(3)},
                         {"PoweredOnHours", Value::chars("many")},
                         {"PercentageUsed", Value::null(CMPI_uint8)},
                         {"FailureImminent", Value::uint8(1)},
                         {"DeviceID", Value::null(CMPI_string)}};
  const Drive drive = driveOf(instance);
  EXPECT_EQ(drive.model, "");
  EXPECT_EQ(drive.deviceId, "");
  EXPECT_FALSE(drive.poweredOnHours);
  EXPECT_FALSE(drive.percentageUsed);
  EXPECT_FALSE(drive.failureImminent);
  EXPECT_NE(ssdlife::showDrive(drive, Format::kTable).find("Powered on:    unknown hours"),
            std::string::npos);
}

TEST(ADriveFromAnInstance, TakesTheLastValueOfAPropertySetTwice) {
  Instance instance;
  instance.properties = {{"DeviceID", Value::chars("first")}, {"DeviceID", Value::chars("last")}};
  EXPECT_EQ(driveOf(instance).deviceId, "last");
}

TEST(AnEvent, WithoutATimeSaysSo) {
  ssdlife::FailureEvent event;
  event.deviceId = "a\x1b";
  event.physicalDrive = "sda";
  EXPECT_EQ(ssdlife::showEvent(event, Format::kTable), "(no time)  failure imminent: sda  a?\n");
  EXPECT_TRUE(nlohmann::json::parse(ssdlife::showEvent(event, Format::kJson)).at("time").is_null());
}

}  // namespace
