#include "log/Log.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/log/FakeStamp.h"
#include "tests/support/Allocations.h"
#include "tests/support/CapturedStream.h"
#include "tests/support/FakeRoot.h"
#include "tests/support/LogCapture.h"

using namespace testkit;

namespace {

class Logging : public testing::Test {
 protected:
  static FakeRoot& root() { return FakeRoot::instance(); }

  static void configure(const std::string& conf) { root().write(kLogConf, conf); }

  static void logAtEveryLevel() {
    for (int level = 0; level <= 4; ++level) {
      LogQuick(static_cast<LOG_LEVEL>(level), "m");
    }
  }

  /// A null that the compiler doesn't know of.
  static const char* noText() {
    static const char* volatile text = nullptr;
    return text;
  }
};

}  // namespace

TEST_F(Logging, BeginsWithANoteOnStandardOutputWithoutALineEnd) {
  configure("Level=0\n");
  const CapturedStream output(stdout);
  LogQuick(LOG_LEVEL_TRACE, "suppressed");
  EXPECT_EQ(output.text(), "Logger created");
  Log(LOG_LEVEL_TRACE, "suppressed");
  WLog(LOG_LEVEL_ERROR, L"suppressed");
  EXPECT_EQ(output.text(), "Logger created");
  EXPECT_EQ(root().takeCalls(),
            (Lines{"fopen /etc/ssddrv/log.conf r", "fclose /etc/ssddrv/log.conf"}));
}

TEST_F(Logging, MayBeginWithAnyOfTheThreeFunctions) {
  configure("");
  const CapturedStream output(stdout);
  WLog(LOG_LEVEL_ERROR, L"m");
  EXPECT_EQ(output.text(), "Logger created");
  EXPECT_EQ(takeLog(), Lines{"Error: m"});
}

TEST_F(Logging, BeginsEvenWithoutAText) {
  const CapturedStream output(stdout);
  LogQuick(LOG_LEVEL_ERROR, noText());
  EXPECT_EQ(output.text(), "Logger created");
}

TEST_F(Logging, WithoutConfigurationWritesErrorsAndInfosToTheUsualFile) {
  root().remove(kLogConf);
  const CapturedStream errors(stderr);
  logAtEveryLevel();
  EXPECT_EQ(takeLog(), (Lines{"Off: m", "Error: m", "Info: m"}));
  EXPECT_EQ(errors.text(), "");
}

TEST_F(Logging, AtLevelNoughtWritesNothingButLevelNought) {
  configure("Level=0\n");
  logAtEveryLevel();
  EXPECT_EQ(takeLog(), Lines{"Off: m"});
}

TEST_F(Logging, AtLevelFourWritesAll) {
  configure("Level=4\n");
  logAtEveryLevel();
  EXPECT_EQ(takeLog(), (Lines{"Off: m", "Error: m", "Info: m", "Debug: m", "Trace: m"}));
}

TEST_F(Logging, ComparesLevelsAsSignedNumbers) {
  configure("Level=0\n");
  LogQuick(static_cast<LOG_LEVEL>(-1), "below");
  LogQuick(static_cast<LOG_LEVEL>(5), "above");
  const std::string text = root().read(kLogFile);
  EXPECT_EQ(text.substr(text.find('\t', 24)), "\t\tbelow\n");
}

TEST_F(Logging, MakesNoFileForASuppressedRecord) {
  configure("Level=1\n");
  LogQuick(LOG_LEVEL_INFO, "m");
  Log(LOG_LEVEL_INFO, "m");
  WLog(LOG_LEVEL_INFO, L"m");
  EXPECT_FALSE(root().exists(kLogFile));
}

TEST_F(Logging, TellsBeforehandWhatWouldBeWritten) {
  configure("Level=2\n");
  EXPECT_TRUE(isLogged(LOG_LEVEL_OFF));
  EXPECT_TRUE(isLogged(LOG_LEVEL_INFO));
  EXPECT_FALSE(isLogged(LOG_LEVEL_DEBUG));
  EXPECT_FALSE(root().exists(kLogFile));
}

TEST_F(Logging, TakesNoMemoryForASuppressedRecord) {
  configure("Level=1\n");
  LogQuick(LOG_LEVEL_ERROR, "the handler is there");
  const std::size_t before = allocations::count();
  LogQuick(LOG_LEVEL_INFO, "a text that is too long to be kept in the string object itself");
  Log(LOG_LEVEL_INFO, "%s", "a text");
  WLog(LOG_LEVEL_INFO, L"%ls", L"a text");
  EXPECT_EQ(allocations::count(), before);
}

TEST_F(Logging, TakesABufferPerCall) {
  LogQuick(LOG_LEVEL_ERROR, "the handler is there");
  const std::size_t before = allocations::count();
  Log(LOG_LEVEL_ERROR, "%s", "a text");
  EXPECT_GT(allocations::count(), before);
}

TEST_F(Logging, IgnoresAMissingText) {
  LogQuick(LOG_LEVEL_ERROR, noText());
  Log(LOG_LEVEL_ERROR, noText(), 1);
  static const wchar_t* volatile noWideText = nullptr;
  WLog(LOG_LEVEL_ERROR, noWideText);
  EXPECT_FALSE(root().exists(kLogFile));
}

TEST_F(Logging, FormatsAsPrintfDoes) {
  Log(LOG_LEVEL_INFO, "%s-%08x-%d-%lu-%%", "text", 0xABCU, -5, 1234567890123UL);
  EXPECT_EQ(takeLog(), Lines{"Info: text-00000abc--5-1234567890123-%"});
}

TEST_F(Logging, CutsAFormattedTextAt4095Characters) {
  const std::string text = std::string(4094, 'a') + "bcd";
  Log(LOG_LEVEL_INFO, "%s", text.c_str());
  Log(LOG_LEVEL_INFO, "%s", text.substr(0, 4095).c_str());
  EXPECT_EQ(takeLog(), (Lines{"Info: " + text.substr(0, 4095), "Info: " + text.substr(0, 4095)}));
}

TEST_F(Logging, NeverCutsAQuickText) {
  const std::string text(20000, 'a');
  LogQuick(LOG_LEVEL_INFO, text.c_str());
  EXPECT_EQ(takeLog(), Lines{"Info: " + text});
}

TEST_F(Logging, TakesAQuickTextAsItStands) {
  LogQuick(LOG_LEVEL_DEBUG, "100%");
  LogQuick(LOG_LEVEL_DEBUG, "%s%n");
  LogQuick(LOG_LEVEL_DEBUG, "");
  EXPECT_EQ(takeLog(), (Lines{"Debug: 100%", "Debug: %s%n", "Debug: "}));
}

TEST_F(Logging, KeepsLineFeedsInATextSoThatARecordMaySpanLines) {
  Log(LOG_LEVEL_INFO, "\n\none\n");
  Log(LOG_LEVEL_INFO, "next");
  EXPECT_EQ(takeLog(), (Lines{"Info: \n\none\n", "Info: next"}));
}

TEST_F(Logging, LeavesErrnoAsItWas) {
  errno = ENOTTY;
  LogQuick(LOG_LEVEL_INFO, "the handler is made");
  EXPECT_EQ(errno, ENOTTY);
  root().refuse("fstat", kLogFile, EIO);
  Log(LOG_LEVEL_INFO, "lost");
  EXPECT_EQ(errno, ENOTTY);
  root().refuse("fopen", kLogFile, EACCES);
  WLog(LOG_LEVEL_INFO, L"lost");
  EXPECT_EQ(errno, ENOTTY);
  EXPECT_EQ(takeLog(), Lines{"Info: the handler is made"});
}

TEST_F(Logging, WritesOneLineInOneWrite) {
  LogQuick(LOG_LEVEL_INFO, "message");
  const std::string length = std::to_string(root().read(kLogFile).size());
  EXPECT_EQ(root().takeLogFileCalls(),
            (Lines{"fopen /var/log/ssddrv/ssddrv.log a+", "fstat", "fwrite " + length}));
}

TEST_F(Logging, KeepsTheLinesOfManyThreadsWholeAndInOrder) {
  constexpr int kThreads = 8;
  constexpr int kLines = 100;
  const std::string tail(200, 'x');
  LogQuick(LOG_LEVEL_INFO, "the handler is there");
  takeLog();
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([i, &tail] {
      for (int j = 0; j < kLines; ++j) {
        Log(LOG_LEVEL_INFO, "%d %d %s", i, j, tail.c_str());
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  std::vector<int> next(kThreads, 0);
  for (const std::string& line : takeLog()) {
    const int thread = line[6] - '0';
    ASSERT_TRUE(thread >= 0 && thread < kThreads) << line;
    EXPECT_EQ(line, "Info: " + std::to_string(thread) + " " +
                        std::to_string(next[static_cast<std::size_t>(thread)]++) + " " + tail);
  }
  EXPECT_EQ(next, std::vector<int>(kThreads, kLines));
}

TEST_F(Logging, OpensTheFileOnceForThreadsThatBeginTogether) {
  configure("Level=4\n");
  LogQuick(static_cast<LOG_LEVEL>(5), "only makes the handler");
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([] { LogQuick(LOG_LEVEL_INFO, "m"); });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(takeLog(), Lines(8, "Info: m"));
  const Lines calls = root().takeLogFileCalls();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "fopen /var/log/ssddrv/ssddrv.log a+"), 1);
}

TEST_F(Logging, ShowsTheProcessOfAForkedChild) {
  LogQuick(LOG_LEVEL_INFO, "m");
  EXPECT_EXIT(
      {
        LogQuick(LOG_LEVEL_INFO, "m");
        std::exit(EXIT_SUCCESS);
      },
      testing::ExitedWithCode(EXIT_SUCCESS), "");
  const std::string log = root().read(kLogFile);
  const std::size_t second = log.find("P[", log.find('\n'));
  ASSERT_NE(second, std::string::npos) << log;
  EXPECT_NE(log.substr(second, 11), log.substr(log.find("P["), 11)) << log;
}

TEST_F(Logging, CostsOnlyTheRecordWhenMemoryRunsOut) {
  LogQuick(LOG_LEVEL_INFO, "the handler is there");
  takeLog();
  for (int function = 0; function < 3; ++function) {
    const std::string text(600, 'x');
    const std::wstring wideText(600, L'x');
    const auto log = [&] {
      switch (function) {
        case 0:
          return Log(LOG_LEVEL_INFO, "%s", text.c_str());
        case 1:
          return WLog(LOG_LEVEL_INFO, L"%ls", wideText.c_str());
        default:
          return LogQuick(LOG_LEVEL_INFO, text.c_str());
      }
    };
    std::size_t refused = 0;
    for (Lines lines; lines.empty(); ++refused) {
      errno = ENOTTY;
      allocations::refuseAfter(refused);
      EXPECT_NO_THROW(log());
      EXPECT_EQ(errno, ENOTTY);
      allocations::refuseNone();
      lines = takeLog();
      if (!lines.empty()) {
        EXPECT_EQ(lines, Lines{"Info: " + text});
      }
    }
    EXPECT_GE(refused, 3U);
  }
}

TEST_F(Logging, BeginsWithTheNextRecordWhenMemoryRanOutAtTheFirst) {
  configure("Level=4\nFileName=/var/log/ssddrv/a-name-that-is-too-long-for-the-string-itself\n");
  std::size_t refused = 0;
  while (!root().exists("/var/log/ssddrv/a-name-that-is-too-long-for-the-string-itself")) {
    allocations::refuseAfter(refused++);
    EXPECT_NO_THROW(LogQuick(LOG_LEVEL_INFO, "m"));
    allocations::refuseNone();
    root().verify();
    ASSERT_LT(refused, 100U);
  }
  EXPECT_GE(refused, 3U);
}

TEST_F(Logging, BeginsWithTheNextRecordWhenTheThreadOfTheFirstIsEnded) {
  root().endThreadAt("fopen", kLogConf);
  std::thread([] { LogQuick(LOG_LEVEL_INFO, "lost"); }).join();
  LogQuick(LOG_LEVEL_INFO, "m");
  EXPECT_EQ(takeLog(), Lines{"Info: m"});
}

TEST_F(Logging, CostsOnlyTheRecordWhenItsThreadIsEnded) {
  const std::vector<void (*)()> functions = {[] { LogQuick(LOG_LEVEL_INFO, "lost"); },
                                             [] { Log(LOG_LEVEL_INFO, "lost"); },
                                             [] { WLog(LOG_LEVEL_INFO, L"lost"); }};
  for (const auto& function : functions) {
    root().endThreadAt("fopen", kLogFile);
    std::thread(function).join();
  }
  LogQuick(LOG_LEVEL_INFO, "m");
  EXPECT_EQ(takeLog(), Lines{"Info: m"});
}
