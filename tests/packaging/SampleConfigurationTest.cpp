#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "config/Config.h"
#include "log/FileLogHandler.h"
#include "log/Log.h"
#include "tests/support/FakeRoot.h"

// The configuration files that the packages install: they change nothing, and neither does taking
// the "#" away from every key in them.

using namespace testkit;

namespace {

std::string sample(const std::string& name) {
  std::ifstream file(SAMPLE_DIRECTORY "/" + name);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// Every "#Key=value" line without its "#".
std::string uncommented(const std::string& text) {
  std::string out;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const bool setting = line.size() > 1 && line[0] == '#' && line[1] != ' ' && line[1] != '#';
    out += (setting ? line.substr(1) : line) + "\n";
  }
  return out;
}

void expectDefaults() {
  const Config& config = *Config::GetInstance();
  EXPECT_EQ(config.getPollRate(), 10U);
  EXPECT_EQ(config.getPercentUsedThreshold(), 95U);
  EXPECT_EQ(config.getSptLogAccess(), 1U);
  EXPECT_EQ(config.getDebugIndications(), 0U);
  EXPECT_EQ(config.getDebugTraceAttributes(), 0U);
  EXPECT_EQ(config.getDebugTraceLogs(), 0U);
}

TEST(SampleSettings, AsInstalledTheyAreTheDefaults) {
  FakeRoot::instance().write("/etc/ssddrv/ssddrv.ini", sample("ssddrv.ini"));
  expectDefaults();
}

TEST(SampleSettings, UncommentedTheyAreTheDefaultsToo) {
  FakeRoot::instance().write("/etc/ssddrv/ssddrv.ini", uncommented(sample("ssddrv.ini")));
  expectDefaults();
}

TEST(SampleSettings, EveryKeyStandsThereAndTheLastLineIsWhole) {
  const std::string text = sample("ssddrv.ini");
  for (const char* key : {"PollRate=10", "PercentUsedThreshold=95", "SptLogAccess=1",
                          "DebugIndications=0", "DebugTraceAttributes=0", "DebugTraceLogs=0"}) {
    EXPECT_THAT(text, testing::HasSubstr(std::string("\n#") + key + "\n"));
  }
  EXPECT_EQ(text.back(), '\n');
}

TEST(SampleLogging, AsInstalledItIsTheDefault) {
  FakeRoot::instance().write("/etc/ssddrv/log.conf", sample("log.conf"));
  EXPECT_EQ(FileLogHandler().GetLevel(), LOG_LEVEL_INFO);
}

TEST(SampleLogging, UncommentedItIsTheDefaultToo) {
  FakeRoot::instance().write("/etc/ssddrv/log.conf", uncommented(sample("log.conf")));
  LogQuick(LOG_LEVEL_INFO, "an event of the provider's life");
  LogQuick(LOG_LEVEL_DEBUG, "progress");
  const std::string log = FakeRoot::instance().read("/var/log/ssddrv/ssddrv.log");
  EXPECT_THAT(log, testing::HasSubstr("an event of the provider's life\n"));
  EXPECT_THAT(log, testing::Not(testing::HasSubstr("progress")));
}

TEST(SampleLogging, EveryKeyStandsThereAndTheLastLineIsWhole) {
  const std::string text = sample("log.conf");
  for (const char* key :
       {"Level=2", "FileName=/var/log/ssddrv/ssddrv.log", "MaxLength=10485760", "IsConsole=0"}) {
    EXPECT_THAT(text, testing::HasSubstr(std::string("\n#") + key + "\n"));
  }
  EXPECT_EQ(text.back(), '\n');
}

}  // namespace
