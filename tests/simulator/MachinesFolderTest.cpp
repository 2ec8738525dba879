#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "simulator/MachineFile.h"

// Every file in simulator/machines/.
namespace simulator {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> machineFiles() {
  std::vector<std::string> files;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(VEKSSD_MACHINES)) {
    if (entry.path().extension() == ".json") {
      files.push_back(entry.path().string());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::string testName(const testing::TestParamInfo<std::string>& info) {
  std::string name = fs::path(info.param).stem().string();
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
  return name;
}

class MachinesFolder : public testing::TestWithParam<std::string> {};

TEST_P(MachinesFolder, FileLoadsAndBearsItsName) {
  const MachineDescription description = loadMachine(GetParam());
  EXPECT_EQ(description.name, fs::path(GetParam()).stem().string());
  Machine machine(description);
  for (const DriveDescription& drive : description.drives) {
    EXPECT_NE(machine.drive(nodeOf(drive.drive)), nullptr);
  }
}

INSTANTIATE_TEST_SUITE_P(Each, MachinesFolder, testing::ValuesIn(machineFiles()), testName);

TEST(Machines, HasAMachineForEachOfTheTwelveModels) {
  EXPECT_EQ(std::distance(fs::directory_iterator(std::string(VEKSSD_MACHINES) + "/models"),
                          fs::directory_iterator()),
            12);
}

TEST(Machines, TheTillThatWearsOutCrossesTheDefaultThreshold) {
  const MachineDescription description =
      loadMachine(std::string(VEKSSD_MACHINES) + "/till-wearing-out.json");
  const Wear& wear = std::get<AtaDescription>(description.drives.at(0).drive).wear;
  EXPECT_LE(wear.at(0, 60), 95);
  EXPECT_GT(wear.at(0, 100), 95);
  EXPECT_LE(100 / description.timeScale, 5.0);
}

}  // namespace
}  // namespace simulator
