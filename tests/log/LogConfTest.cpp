#include <cerrno>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "log/FileLogHandler.h"
#include "tests/support/CapturedStream.h"
#include "tests/support/FakeRoot.h"
#include "tests/support/LogCapture.h"

using namespace testkit;

namespace {

struct Case {
  const char* rule;
  std::string text;
  int level;

  friend std::ostream& operator<<(std::ostream& out, const Case& given) {
    return out << given.text;
  }
};

class LogConfLevel : public testing::TestWithParam<Case> {};

class LogConf : public testing::Test {
 protected:
  static FakeRoot& root() { return FakeRoot::instance(); }

  static void write(FileLogHandler& handler, const std::string& message = "m") {
    LogRecord record(LOG_LEVEL_ERROR, message);
    handler.Log(record);
  }

  /// Whether a line goes to a log file that already has `size` bytes.
  static bool writesTo(std::uint64_t size) {
    root().write(kLogFile, std::string(size, 'x'));
    FileLogHandler handler;
    handler.WriteLog("m\n");
    return root().read(kLogFile).size() > size;
  }

  static bool echoes(const std::string& conf) {
    root().write(kLogConf, conf);
    const CapturedStream errors(stderr);
    FileLogHandler handler;
    write(handler);
    return !errors.text().empty();
  }
};

}  // namespace

TEST_P(LogConfLevel, GivesThisLevel) {
  FakeRoot::instance().write(kLogConf, GetParam().text);
  EXPECT_EQ(FileLogHandler().GetLevel(), GetParam().level);
}

INSTANTIATE_TEST_SUITE_P(
    , LogConfLevel,
    testing::Values(Case{"IsInfoByDefault", "", 2}, Case{"Nought", "Level=0\n", 0},
                    Case{"One", "Level=1\n", 1}, Case{"Three", "Level=3\n", 3},
                    Case{"Four", "Level=4\n", 4}, Case{"FiveIsRefused", "Level=5\n", 2},
                    Case{"TextIsRefused", "Level=x\n", 2}, Case{"NothingIsRefused", "Level=\n", 2},
                    Case{"HugeIsRefused", "Level=99999999999999999999\n", 2},
                    Case{"FourGigabytesAreRefused", "Level=4294967296\n", 2},
                    Case{"BelowNoughtIsRefused", "Level=-1\n", 2},
                    Case{"MayHaveASign", "Level=+3\n", 3}, Case{"MayFollowABlank", "Level= 3\n", 3},
                    Case{"MayFollowATab", "Level=\t3\n", 3},
                    Case{"StopsAtTheFirstNonDigit", "Level=4th\n", 4},
                    Case{"MayEndInCarriageReturn", "Level=4\r\n", 4},
                    Case{"KeyWithABlankBeforeIsIgnored", " Level=3\n", 2},
                    Case{"KeyWithABlankBehindIsIgnored", "Level =3\n", 2},
                    Case{"KeyInAnotherLetterCaseIsIgnored", "level=3\nLEVEL=3\n", 2},
                    Case{"LongerKeyIsIgnored", "Levels=3\nLeve=3\n", 2},
                    Case{"LineWithoutKeyIsSkipped", "=3\n", 2},
                    Case{"LineWithoutEqualsIsSkipped", "Level\nLevel 3\n\nLevel=4\n", 4},
                    Case{"LastLineWithoutLineFeedIsEmpty", "Level=4", 2},
                    Case{"LastLineWithoutLineFeedLosesACharacter", "Level=44", 4},
                    Case{"LastLineThatEndsInEqualsIsEmpty", "Level=4\nLevel=", 4},
                    Case{"LastValidValueCounts", "Level=3\nLevel=1\nLevel=9\n", 1},
                    Case{"OtherKeysDoNotDisturb", "Unknown=1\nFileName=\nLevel=3\n#Level=4\n", 3}),
    [](const auto& instance) { return instance.param.rule; });

TEST_F(LogConf, MayBeMissing) {
  root().remove(kLogConf);
  const CapturedStream errors(stderr);
  const CapturedStream output(stdout);
  FileLogHandler handler;
  EXPECT_EQ(handler.GetLevel(), LOG_LEVEL_INFO);
  write(handler);
  EXPECT_EQ(takeLog(), Lines{"Error: m"});
  EXPECT_EQ(errors.text() + output.text(), "");
}

TEST_F(LogConf, ThatMayNotBeReadCountsAsMissing) {
  root().refuse("fopen", kLogConf, EACCES);
  EXPECT_EQ(FileLogHandler().GetLevel(), LOG_LEVEL_INFO);
}

TEST_F(LogConf, ThatIsADirectoryCountsAsEmpty) {
  root().remove(kLogConf);
  root().write(std::string(kLogConf) + "/file", "");
  EXPECT_EQ(FileLogHandler().GetLevel(), LOG_LEVEL_INFO);
}

TEST_F(LogConf, IsReadByConstructionAndClosed) {
  FileLogHandler handler;
  EXPECT_EQ(handler.GetLevel(), LOG_LEVEL_TRACE);
  root().write(kLogConf, "Level=1\n");
  EXPECT_EQ(handler.GetLevel(), LOG_LEVEL_TRACE);
  EXPECT_EQ(root().takeCalls(),
            (Lines{"fopen /etc/ssddrv/log.conf r", "fclose /etc/ssddrv/log.conf"}));
}

TEST_F(LogConf, ReadAgainStartsFromTheDefaults) {
  root().write(kLogConf, "Level=4\nIsConsole=1\nFileName=/var/log/ssddrv/other.log\n");
  FileLogHandler handler;
  root().write(kLogConf, "Unknown=1\n");
  handler.GetConfig();
  EXPECT_EQ(handler.GetLevel(), LOG_LEVEL_INFO);
  const CapturedStream errors(stderr);
  write(handler);
  EXPECT_EQ(errors.text(), "");
  EXPECT_EQ(takeLog(), Lines{"Error: m"});
}

TEST_F(LogConf, NamesTheLogFile) {
  root().write(kLogConf, "FileName=/var/log/ssddrv/other.log\n");
  FileLogHandler handler;
  write(handler);
  EXPECT_FALSE(root().exists(kLogFile));
  EXPECT_EQ(recordIn(root().read("/var/log/ssddrv/other.log")), "Error: m\n");
}

TEST_F(LogConf, TakesTheFileNameExactlyAsItStands) {
  root().write(kLogConf, "FileName=/var/log/ssddrv/ a = b \r\n");
  FileLogHandler handler;
  write(handler);
  EXPECT_TRUE(root().exists("/var/log/ssddrv/ a = b \r"));
}

TEST_F(LogConf, KeepsTheFileNameForAnEmptyOne) {
  root().write(kLogConf,
               "FileName=/var/log/ssddrv/other.log\nFileName=\nfilename=/nowhere\nFileName=/");
  FileLogHandler handler;
  write(handler);
  EXPECT_TRUE(root().exists("/var/log/ssddrv/other.log"));
}

TEST_F(LogConf, EchoesOnlyWhenToldTo) {
  for (const char* yes : {"IsConsole=1\n", "IsConsole=T\n", "IsConsole=true\n", "IsConsole=1x\n",
                          "IsConsole=1\nIsConsole=0\n", "IsConsole=0\nIsConsole=t\n"}) {
    EXPECT_TRUE(echoes(yes)) << yes;
  }
  for (const char* no : {"", "IsConsole=0\n", "IsConsole=\n", "IsConsole= 1\n", "IsConsole=yes\n",
                         "IsConsole=1", "isconsole=1\n", "IsConsole =1\n", "IsConsole=2\n"}) {
    EXPECT_FALSE(echoes(no)) << no;
  }
}

TEST_F(LogConf, LimitsTheFileToTenMebibytesByDefault) {
  EXPECT_TRUE(writesTo(10485759));
  EXPECT_FALSE(writesTo(10485760));
}

TEST_F(LogConf, LimitsTheFileAsConfigured) {
  root().write(kLogConf, "MaxLength=5000\n");
  EXPECT_TRUE(writesTo(4999));
  EXPECT_FALSE(writesTo(5000));
  EXPECT_FALSE(writesTo(5001));
}

TEST_F(LogConf, LimitsTheFileToNoLessThan4096Bytes) {
  for (const char* least : {"MaxLength=100\n", "MaxLength=0\n", "MaxLength=4095\n",
                            "MaxLength=4096\n", "MaxLength=9000\nMaxLength=1\n"}) {
    root().write(kLogConf, least);
    EXPECT_TRUE(writesTo(4095)) << least;
    EXPECT_FALSE(writesTo(4096)) << least;
  }
}

TEST_F(LogConf, KeepsTheLimitForAValueThatIsNoNumber) {
  root().write(kLogConf, "MaxLength=5000\nMaxLength=x\nMaxLength=\nMaxLengths=6000\nmaxlength=7\n");
  EXPECT_TRUE(writesTo(4999));
  EXPECT_FALSE(writesTo(5000));
}

TEST_F(LogConf, TakesAnyLimitAbove) {
  root().write(kLogConf, "MaxLength=-1\n");
  EXPECT_TRUE(writesTo(10485760));
  root().write(kLogConf, "MaxLength= 20000000k\n");
  EXPECT_TRUE(writesTo(10485760));
}
