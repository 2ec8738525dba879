#include "ssdlife/report/Page.h"

#include <gtest/gtest.h>

namespace {

using namespace ssdlife;

constexpr Seconds kNow = 1800000000;

std::string pageWith(const std::string& model) {
  DriveReport report;
  report.forecast.drive.model = model;
  report.forecast.drive.serialNumber = "\"><img src=x>";
  report.forecast.samples = {{kNow - kDay, 10, 1}, {kNow, 11, 2}};
  report.forecast.forecast = forecastOf(report.forecast.samples, 95);
  return pageOf({report}, 95, "till & co", kNow);
}

TEST(PageTest, TextsOfDrivesAreShownAsTheyStand) {
  const std::string page = pageWith("<script>alert('1')</script>");
  EXPECT_NE(page.find("<h2>&lt;script&gt;alert(&#39;1&#39;)&lt;/script&gt;</h2>"),
            std::string::npos);
  EXPECT_EQ(page.find("<script"), std::string::npos);
  EXPECT_EQ(page.find("<img"), std::string::npos);
  EXPECT_NE(page.find("SSDs of till &amp; co"), std::string::npos);
}

TEST(PageTest, NothingIsFetchedFromElsewhere) {
  const std::string page = pageWith("TS64GHSD630");
  EXPECT_EQ(page.find("http://"), std::string::npos);
  EXPECT_EQ(page.find("https://"), std::string::npos);
  EXPECT_EQ(page.find("src="), page.find("src=x"));
  EXPECT_NE(page.find("default-src 'none'"), std::string::npos);
}

TEST(PageTest, WithoutDrivesItSaysSo) {
  EXPECT_NE(pageOf({}, 95, "till", kNow).find("The history knows no SSD."), std::string::npos);
}

}  // namespace
