// Configuration files that are no files, and log files on bad disks.

#include <filesystem>
#include <fstream>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/fault/Till.h"
#include "tests/hostile/HostileTill.h"

namespace {

using fault::Drive;

constexpr char kLogConf[] = "/etc/ssddrv/log.conf";
constexpr char kIni[] = "/etc/ssddrv/ssddrv.ini";
constexpr char kLog[] = "/var/log/ssddrv/ssddrv.log";

/// The drive that every till of this file has is listed, at 50 percent.
void expectWorks(HostileTill& till) {
  const cmpihost::Reply reply = till.list();
  ASSERT_EQ(reply.status.rc, CMPI_RC_OK);
  ASSERT_EQ(reply.instances.size(), 1U);
  EXPECT_EQ(reply.instances[0].property("PercentageUsed")->asUnsigned(), 50U);
}

void addDrive(HostileTill& till) {
  till.machine.add(Drive::kAttribute, "sda", "SanDisk SSD P4 64GB", "S1").percentage = 50;
}

bool isLogged(const HostileTill& till, const std::string& text) {
  return till.log().find(text) != std::string::npos;
}

constexpr char kInfoLine[] = "\tInfo \tSsdProvider created and initialised\n";
constexpr char kDebugLine[] = "\tDebug\tSsdManager Constructed\n";

/// Both configuration files, spoilt in the same way, leave the defaults.
class SpoiltConfiguration : public testing::TestWithParam<const char*> {
 protected:
  static void spoil(const HostileTill& till, const char* path, const std::string& how) {
    const std::string real = till.machine.real(path);
    if (how == "Directory") {
      std::filesystem::create_directories(real);
    } else if (how == "Unreadable") {
      // Root reads everything: a link to itself can't be followed by anybody.
      std::filesystem::create_symlink(real, real);
    } else if (how == "MegabyteLine") {
      till.machine.write(path, "Level" + std::string(1 << 20, '=') + "\n");
    } else if (how == "Binary") {
      std::string bytes;
      for (int i = 0; i < 65536; ++i) {
        bytes += static_cast<char>(i * 31 + i / 256);
      }
      till.machine.write(path, bytes);
    } else if (how == "Empty") {
      till.machine.write(path, "");
    }
  }
};

TEST_P(SpoiltConfiguration, LeavesTheDefaults) {
  HostileTill till;
  addDrive(till);
  spoil(till, kLogConf, GetParam());
  spoil(till, kIni, GetParam());
  till.start();
  expectWorks(till);
  EXPECT_TRUE(isLogged(till, kInfoLine));
  EXPECT_FALSE(isLogged(till, kDebugLine));
}

INSTANTIATE_TEST_SUITE_P(By, SpoiltConfiguration,
                         testing::Values("Directory", "Unreadable", "MegabyteLine", "Binary",
                                         "Empty"),
                         [](const auto& instance) { return std::string(instance.param); });

TEST(HostileFile, ConfigurationFromAPipeIsReadToItsEnd) {
  HostileTill till;
  addDrive(till);
  ASSERT_EQ(mkfifo(till.machine.real(kLogConf).c_str(), 0600), 0);
  const pid_t writer = fork();
  if (writer == 0) {
    std::ofstream(till.machine.real(kLogConf)) << "Level=3\n";
    _exit(0);
  }
  till.start();
  waitpid(writer, nullptr, 0);
  expectWorks(till);
  EXPECT_TRUE(isLogged(till, kDebugLine));
}

TEST(HostileFile, LogOnAFullDiskLosesItsLinesAndNothingElse) {
  HostileTill till;
  addDrive(till);
  till.machine.write(kLogConf, "Level=4\nFileName=/dev/full\n");
  till.start();
  expectWorks(till);
}

TEST(HostileFile, LogInAFolderThatIsNotThereIsNotMade) {
  HostileTill till;
  addDrive(till);
  std::filesystem::remove_all(till.machine.real("/var/log/ssddrv/"));
  till.start();
  expectWorks(till);
  EXPECT_FALSE(std::filesystem::exists(till.machine.real("/var/log/ssddrv/")));
}

TEST(HostileFile, LogFolderThatComesLaterIsUsedFromThenOn) {
  HostileTill till;
  addDrive(till);
  till.machine.write(kLogConf, "Level=3\n");
  std::filesystem::remove_all(till.machine.real("/var/log/ssddrv/"));
  till.start();
  std::filesystem::create_directories(till.machine.real("/var/log/ssddrv/"));
  expectWorks(till);
  EXPECT_FALSE(isLogged(till, kInfoLine));
  EXPECT_TRUE(isLogged(till, "\tDebug\tSsdProvider::update\n"));
}

TEST(HostileFile, LogWhoseNameIsAFolderLosesItsLines) {
  HostileTill till;
  addDrive(till);
  std::filesystem::create_directories(till.machine.real(kLog));
  till.start();
  expectWorks(till);
}

TEST(HostileFile, LogThatIsDeletedGoesOnUnseenUntilTheNextLoad) {
  HostileTill till;
  addDrive(till);
  till.machine.write(kLogConf, "Level=3\n");
  till.start();
  std::filesystem::remove(till.machine.real(kLog));
  expectWorks(till);
  EXPECT_FALSE(std::filesystem::exists(till.machine.real(kLog)));
}

TEST(HostileFile, LogThatIsCutGoesOnAtItsNewEnd) {
  HostileTill till;
  addDrive(till);
  till.machine.write(kLogConf, "Level=3\n");
  till.start();
  std::filesystem::resize_file(till.machine.real(kLog), 0);
  expectWorks(till);
  EXPECT_FALSE(isLogged(till, kInfoLine));
  const std::string log = till.log();
  EXPECT_EQ(log.find('\0'), std::string::npos) << "no hole is left before the new lines";
  EXPECT_NE(log.find("\tDebug\tSsdProvider::update\n"), std::string::npos);
}

TEST(HostileFile, LogOfTwoProcessesHoldsWholeLinesOfBoth) {
  HostileTill till;
  addDrive(till);
  till.machine.write(kLogConf, "Level=3\n");
  const pid_t other = fork();
  till.start();
  for (int i = 0; i < 50; ++i) {
    till.list();
  }
  if (other == 0) {
    _exit(0);
  }
  waitpid(other, nullptr, 0);
  std::istringstream log(till.log());
  unsigned mine = 0;
  unsigned theirs = 0;
  const std::string me = "\tP[" + std::string(8 - std::to_string(getpid()).size(), ' ') +
                         std::to_string(getpid()) + "] T[";
  const std::string them =
      "\tP[" + std::string(8 - std::to_string(other).size(), ' ') + std::to_string(other) + "] T[";
  for (std::string line; std::getline(log, line);) {
    if (line.empty()) {
      continue;  // after a message that ends in a line feed itself
    }
    ASSERT_EQ(line.find("\tP["), 23U) << line;
    mine += line.compare(23, me.size(), me) == 0 ? 1U : 0U;
    theirs += line.compare(23, them.size(), them) == 0 ? 1U : 0U;
  }
  EXPECT_GT(mine, 100U);
  EXPECT_GT(theirs, 100U);
}

TEST(HostileFile, NothingThatIsCreatedCanBeWrittenByOthers) {
  HostileTill till;
  addDrive(till);
  const mode_t before = umask(022);
  till.start();
  umask(before);
  struct stat status {};
  ASSERT_EQ(stat(till.machine.real(kLog).c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0644U);
}

TEST(HostileFile, NvmeNodesAreClosedOnExec) {
  HostileTill till;
  till.machine.write(kIni, "PollRate=1000000\n");
  till.machine.add(Drive::kNvme, "nvme0", "Sick", "S1");
  till.start();
  till.machine.drive("nvme0").refusing = true;
  till.list();
  const std::vector<int> nodes = till.openAt("/dev/nvme0");
  ASSERT_EQ(nodes.size(), 1U);
  EXPECT_NE(fcntl(nodes[0], F_GETFD) & FD_CLOEXEC, 0);
}

}  // namespace
