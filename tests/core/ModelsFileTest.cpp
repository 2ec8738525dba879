// A drive that is read by a row of the models file, and that file.

#include "core/ModelsFile.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <sys/resource.h>
#include <sys/stat.h>

#include "core/SsdApi.h"
#include "tests/core/SsdDeviceTest.h"
#include "tests/core/SsdManagerTest.h"
#include "tests/support/Allocations.h"
#include "tests/support/TempDir.h"

using namespace testkit;

namespace {

class ModelsFile : public CoreTest {
 protected:
  std::string write(const std::string& text) {
    std::ofstream(path_) << text;
    return path_;
  }

  TempDir directory_;
  const std::string path_ = directory_.path() + "/models.conf";
};

class ListedModel : public Device {
 protected:
  /// Sets the device up by the rows of `text`; gives what it logged besides its drive's commands.
  Lines start(const IdentifyData& identify, std::string text) {
    ModelTable models;
    std::FILE* file = fmemopen(text.data(), text.size(), "r");
    EXPECT_TRUE(
        models.read(file, [](unsigned, const std::string& problem) { ADD_FAILURE() << problem; }));
    std::fclose(file);
    threads().holdStarts();
    EXPECT_TRUE(device_->initialise(identify, "sda", "/dev/sda", &listener_, models));
    Lines log = withoutCommands(takeLog());
    log.erase(log.begin());
    return log;
  }

  static void willHaveNoStatistics() { kernel().willRefuseOpen("/dev/sda", O_RDONLY, EIO); }

  Lines lastLines() {
    return {"Debug: PollingThread::initialise - _ssdDevice=" + low32(device_.get()), startedLine()};
  }
};

const std::string kLife = "KINGSTON SA400*=231 current left\n";
const std::string kByLine = "Debug: SsdDevice::initialise - /dev/sda is read by line ";

}  // namespace

// The file

TEST_F(ModelsFile, ThatIsNotSetIsNotLookedFor) {
  EXPECT_TRUE(readModelsFile("").rows().empty());
  EXPECT_EQ(takeLog(), Lines{});
  EXPECT_EQ(root().takeCalls(), Lines{});
}

TEST_F(ModelsFile, GivesItsRowsAndLogsWhatItLeavesOut) {
  const std::string path = write("# models\nModel A=1 raw used\nModel B\nModel C=2 raw used\n");
  EXPECT_EQ(readModelsFile(path).rows().size(), 2U);
  EXPECT_EQ(takeLog(), (Lines{"Error: ModelsFile - " + path +
                                  ":3: left out: no model and = before an attribute",
                              "Info: ModelsFile - 2 rows in " + path}));
}

TEST_F(ModelsFile, ThatIsMissingIsLogged) {
  EXPECT_TRUE(readModelsFile(path_).rows().empty());
  EXPECT_EQ(takeLog(), Lines{"Error: ModelsFile - Open " + path_ + " failed, 0x00000002"});
}

TEST_F(ModelsFile, ThatCannotBeOpenedIsLogged) {
  write("");
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{0, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  EXPECT_TRUE(readModelsFile(path_).rows().empty());
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(takeLog(), Lines{"Error: ModelsFile - Open " + path_ + " failed, 0x00000018"});
}

// Opening a pipe would wait for its writer.
TEST_F(ModelsFile, IsAFileOfBearableSize) {
  ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
  const Lines refused = {"Error: ModelsFile - " + path_ + " is not a file of at most 1 MiB"};
  EXPECT_TRUE(readModelsFile(path_).rows().empty());
  EXPECT_EQ(takeLog(), refused);
  std::filesystem::remove(path_);
  write("Model A=1 raw used\n");
  std::filesystem::resize_file(path_, 1024 * 1024 + 1);
  EXPECT_TRUE(readModelsFile(path_).rows().empty());
  EXPECT_EQ(takeLog(), refused);
}

TEST_F(ModelsFile, CountsWholeOrNotWhenMemoryRunsOut) {
  const std::string path = write("Model A*=1 raw used\nModel A of very long name=2 raw used\n");
  (void)readModelsFile(path);
  takeLog();
  const std::size_t before = allocations::count();
  (void)readModelsFile(path);
  const std::size_t needed = allocations::count() - before;
  takeLog();
  ASSERT_GT(needed, 0U);
  bool short_ = false;
  for (std::size_t skipped = 0; skipped < needed; ++skipped) {
    allocations::refuseAfter(skipped);
    const std::size_t rows = readModelsFile(path).rows().size();
    allocations::refuseNone();
    const Lines log = takeLog();
    const bool lost =
        std::find(log.begin(), log.end(),
                  "Error: ModelsFile - no memory for its rows: none of them counts") != log.end();
    EXPECT_EQ(rows, lost ? 0U : 2U);
    short_ = short_ || lost;
  }
  EXPECT_TRUE(short_);
}

// A drive

TEST_F(ListedModel, IsReadByItsRowInsteadOfTheDefault) {
  willEnableSmart("/dev/sda");
  willHaveNoStatistics();
  willReadAttributes("/dev/sda", {{9, 100, 8760}, {231, 98}});
  const Lines log = start(ataDrive("KINGSTON SA400S37240G"), kLife);
  EXPECT_EQ(log,
            (Lines{kByLine + "1 of the models file", kRead, readingLine(8760, 2)} + lastLines()));
  EXPECT_EQ(information().percentageUsed, 2);
  EXPECT_EQ(information().percentageUsedSource, 3);
}

TEST_F(ListedModel, ReportsItsFailure) {
  willEnableSmart("/dev/sda");
  willHaveNoStatistics();
  willReadAttributes("/dev/sda", {{231, 4}});
  start(ataDrive("KINGSTON SA400S37240G"), kLife);
  EXPECT_EQ(listener_.events, 1);
  EXPECT_TRUE(information().failureImminent);
}

TEST_F(ListedModel, IsReadByItsStatisticsIfItHasThem) {
  willEnableSmart("/dev/sda");
  willReadStatisticsPage("/dev/sda", 7);
  willReadStatistics("/dev/sda", 7, 8760);
  const Lines log = start(ataDrive("KINGSTON SA400S37240G"), kLife);
  EXPECT_EQ(log[0],
            "Debug: SsdDevice::initialise - line 1 of the models file isn't needed: /dev/sda has "
            "statistics");
  EXPECT_EQ(information().percentageUsed, 7);
  EXPECT_EQ(information().percentageUsedSource, 2);
}

TEST_F(ListedModel, IsReadByItsRowIfItsStatisticsAreNotValid) {
  willEnableSmart("/dev/sda");
  willReadStatisticsPage("/dev/sda", 7, 0x80);
  willReadAttributes("/dev/sda", {{231, 98}});
  start(ataDrive("KINGSTON SA400S37240G"), kLife);
  EXPECT_EQ(information().percentageUsed, 2);
  EXPECT_EQ(information().percentageUsedSource, 3);
}

TEST_F(ListedModel, IsNotAskedForStatisticsThatItsRowOverrides) {
  willEnableSmart("/dev/sda");
  willReadAttributes("/dev/sda", {{231, 98}});
  start(ataDrive("KINGSTON SA400S37240G"), "KINGSTON*=231 current left override\n");
  EXPECT_EQ(information().percentageUsed, 2);
}

TEST_F(ListedModel, IsToldByItsFirmware) {
  willEnableSmart("/dev/sda");
  willHaveNoStatistics();
  willReadAttributes("/dev/sda", {{231, 7, 93}});
  start(ataDrive("KINGSTON SA400S37240G"),
        kLife + "KINGSTON SA400*=231 current used agrees raw left firmware 10.52\n");
  EXPECT_EQ(information().percentageUsed, 7);
}

TEST_F(ListedModel, NeverBeatsACompiledRow) {
  willEnableSmart("/dev/sda");
  willReadP4("/dev/sda", 42);
  EXPECT_EQ(start(ataDrive(kP4), std::string(kP4) + "=230 current left override\n")[0],
            "Debug: SsdDevice::initialise - found supported model ");
  EXPECT_EQ(information().percentageUsed, 42);
}

TEST_F(ListedModel, IsNoNvmeDrive) {
  willReadHealth("/dev/sda", 3, 1);
  start(nvmeDrive("KINGSTON SA400S37240G"), kLife);
  EXPECT_EQ(information().percentageUsed, 3);
  EXPECT_EQ(information().percentageUsedSource, 2);
}

// All the way from the setting

TEST_F(ModelsFile, IsReadBeforeTheDrivesOfAManager) {
  write("KINGSTON SA400*=231 current left override\n");
  root().addFixedDisk("sda");
  willIdentifyAta("/dev/sda", {"KINGSTON SA400S37240G", "1", "SBFKB1D1"});
  willEnableSmart("/dev/sda");
  willReadAttributes("/dev/sda", {{231, 98}});
  SsdManager manager;
  manager.setModelsFile(path_);
  EXPECT_EQ(manager.initialise(), SSD_SUCCESS);
  SsdInformationList list;
  willReadAttributes("/dev/sda", {{231, 97}});
  EXPECT_EQ(manager.getSsdInformationList(list), SSD_SUCCESS);
  ASSERT_EQ(list.size(), 1U);
  EXPECT_EQ(list[0].percentageUsed, 3);
  const Lines log = takeLog();
  EXPECT_NE(std::find(log.begin(), log.end(), kByLine + "1 of the models file"), log.end());
}

TEST_F(ModelsFile, IsTheOneOfTheConfiguration) {
  root().write(kSsddrvIni, "ModelsFile=" + path_ + "\n");
  write("");
  EXPECT_EQ(SsdApi().initialiseSsdDriver(), SSD_SUCCESS);
  const Lines log = takeLog();
  EXPECT_EQ(std::count(log.begin(), log.end(), "Info: ModelsFile - 0 rows in " + path_), 1);
}
