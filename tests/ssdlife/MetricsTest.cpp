#include "ssdlife/Metrics.h"

#include <gtest/gtest.h>

#include "tests/ssdlife/CommandRun.h"

using ssdlife::Drive;
using ssdlife::showMetrics;

namespace {

std::vector<std::string> samples(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = text.find('\n', start);
    if (text[start] != '#') {
      lines.push_back(text.substr(start, end - start));
    }
    start = end + 1;
  }
  return lines;
}

TEST(Metrics, HaveHelpAndTypeOnceAndASampleForEachDrive) {
  CommandRun run({"list", "--format", "prometheus", "--library", FAKE_LIBRARY});
  EXPECT_EQ(run.start().exitStatus(), 0);
  EXPECT_EQ(
      run.output(),
      "# HELP ssdlife_info What the SSD calls itself and where its wear is read; always 1.\n"
      "# TYPE ssdlife_info gauge\n"
      "ssdlife_info{device=\"sda\",model=\"Transcend 64\",serial_number=\"E2148\","
      "firmware_version=\"20180526\",source=\"standard statistic\"} 1\n"
      "ssdlife_info{device=\"nvme0\",model=\"KINGSTON SNV2S250G\",serial_number=\"5002\","
      "firmware_version=\"SBM02103\",source=\"none\"} 1\n"
      "# HELP ssdlife_rated_life_used_ratio Share of the SSD's rated life that is used; 1 is all "
      "of it, more is possible.\n"
      "# TYPE ssdlife_rated_life_used_ratio gauge\n"
      "ssdlife_rated_life_used_ratio{device=\"sda\"} 0.98\n"
      "# HELP ssdlife_powered_on_seconds_total Time that the SSD has been powered on, which it "
      "counts in hours.\n"
      "# TYPE ssdlife_powered_on_seconds_total counter\n"
      "ssdlife_powered_on_seconds_total{device=\"sda\"} 66319200\n"
      "ssdlife_powered_on_seconds_total{device=\"nvme0\"} 0\n"
      "# HELP ssdlife_failure_imminent Whether the SSD's wear is over the limit that the provider "
      "is configured for.\n"
      "# TYPE ssdlife_failure_imminent gauge\n"
      "ssdlife_failure_imminent{device=\"sda\"} 1\n"
      "ssdlife_failure_imminent{device=\"nvme0\"} 0\n"
      "# HELP ssdlife_read Whether the SSD could be read; without that, its share and its time are "
      "not known.\n"
      "# TYPE ssdlife_read gauge\n"
      "ssdlife_read{device=\"sda\"} 1\n"
      "ssdlife_read{device=\"nvme0\"} 1\n");
  EXPECT_EQ(run.error(), "");
}

TEST(Metrics, EscapeWhatWouldEndALabelAndStayText) {
  Drive drive;
  drive.physicalDrive = "sda";
  drive.model = "a\"b\\c\nd\xe9";
  EXPECT_EQ(samples(showMetrics({drive})).front(),
            R"(ssdlife_info{device="sda",model="a\"b\\c?d?",serial_number="",firmware_version="",)"
            R"(source="none"} 1)");
}

TEST(Metrics, LeaveOutWhatADriveDoesNotTell) {
  Drive drive;
  drive.physicalDrive = "sda";
  EXPECT_EQ(samples(showMetrics({drive})).size(), 3U);
}

TEST(Metrics, OfADriveThatCouldNotBeReadHaveNoFigures) {
  Drive drive;
  drive.physicalDrive = "nvme0";
  drive.percentageUsed = 0;
  drive.poweredOnHours = 0;
  drive.readError = "Input/output error";
  const std::vector<std::string> lines = samples(showMetrics({drive}));
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[1], "ssdlife_failure_imminent{device=\"nvme0\"} 0");
  EXPECT_EQ(lines[2], "ssdlife_read{device=\"nvme0\"} 0");
}

TEST(Metrics, GiveThePercentageAsARatio) {
  Drive drive;
  drive.physicalDrive = "sda";
  for (const auto& [percentage, ratio] : {std::pair(0U, "0.00"), std::pair(7U, "0.07"),
                                          std::pair(100U, "1.00"), std::pair(254U, "2.54")}) {
    drive.percentageUsed = percentage;
    EXPECT_EQ(samples(showMetrics({drive})).at(1),
              std::string("ssdlife_rated_life_used_ratio{device=\"sda\"} ") + ratio);
  }
}

TEST(Metrics, GiveAnyNumberOfHoursInSeconds) {
  Drive drive;
  drive.physicalDrive = "sda";
  drive.poweredOnHours = ~0ULL;
  EXPECT_EQ(samples(showMetrics({drive})).at(1),
            "ssdlife_powered_on_seconds_total{device=\"sda\"} 66408278665354385817600");
}

TEST(Metrics, AreForListOnly) {
  for (const char* const command : {"names", "watch"}) {
    CommandRun run({command, "--format", "prometheus"});
    EXPECT_EQ(run.start().exitStatus(), 2);
    EXPECT_EQ(run.error(), "ssdlife: --format prometheus is for list only (see ssdlife --help)\n");
  }
}

}  // namespace
