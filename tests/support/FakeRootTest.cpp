#include <cerrno>
#include <cstdio>

#include <dirent.h>
#include <glob.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/support/FakeRoot.h"

using namespace testkit;

namespace {

FakeRoot& root() { return FakeRoot::instance(); }

}  // namespace

TEST(FakeRoot, HoldsTheLibrarysFiles) {
  root().write(kSsddrvIni, "PollRate=1\n");
  std::FILE* file = std::fopen("/etc/ssddrv/ssddrv.ini", "r");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(std::fgetc(file), 'P');
  std::fclose(file);
  EXPECT_EQ(root().takeCalls(), (std::vector<std::string>{"fopen /etc/ssddrv/ssddrv.ini r",
                                                          "fclose /etc/ssddrv/ssddrv.ini"}));
}

TEST(FakeRoot, NoticesAFileThatWasLeftOpen) {
  root().write(kSsddrvIni, "");
  std::FILE* file = std::fopen(kSsddrvIni, "r");
  EXPECT_NONFATAL_FAILURE(root().verify(), "/etc/ssddrv/ssddrv.ini was left open");
  std::fclose(file);
}

TEST(FakeRoot, NoticesADirectoryThatWasLeftOpen) {
  root().setBlockDevices({"sda"});
  DIR* directory = opendir("/sys/block/");
  EXPECT_NONFATAL_FAILURE(root().verify(), "a directory was left open");
  closedir(directory);
}

TEST(FakeRoot, RefusesACallAsOftenAsTold) {
  root().write(kSsddrvIni, "");
  root().refuse("access", kSsddrvIni, EACCES, 2);
  EXPECT_EQ(access(kSsddrvIni, R_OK), -1);
  EXPECT_EQ(errno, EACCES);
  EXPECT_EQ(access(kSsddrvIni, R_OK), -1);
  EXPECT_EQ(access(kSsddrvIni, R_OK), 0);
}

TEST(FakeRoot, MatchesNodesAsGlobDoes) {
  root().setNodes({"/dev/nvme1", "/dev/nvme10", "/dev/nvme0n1", "/dev/nvme0"});
  glob_t found{};
  ASSERT_EQ(glob("/dev/nvme[0-9]", GLOB_ERR, nullptr, &found), 0);
  ASSERT_EQ(found.gl_pathc, 2U);
  EXPECT_STREQ(found.gl_pathv[0], "/dev/nvme0");
  EXPECT_STREQ(found.gl_pathv[1], "/dev/nvme1");
  globfree(&found);
}
