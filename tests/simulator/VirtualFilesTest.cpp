#include "simulator/VirtualFiles.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "simulator/Machine.h"
#include "tests/simulator/Requests.h"

namespace simulator {
namespace {

using Kind = VirtualFile::Kind;

TEST(VirtualFiles, PathsAreTidiedOfDoubleAndFinalSlashes) {
  EXPECT_EQ(tidyPath("/sys//block/"), "/sys/block");
  EXPECT_EQ(tidyPath("/"), "/");
  EXPECT_EQ(tidyPath("///"), "/");
  EXPECT_EQ(tidyPath(""), "");
}

TEST(VirtualFiles, WhatTheMachineHasNoSayInIsNotFound) {
  VirtualFiles files({});
  EXPECT_EQ(files.find("/etc/passwd"), nullptr);
  EXPECT_EQ(files.find("/sys/blockade"), nullptr);
  EXPECT_EQ(files.find("/dev/null"), nullptr);
  EXPECT_EQ(files.find("sys/block"), nullptr);
  EXPECT_EQ(files.find(""), nullptr);
}

TEST(VirtualFiles, WhatBelongsToTheMachineAndWasNotAddedIsMissing) {
  VirtualFiles files({});
  for (const char* path :
       {"/sys/block", "/sys/block/sda/size", "/dev/sdq", "/dev/nvme7", "/etc/ssddrv/ssddrv.ini",
        "/var/log/ssddrv/ssddrv.log", "/sys/devices/virtual/dmi/id/bios_version"}) {
    const VirtualFile* file = files.find(path);
    ASSERT_NE(file, nullptr) << path;
    EXPECT_EQ(file->kind, Kind::missing) << path;
    EXPECT_EQ(file->error, ENOENT) << path;
  }
}

TEST(VirtualFiles, RealDirectoriesStandInForConfigurationAndLog) {
  VirtualFiles files({"/tmp/etc", "/tmp/log"});
  files.addText("/etc/ssddrv/ssddrv.ini", "PollRate=1\n");
  const VirtualFile* config = files.find("/etc/ssddrv/ssddrv.ini");
  EXPECT_EQ(config->kind, Kind::elsewhere);
  EXPECT_EQ(config->realPath, "/tmp/etc/ssddrv.ini");
  const VirtualFile* log = files.find("/var/log/ssddrv//ssddrv.log");
  EXPECT_EQ(log->realPath, "/tmp/log/ssddrv.log");
  EXPECT_EQ(files.find("/var/log/ssddrv/ssddrv.log"), log);
}

TEST(VirtualFiles, WatchedPathsStayWhatTheyAre) {
  VirtualFiles files({});
  files.addWatched("/tmp/x.log");
  files.addWatched("/dev/sdq");
  EXPECT_EQ(files.find("/tmp/x.log")->realPath, "/tmp/x.log");
  EXPECT_EQ(files.find("/dev/sdq")->kind, Kind::missing);
}

std::vector<std::string> blockNames(const std::string& rest) {
  Machine machine(test::machineOf(R"({"name": "m", )" + rest + "}"));
  return machine.files().find("/sys/block")->names;
}

constexpr const char* kDrives = R"("drives": [{"kind": "sata", "node": "sdb"},
    {"kind": "nvme", "node": "nvme1", "namespaces": 3, "activeNamespaces": [1, 3]},
    {"kind": "scsi", "node": "sda"}])";

TEST(MachineFiles, BlockDirectoryListsDisksAndNamespacesAsTheyStand) {
  EXPECT_EQ(blockNames(kDrives), (std::vector<std::string>{"sdb", "nvme1n1", "nvme1n3", "sda"}));
}

TEST(MachineFiles, BlockDirectoryHasTheOrderThatTheMachineStates) {
  EXPECT_EQ(blockNames(std::string(kDrives) + R"(, "block": ["loop0", "sda", "sdb"])"),
            (std::vector<std::string>{"loop0", "sda", "sdb"}));
}

TEST(MachineFiles, NodesLeadToTheirDrives) {
  Machine machine(test::machineOf(R"({"name": "m", )" + std::string(kDrives) + "}"));
  for (const char* node : {"sda", "sdb", "nvme1", "nvme1n1", "nvme1n3"}) {
    const VirtualFile* file = machine.files().find(std::string("/dev/") + node);
    ASSERT_EQ(file->kind, Kind::device) << node;
    EXPECT_EQ(file->drive->node(), node);
    EXPECT_EQ(file->drive, machine.drive(node));
  }
  EXPECT_EQ(machine.files().find("/dev/nvme1n2")->kind, Kind::missing);
}

TEST(MachineFiles, NamesBelowADirectoryComeInTheirOrder) {
  Machine machine(test::machineOf(R"({"name": "m", )" + std::string(kDrives) + "}"));
  EXPECT_EQ(machine.files().namesBelow("/dev"),
            (std::vector<std::string>{"sdb", "nvme1", "nvme1n1", "nvme1n3", "sda"}));
}

}  // namespace
}  // namespace simulator
