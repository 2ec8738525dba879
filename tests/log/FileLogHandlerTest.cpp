#include "log/FileLogHandler.h"

#include <cerrno>
#include <fstream>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/CapturedStream.h"
#include "tests/support/FakeRoot.h"
#include "tests/support/LogCapture.h"
#include "tests/support/VirtualSlots.h"

using namespace testkit;

namespace {

bool readsFail = false;
bool streamsFail = false;

/// Standard input is closed while this object lives.
class ClosedInput {
 public:
  ClosedInput() : saved_(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 10)) { close(STDIN_FILENO); }
  ~ClosedInput() { dup2(saved_, STDIN_FILENO); }
  ClosedInput(const ClosedInput&) = delete;
  ClosedInput& operator=(const ClosedInput&) = delete;

 private:
  int saved_;
};

constexpr char kOpen[] = "fopen /var/log/ssddrv/ssddrv.log a+";
constexpr char kClose[] = "fclose /var/log/ssddrv/ssddrv.log";

class LogFile : public testing::Test {
 protected:
  explicit LogFile(const std::string& conf = "Level=4\nMaxLength=4096\n") {
    root().write(kLogConf, conf);
    handler_ = std::make_unique<FileLogHandler>();
  }

  static FakeRoot& root() { return FakeRoot::instance(); }
  void write(const std::string& text) { handler_->WriteLog(text); }
  static std::string content() { return root().read(kLogFile); }
  static mode_t mode() {
    struct stat status {};
    stat(root().place(kLogFile).c_str(), &status);
    return status.st_mode & 07777U;
  }

  std::unique_ptr<FileLogHandler> handler_;
};

class EchoedLogFile : public LogFile {
 protected:
  EchoedLogFile() : LogFile("Level=4\nMaxLength=4096\nIsConsole=1\n") {}

  void log(const std::string& message) {
    LogRecord record(LOG_LEVEL_INFO, message);
    handler_->Log(record);
  }

  [[nodiscard]] Lines echoed() const {
    Lines lines;
    std::string text = errors_.text();
    while (!text.empty()) {
      const std::size_t end = text.find('\n');
      lines.push_back(recordIn(text.substr(0, end)));
      text.erase(0, end + 1);
    }
    return lines;
  }

  CapturedStream errors_{stderr};
};

}  // namespace

extern "C" {

ssize_t __real_pread(int fd, void* data, std::size_t length, off_t offset);
std::FILE* __real_fdopen(int fd, const char* mode);

ssize_t __wrap_pread(int fd, void* data, std::size_t length, off_t offset) {
  return readsFail ? -1 : __real_pread(fd, data, length, offset);
}

std::FILE* __wrap_fdopen(int fd, const char* mode) {
  return streamsFail ? nullptr : __real_fdopen(fd, mode);
}
}

// The order by which support finds its way in a core dump.
TEST(LogHandlers, LogAndTellTheirLevelBehindTheirDestructor) {
  EXPECT_EQ(slotOf(&LogHandler::Log), 2U);
  EXPECT_EQ(slotOf(&LogHandler::GetLevel), 3U);
}

TEST_F(LogFile, IsOpenedByTheFirstLineAndStaysOpen) {
  EXPECT_FALSE(root().exists(kLogFile));
  EXPECT_EQ(root().takeLogFileCalls(), Lines{});
  write("one\n");
  EXPECT_EQ(root().takeLogFileCalls(), (Lines{kOpen, "fstat", "fwrite 4"}));
  write("second\n");
  EXPECT_EQ(root().takeLogFileCalls(), (Lines{"fstat", "fwrite 7"}));
  EXPECT_EQ(content(), "one\nsecond\n");  // flushed: the stream is still open
}

TEST_F(LogFile, IsClosedWithTheHandler) {
  write("one\n");
  root().takeLogFileCalls();
  handler_.reset();
  EXPECT_EQ(root().takeLogFileCalls(), Lines{kClose});
}

TEST_F(LogFile, IsNotClosedWhenItWasNeverOpen) {
  handler_.reset();
  EXPECT_EQ(root().takeLogFileCalls(), Lines{});
}

TEST_F(LogFile, IsAppendedTo) {
  root().write(kLogFile, "from before\n");
  write("one\n");
  EXPECT_EQ(content(), "from before\none\n");
  root().write(kLogFile, "");
  write("second\n");
  EXPECT_EQ(content(), "second\n");
}

TEST_F(LogFile, TakesALineOfAnyLengthInOneWrite) {
  const std::string line = std::string(100000, 'x') + "\n";
  write(line);
  EXPECT_EQ(content(), line);
  EXPECT_EQ(root().takeLogFileCalls(), (Lines{kOpen, "fstat", "fwrite 100001"}));
}

TEST_F(LogFile, TakesALineWithZeroBytes) {
  write(std::string("a\0b\n", 4));
  EXPECT_EQ(content(), std::string("a\0b\n", 4));
}

TEST_F(LogFile, ThatCannotBeOpenedIsTriedAgainByEveryLine) {
  root().refuse("fopen", kLogFile, EACCES, 2);
  write("one\n");
  write("two\n");
  write("three\n");
  EXPECT_EQ(root().takeLogFileCalls(), (Lines{kOpen, kOpen, kOpen, "fstat", "fwrite 6"}));
  EXPECT_EQ(content(), "three\n");
}

TEST_F(LogFile, GetsNoDirectoryMade) {
  root().remove("/var/log/ssddrv");
  write("one\n");
  EXPECT_FALSE(root().exists("/var/log/ssddrv"));
}

TEST_F(LogFile, IsClosedWhenItsSizeCannotBeAskedAndOpenedAgainByTheNextLine) {
  write("one\n");
  root().takeLogFileCalls();
  root().refuse("fstat", kLogFile, EIO);
  write("two\n");
  EXPECT_EQ(root().takeLogFileCalls(), (Lines{"fstat", kClose}));
  write("three\n");
  EXPECT_EQ(root().takeLogFileCalls(), (Lines{kOpen, "fstat", "fwrite 6"}));
  EXPECT_EQ(content(), "one\nthree\n");
}

TEST_F(LogFile, MayEndOneLineBeyondTheLimit) {
  root().write(kLogFile, std::string(4095, 'x'));
  write("a long line\n");
  EXPECT_EQ(content().size(), 4095U + 12U);
}

TEST_F(LogFile, AtItsLimitIsClosedForGood) {
  root().write(kLogFile, std::string(4095, 'x'));
  write("last\n");
  root().takeLogFileCalls();
  write("lost\n");
  EXPECT_EQ(root().takeLogFileCalls(), (Lines{"fstat", kClose}));
  write("lost\n");
  EXPECT_EQ(root().takeLogFileCalls(), Lines{});
  EXPECT_EQ(content(), std::string(4095, 'x') + "last\n");
  root().write(kLogFile, "");
  write("lost\n");
  root().remove(kLogFile);
  write("lost\n");
  EXPECT_FALSE(root().exists(kLogFile));
  EXPECT_EQ(root().takeLogFileCalls(), Lines{});
  handler_.reset();
  EXPECT_EQ(root().takeLogFileCalls(), Lines{});
}

TEST_F(LogFile, FullAtTheFirstLineIsClosedForGood) {
  root().write(kLogFile, std::string(4096, 'x'));
  write("lost\n");
  root().write(kLogFile, "");
  write("lost\n");
  EXPECT_EQ(root().takeLogFileCalls(), (Lines{kOpen, "fstat", kClose}));
  EXPECT_EQ(content(), "");
}

TEST_F(LogFile, ThatIsMadeIsNotWritableByOthersWhateverTheUmask) {
  const mode_t mask = umask(0);
  write("one\n");
  umask(mask);
  EXPECT_EQ(mode(), 0644U);
}

TEST_F(LogFile, ThatIsThereKeepsItsMode) {
  root().write(kLogFile, "");
  chmod(root().place(kLogFile).c_str(), 0666);
  write("one\n");
  EXPECT_EQ(mode(), 0666U);
}

TEST_F(LogFile, ThatMayBeThereKeepsItsMode) {
  root().write(kLogFile, "");
  chmod(root().place(kLogFile).c_str(), 0666);
  root().refuse("stat", kLogFile, EACCES);
  write("one\n");
  EXPECT_EQ(mode(), 0666U);
}

TEST_F(LogFile, BeginsALineOfItsOwnBehindOneThatWasCutShort) {
  write("one\n");
  root().refuse("fwrite", kLogFile, ENOSPC);
  write("lost\n");
  std::ofstream(root().place(kLogFile), std::ios::app) << "lo";  // what of it fitted
  write("two\n");
  write("three\n");
  EXPECT_EQ(content(), "one\nlo\ntwo\nthree\n");
}

TEST_F(LogFile, AddsNothingBehindALineThatWasLostAsAWhole) {
  write("one\n");
  root().refuse("fwrite", kLogFile, ENOSPC);
  write("lost\n");
  write("two\n");
  EXPECT_EQ(content(), "one\ntwo\n");
  root().write(kLogFile, "");
  root().refuse("fwrite", kLogFile, ENOSPC);
  write("lost\n");
  write("three\n");
  EXPECT_EQ(content(), "three\n");
}

TEST_F(LogFile, AddsNothingBehindALineThatWasLostWhenItCannotBeRead) {
  write("one\n");
  root().refuse("fwrite", kLogFile, ENOSPC);
  write("lost\n");
  readsFail = true;
  write("two\n");
  EXPECT_EQ(content(), "one\ntwo\n");
}

TEST_F(LogFile, LeavesTheDescriptorsOfClosedStandardStreams) {
  const ClosedInput closed;
  write("one\n");
  write("two\n");
  EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1);
  EXPECT_EQ(content(), "one\ntwo\n");
}

TEST_F(LogFile, TakesTheDescriptorOfAClosedStandardStreamWhereThereIsNoOther) {
  const ClosedInput closed;
  streamsFail = true;
  write("one\n");
  EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), 0);
  EXPECT_EQ(content(), "one\n");
}

TEST_F(LogFile, GetsEachRecordAsItsLineWithoutAnEcho) {
  const CapturedStream errors(stderr);
  LogRecord record(LOG_LEVEL_TRACE, "message");
  handler_->Log(record);
  EXPECT_EQ(takeLog(), Lines{"Trace: message"});
  EXPECT_EQ(errors.text(), "");
}

TEST_F(LogFile, IsNoMatterToTheConsole) {
  const CapturedStream errors(stderr);
  handler_->WriteConsole("100% line\n");
  EXPECT_EQ(errors.text(), "100% line\n");
  EXPECT_FALSE(root().exists(kLogFile));
}

TEST_F(EchoedLogFile, IsEchoedLineByLine) {
  log("one");
  log("100%");
  EXPECT_EQ(echoed(), (Lines{"Info: one", "Info: 100%"}));
  EXPECT_EQ(errors_.text(), content());
}

TEST_F(EchoedLogFile, IsEchoedBeforeItIsWritten) {
  root().refuse("fopen", kLogFile, EACCES);
  log("one");
  EXPECT_EQ(echoed(), Lines{"Info: one"});
}

TEST_F(EchoedLogFile, IsEchoedOnAfterTheLimit) {
  root().write(kLogFile, std::string(4096, 'x'));
  log("one");
  log("two");
  EXPECT_EQ(echoed(), (Lines{"Info: one", "Info: two"}));
  EXPECT_EQ(content().size(), 4096U);
}
