#include "config/Config.h"

#include <cerrno>
#include <new>
#include <ostream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "log/Log.h"
#include "tests/support/Allocations.h"
#include "tests/support/CapturedStream.h"
#include "tests/support/FakeRoot.h"
#include "tests/support/LogCapture.h"

using namespace testkit;

namespace {

struct Settings {
  std::uint64_t pollRate = 10;
  std::uint64_t percentUsedThreshold = 95;
  std::uint64_t sptLogAccess = 1;
  std::uint64_t debugIndications = 0;
  std::uint64_t debugTraceAttributes = 0;
  std::uint64_t debugTraceLogs = 0;
};

void expectSettings(const Settings& expected) {
  const Config& config = *Config::GetInstance();
  EXPECT_EQ(config.getPollRate(), expected.pollRate);
  EXPECT_EQ(config.getPercentUsedThreshold(), expected.percentUsedThreshold);
  EXPECT_EQ(config.getSptLogAccess(), expected.sptLogAccess);
  EXPECT_EQ(config.getDebugIndications(), expected.debugIndications);
  EXPECT_EQ(config.getDebugTraceAttributes(), expected.debugTraceAttributes);
  EXPECT_EQ(config.getDebugTraceLogs(), expected.debugTraceLogs);
}

/// One text of ssddrv.ini and what comes of it.
struct Case {
  const char* rule;
  std::string text;
  Settings settings;

  friend std::ostream& operator<<(std::ostream& out, const Case& given) {
    return out << given.text;
  }
};

class ConfigText : public testing::TestWithParam<Case> {};

Case pollRate(const char* rule, const std::string& text, std::uint64_t value) {
  Case made{rule, text, {}};
  made.settings.pollRate = value;
  return made;
}

Case threshold(const char* rule, const std::string& text, std::uint64_t value) {
  Case made{rule, text, {}};
  made.settings.percentUsedThreshold = value;
  return made;
}

Case sptLogAccess(const char* rule, const std::string& text, std::uint64_t value) {
  Case made{rule, text, {}};
  made.settings.sptLogAccess = value;
  return made;
}

Case indications(const char* rule, const std::string& text, std::uint64_t value) {
  Case made{rule, text, {}};
  made.settings.debugIndications = value;
  return made;
}

Case attributes(const char* rule, const std::string& text, std::uint64_t value) {
  Case made{rule, text, {}};
  made.settings.debugTraceAttributes = value;
  return made;
}

Case logs(const char* rule, const std::string& text, std::uint64_t value) {
  Case made{rule, text, {}};
  made.settings.debugTraceLogs = value;
  return made;
}

class SsddrvIni : public testing::Test {
 protected:
  static FakeRoot& root() { return FakeRoot::instance(); }
};

}  // namespace

TEST_P(ConfigText, GivesTheseSettings) {
  FakeRoot::instance().write(kSsddrvIni, GetParam().text);
  expectSettings(GetParam().settings);
}

INSTANTIATE_TEST_SUITE_P(
    , ConfigText,
    testing::Values(
        pollRate("EmptyFile", "", 10), pollRate("PollRate", "PollRate=3600\n", 3600),
        pollRate("PollRateOfOne", "PollRate=1\n", 1),
        pollRate("PollRateOfNoughtIsRefused", "PollRate=0\n", 10),
        pollRate("PollRateHasNoUpperLimit", "PollRate=4294967296\n", 4294967296U),
        pollRate("PollRateStopsAtTheFirstNonDigit", "PollRate=5x\n", 5),
        pollRate("PollRateMayFollowABlank", "PollRate= 7\n", 7),
        pollRate("PollRateWithoutDigitsIsRefused", "PollRate=x5\n", 10),
        pollRate("PollRateWithoutAValueIsRefused", "PollRate=\n", 10),
        pollRate("PollRateMayHaveASign", "PollRate=+6\n", 6),
        pollRate("PollRateBelowNoughtWraps", "PollRate=-5\n", 18446744073709551611U),
        pollRate("PollRateWithCarriageReturn", "PollRate=20\r\n", 20),
        pollRate("KeyWithABlankBehindMatchesNothing", "PollRate =20\n", 10),
        pollRate("KeyWithABlankBeforeMatchesNothing", " PollRate=20\n", 10),
        pollRate("KeyInAnotherLetterCaseMatchesNothing", "pollrate=20\nPOLLRATE=20\n", 10),
        pollRate("KeyThatIsLongerMatchesNothing", "PollRates=20\nPollRat=20\n", 10),
        pollRate("CommentedLineMatchesNothing", "#PollRate=20\n;PollRate=30\n", 10),
        pollRate("SectionsAndOtherLinesArePassedOver",
                 "[main]\n\n=5\nPollRate\nPollRate=20\nUnknown=1\n", 20),
        pollRate("LastLineWithoutLineFeedLosesACharacter", "PollRate=20", 2),
        pollRate("LastLineOfOneDigitWithoutLineFeedIsEmpty", "PollRate=5", 10),
        pollRate("LastLineThatEndsInEqualsIsRefused", "PollRate=", 10),
        pollRate("LastOfTwoValuesCounts", "PollRate=20\nPollRate=30\n", 30),
        pollRate("RefusedValueLeavesTheOneBefore", "PollRate=20\nPollRate=0\nPollRate=x\n", 20),
        threshold("Threshold", "PercentUsedThreshold=50\n", 50),
        threshold("ThresholdOfTen", "PercentUsedThreshold=10\n", 10),
        threshold("ThresholdOfNineIsRefused", "PercentUsedThreshold=9\n", 95),
        threshold("ThresholdOf100", "PercentUsedThreshold=100\n", 100),
        threshold("ThresholdOf101IsRefused", "PercentUsedThreshold=101\n", 95),
        threshold("ThresholdBelowNoughtIsRefused", "PercentUsedThreshold=-50\n", 95),
        threshold("ThresholdThatIsNoNumberIsRefused", "PercentUsedThreshold=many\n", 95),
        threshold("ThresholdLosesTheCharacterInsteadOfTheLineFeed", "PercentUsedThreshold=901", 90),
        threshold("ThresholdThatEndsInEqualsIsRefused", "PercentUsedThreshold=", 95),
        sptLogAccess("SptIsTurnedOffByNought", "SptLogAccess=0\n", 0),
        sptLogAccess("SptIsTurnedOffByFalse", "SptLogAccess=false\n", 0),
        sptLogAccess("SptIsTurnedOffByCapitalF", "SptLogAccess=F\n", 0),
        sptLogAccess("SptStaysOnForOne", "SptLogAccess=1\n", 1),
        sptLogAccess("SptStaysOnForNo", "SptLogAccess=No\n", 1),
        sptLogAccess("SptStaysOnForABlankBefore", "SptLogAccess= 0\n", 1),
        sptLogAccess("SptStaysOnForNothing", "SptLogAccess=\n", 1),
        sptLogAccess("SptStaysOnForTheLastCharacter", "SptLogAccess=0", 1),
        sptLogAccess("SptIsNeverTurnedOnAgain", "SptLogAccess=0\nSptLogAccess=1\n", 0),
        sptLogAccess("SptTakesACarriageReturn", "SptLogAccess=0\r\n", 0),
        indications("IndicationsByOne", "DebugIndications=1\n", 1),
        indications("IndicationsByCapitalT", "DebugIndications=True\n", 1),
        indications("IndicationsBySmallT", "DebugIndications=t\n", 1),
        indications("IndicationsNotByTwo", "DebugIndications=2\n", 0),
        indications("IndicationsNotByABlankBefore", "DebugIndications= 1\n", 0),
        indications("IndicationsAreNeverTurnedOff", "DebugIndications=1\nDebugIndications=0\n", 1),
        attributes("AttributesByOne", "DebugTraceAttributes=1x\n", 1),
        attributes("AttributesByCapitalT", "DebugTraceAttributes=T\n", 1),
        attributes("AttributesBySmallT", "DebugTraceAttributes=true\n", 1),
        attributes("AttributesNotByYes", "DebugTraceAttributes=yes\n", 0),
        logs("LogsByOne", "DebugTraceLogs=1\n", 1),
        logs("LogsByCapitals", "DebugTraceLogs=TRUE\n", 1),
        logs("LogsBySmallT", "DebugTraceLogs=tea\n", 1),
        logs("LogsNotByYes", "DebugTraceLogs=yes\n", 0),
        logs("LogsNotByNothing", "DebugTraceLogs=\n", 0),
        Case{"AllKeys",
             "DebugTraceLogs=1\nDebugTraceAttributes=1\nDebugIndications=1\nSptLogAccess=0\n"
             "PercentUsedThreshold=11\nPollRate=12\n",
             {12, 11, 0, 1, 1, 1}},
        Case{"BadValueOfOneKeyDisturbsNoOther",
             "PollRate=x\nPercentUsedThreshold=200\nSptLogAccess=0\nDebugIndications=maybe\n"
             "DebugTraceAttributes=1\n",
             {10, 95, 0, 0, 1, 0}}),
    [](const auto& instance) { return instance.param.rule; });

TEST_F(SsddrvIni, MayBeMissing) {
  const CapturedStream errors(stderr);
  expectSettings({});
  EXPECT_EQ(errors.text(), "trying to open config: /etc/ssddrv/ssddrv.ini\n");
}

TEST_F(SsddrvIni, ThatMayNotBeReadCountsAsMissing) {
  root().write(kSsddrvIni, "PollRate=20\n");
  root().refuse("fopen", kSsddrvIni, EACCES);
  const CapturedStream errors(stderr);
  expectSettings({});
  EXPECT_EQ(errors.text(), "trying to open config: /etc/ssddrv/ssddrv.ini\n");
}

TEST_F(SsddrvIni, ThatIsADirectoryLeavesTheDefaults) {
  root().write(std::string(kSsddrvIni) + "/file", "");
  expectSettings({});
}

TEST_F(SsddrvIni, IsNamedOnStandardErrorWhenTriedAndWhenOpened) {
  root().write(kSsddrvIni, "PollRate=20\n");
  const CapturedStream errors(stderr);
  const CapturedStream output(stdout);
  Config::GetInstance();
  EXPECT_EQ(errors.text(),
            "trying to open config: /etc/ssddrv/ssddrv.ini\n"
            "opened config: /etc/ssddrv/ssddrv.ini\n");
  EXPECT_EQ(output.text(), "Logger created");
}

TEST_F(SsddrvIni, IsReadOnceAndClosed) {
  root().write(kSsddrvIni, "PollRate=20\n");
  const Config* config = Config::GetInstance();
  root().write(kSsddrvIni, "PollRate=30\n");
  EXPECT_EQ(Config::GetInstance(), config);
  EXPECT_EQ(config->getPollRate(), 20U);
  EXPECT_EQ(root().takeCalls(),
            (Lines{"fopen /etc/ssddrv/log.conf r", "fclose /etc/ssddrv/log.conf",
                   "fopen /etc/ssddrv/ssddrv.ini r", "fclose /etc/ssddrv/ssddrv.ini"}));
}

TEST_F(SsddrvIni, LeavesThreeLinesInTheLog) {
  root().write(kSsddrvIni, "PollRate=x\nNonsense=1\n");
  const Config* config = Config::GetInstance();
  EXPECT_EQ(takeLog(), (Lines{"Trace: Config::initialise", "Debug: Config constructed",
                              "Debug: Config::GetInstance - new instance = " + low32(config)}));
  Config::GetInstance();
  EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(SsddrvIni, IsNamedBetweenTheLinesOfItsConstruction) {
  root().write(kLogConf, "Level=4\nIsConsole=1\n");
  root().write(kSsddrvIni, "");
  const CapturedStream errors(stderr);
  const Config* config = Config::GetInstance();
  Lines lines;
  std::istringstream text(errors.text());
  for (std::string line; std::getline(text, line);) {
    const std::string record = recordIn(line);
    lines.push_back(record.empty() ? line : record);
  }
  EXPECT_EQ(lines,
            (Lines{"Trace: Config::initialise", "trying to open config: /etc/ssddrv/ssddrv.ini",
                   "opened config: /etc/ssddrv/ssddrv.ini", "Debug: Config constructed",
                   "Debug: Config::GetInstance - new instance = " + low32(config)}));
}

namespace {

/// The number of the allocation that is refused.
class Shortage : public testing::TestWithParam<int> {};

}  // namespace

TEST_P(Shortage, CostsNothingButTheCall) {
  FakeRoot::instance().write(kSsddrvIni,
                             "PollRate=00000000000000000000000000020\nPercentUsedThreshold=50\n");
  LogQuick(LOG_LEVEL_INFO, "the handler is there");
  allocations::refuseAfter(static_cast<std::size_t>(GetParam()));
  try {
    Config::GetInstance();
  } catch (const std::bad_alloc&) {
  }
  allocations::refuseNone();
  FakeRoot::instance().verify();
  EXPECT_EQ(Config::GetInstance()->getPollRate(), 20U);
  EXPECT_EQ(Config::GetInstance()->getPercentUsedThreshold(), 50U);
}

INSTANTIATE_TEST_SUITE_P(OfMemory, Shortage, testing::Range(0, 16));

// ModelsFile: what is no absolute path is ignored like any other bad value.

namespace {

std::string modelsFileOf(const std::string& text) {
  FakeRoot::instance().write(kSsddrvIni, text);
  return Config::GetInstance()->getModelsFile();
}

}  // namespace

TEST(ModelsFileSetting, IsNoneAtFirst) { EXPECT_EQ(modelsFileOf(""), ""); }

TEST(ModelsFileSetting, IsAnAbsolutePath) {
  EXPECT_EQ(modelsFileOf("ModelsFile=/a b/models.conf\n"), "/a b/models.conf");
}

TEST(ModelsFileSetting, MayEndInACarriageReturn) {
  EXPECT_EQ(modelsFileOf("ModelsFile=/models.conf\r\n"), "/models.conf");
}

TEST(ModelsFileSetting, IsTheLastPath) {
  EXPECT_EQ(modelsFileOf("ModelsFile=/a\nModelsFile=/b\nModelsFile= /c\nModelsFile=d\n"), "/b");
}

TEST(ModelsFileSetting, IsTakenBackByNothing) {
  EXPECT_EQ(modelsFileOf("ModelsFile=/a\nModelsFile=\n"), "");
}

TEST(ModelsFileSetting, WithoutAValueIsIgnored) {
  EXPECT_EQ(modelsFileOf("ModelsFile=/a\nModelsFile="), "/a");
}
