// What every machine that is kept in simulator/machines/ shows to a client.

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "tests/system/TillRun.h"

namespace {

using nlohmann::json;

struct Shown {
  const char* physicalDrive;
  const char* serialNumber;
  std::uint64_t hours;
  int percentage;
  int source;
};

struct MachineCase {
  const char* machine;
  std::vector<Shown> drives;
};

std::vector<Shown> nvmes(int count) {
  static const char* const kNodes[] = {"nvme0", "nvme1", "nvme2", "nvme3", "nvme4",
                                       "nvme5", "nvme6", "nvme7", "nvme8", "nvme9"};
  static const char* const kSerials[] = {"50026B7686C1F0A0", "50026B7686C1F0A1", "50026B7686C1F0A2",
                                         "50026B7686C1F0A3", "50026B7686C1F0A4", "50026B7686C1F0A5",
                                         "50026B7686C1F0A6", "50026B7686C1F0A7", "50026B7686C1F0A8",
                                         "50026B7686C1F0A9"};
  std::vector<Shown> all;
  for (int i = 0; i < count; ++i) {
    all.push_back({kNodes[i], kSerials[i], 1000U + static_cast<unsigned>(i), 10 + i, 2});
  }
  return all;
}

const std::vector<MachineCase>& cases() {
  static const std::vector<MachineCase> all = {
      {"till", {{"sda", "E214870391", 18422, 33, 2}, {"nvme0", "50026B7686C1F0A2", 7310, 12, 2}}},
      {"till-wearing-out",
       {{"sda", "E214870391", 39811, 93, 2}, {"nvme0", "50026B7686C1F0A0", 7310, 12, 2}}},
      {"till-over-years",
       {{"sda", "E214870391", 18422, 3, 2}, {"nvme0", "50026B7686C1F0A2", 7310, 1, 2}}},
      {"ten-nvme", nvmes(10)},
      {"eleven-nvme", nvmes(10)},
      {"no-drives", {}},
      {"no-dmi", {}},
      {"no-sysfs", {}},
      {"unprivileged", {}},
      {"mixed-disks",
       {{"sdc", "E214870391", 18422, 33, 2},
        {"sdf", "S3YJNB0K512345X", 20331, 7, 2},
        {"nvme0", "50026B7686C1F0A0", 7310, 12, 2}}},
      {"bridge-without-scsi-road", {{"sda", "E214870391", 18422, 255, 2}}},
      // Read at its discovery, for the cache, and by the request.
      {"wear-in-attribute-230", {{"sda", "123456789012", 30211, 96, 3}}},
      {"sick-drives",
       {{"sda", "HEALTHY", 18422, 33, 2},
        {"sde", "NO-STATISTICS", 501, 255, 2},
        {"sdf", "SEVEN-PAGES", 502, 255, 2},
        {"sdg", "PAGE-SAYS-SIX", 503, 255, 2},
        {"sdh", "SMART-DATA-LOST", 504, 10, 2},
        {"sdi", "ABORTS-THE-LOG", 505, 255, 2},
        {"nvme0", "HEALTH-LOG-REJECTED", 0, 0, 2},
        {"nvme1", "ODD-RESULT", 0, 0, 2},
        {"nvme3", "WORN-FOR-AGES", 0, 203, 2}}},
      {"listed/kingston-sa400-sbfkb1", {{"sda", "LISTED01", 1791, 7, 2}}},
      {"listed/kingston-sa400-s3e", {{"sda", "LISTED02", 474, 0, 2}}},
      {"listed/kingston-sv300", {{"sda", "LISTED03", 20117, 5, 2}}},
      {"listed/micron-1100-sata", {{"sda", "LISTED04", 1352, 5, 2}}},
      {"listed/samsung-sm853t", {{"sda", "LISTED05", 19742, 255, 2}}},
      {"listed/samsung-sm863", {{"sda", "LISTED06", 52463, 255, 2}}},
      {"listed/samsung-860-pro", {{"sda", "LISTED07", 6750, 4, 2}}},
      {"listed/crucial-c300", {{"sda", "LISTED08", 4871, 0, 2}}},
      {"listed/crucial-mx100", {{"sda", "LISTED09", 18304, 5, 2}}},
      {"listed/crucial-m550", {{"sda", "LISTED10", 12801, 27, 2}}},
      {"listed/crucial-bx500", {{"sda", "LISTED11", 1640, 255, 2}}},
      {"listed/intel-x18-m", {{"sda", "LISTED12", 7614, 255, 2}}},
      {"listed/intel-320", {{"sda", "LISTED13", 2516, 2, 2}}},
      {"listed/intel-525", {{"sda", "LISTED14", 9998, 255, 2}}},
      {"listed/transcend-mts800", {{"sda", "LISTED15", 1009, 4, 2}}},
      {"listed/wd-green", {{"sda", "LISTED16", 1002, 1, 2}}},
      {"models/sandisk-ssd-p4-64gb", {{"sda", "ROW01", 12001, 61, 3}}},
      {"models/sandisk-ssd-u100-64gb", {{"sda", "ROW02", 12002, 32, 2}}},
      {"models/sandisk-ssd-u100-128gb", {{"sda", "ROW03", 12003, 33, 2}}},
      {"models/sandisk-sd6sa1m064g", {{"sda", "ROW04", 12004, 34, 2}}},
      {"models/sandisk-sd6sa1m128g", {{"sda", "ROW05", 12005, 35, 2}}},
      {"models/sandisk-sd6sn1m064g", {{"sda", "ROW06", 12006, 36, 2}}},
      {"models/sandisk-sd6sn1m128g", {{"sda", "ROW07", 12007, 37, 2}}},
      {"models/sandisk-sd6sa1m064g1011", {{"sda", "ROW08", 12008, 38, 2}}},
      {"models/sandisk-sd6sa1m128g1011", {{"sda", "ROW09", 12009, 39, 2}}},
      {"models/ts64ghsd630", {{"sda", "ROW10", 12010, 40, 2}}},
      {"models/def-ssdlog-algo", {{"sda", "ROW11", 12011, 41, 2}}},
      {"models/def-nvme-algo", {{"nvme0", "ROW12", 12012, 41, 2}}},
  };
  return all;
}

class Machines : public ::testing::TestWithParam<MachineCase> {};

TEST_P(Machines, ShowTheirDrivesWithHoursPercentageAndItsSource) {
  const MachineCase& expected = GetParam();
  TillRun till(expected.machine);
  till.setting("PollRate=1000000");
  till.run({"load", "instance-mi", "list", "leave-loaded"});
  const json instances = till.step("list").result.at("instances");
  ASSERT_EQ(instances.size(), expected.drives.size()) << instances.dump(1);
  for (std::size_t i = 0; i < expected.drives.size(); ++i) {
    const Shown& drive = expected.drives[i];
    SCOPED_TRACE(drive.physicalDrive);
    EXPECT_EQ(instances[i].at("PhysicalDrive"), drive.physicalDrive);
    EXPECT_EQ(instances[i].at("DriveSerialNumber"), drive.serialNumber);
    EXPECT_EQ(instances[i].at("PoweredOnHours"), drive.hours);
    EXPECT_EQ(instances[i].at("PercentageUsed"), drive.percentage);
    EXPECT_EQ(instances[i].at("PercentageUsedSource"), drive.source);
    EXPECT_EQ(instances[i].at("FailureImminent"), drive.percentage > 95 && drive.percentage != 255);
  }
}

template <typename Case>
std::string nameOf(const ::testing::TestParamInfo<Case>& info) {
  std::string name = info.param.machine;
  for (char& character : name) {
    if (std::isalnum(static_cast<unsigned char>(character)) == 0) {
      character = '_';
    }
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Kept, Machines, ::testing::ValuesIn(cases()), nameOf<MachineCase>);

TEST(MachinesFolder, HoldsNoMachineThatIsNotShownHere) {
  std::set<std::string> kept;
  const std::filesystem::path folder = VEKSSD_MACHINES;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (entry.path().extension() == ".json") {
      kept.insert(std::filesystem::relative(entry.path(), folder).replace_extension().string());
    }
  }
  std::set<std::string> shown = {"hundred-drives"};  // whose drives are counted elsewhere
  for (const MachineCase& one : cases()) {
    shown.insert(one.machine);
  }
  EXPECT_EQ(kept, shown);
}

struct Row {
  const char* machine;
  const char* model;
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.model; }

class ModelMachines : public ::testing::TestWithParam<Row> {};

TEST_P(ModelMachines, AreOfTheModelThatTheirRowIsFor) {
  TillRun till(std::string("models/") + GetParam().machine);
  till.setting("PollRate=1000000").logSetting("Level=3");
  till.run({"load", "instance-mi", "list", "leave-loaded"});
  EXPECT_EQ(till.step("list").result.at("instances")[0].at("DriveModel"), GetParam().model);
  EXPECT_EQ(countOf(till.logText(), "SsdDevice::initialise - found supported model "), 1U);
}

INSTANTIATE_TEST_SUITE_P(
    Kept, ModelMachines,
    ::testing::Values(Row{"sandisk-ssd-p4-64gb", "SanDisk SSD P4 64GB"},
                      Row{"sandisk-ssd-u100-64gb", "SanDisk SSD U100 64GB"},
                      Row{"sandisk-ssd-u100-128gb", "SanDisk SSD U100 128GB"},
                      Row{"sandisk-sd6sa1m064g", "SanDisk SD6SA1M064G"},
                      Row{"sandisk-sd6sa1m128g", "SanDisk SD6SA1M128G"},
                      Row{"sandisk-sd6sn1m064g", "SanDisk SD6SN1M064G"},
                      Row{"sandisk-sd6sn1m128g", "SanDisk SD6SN1M128G"},
                      Row{"sandisk-sd6sa1m064g1011", "SanDisk SD6SA1M064G1011"},
                      Row{"sandisk-sd6sa1m128g1011", "SanDisk SD6SA1M128G1011"},
                      Row{"ts64ghsd630", "TS64GHSD630"}, Row{"def-ssdlog-algo", "DEF_SSDLOG_ALGO"},
                      Row{"def-nvme-algo", "DEF_NVME_ALGO"}),
    nameOf<Row>);

/// The other road finds what a bridge doesn't pass on by the first one.
TEST(Machines, BehindABridgeShowTheirWearByTheDriveCommandRoad) {
  TillRun till("bridge-without-scsi-road");
  till.setting("PollRate=1000000").setting("SptLogAccess=0");
  till.run({"load", "instance-mi", "list", "leave-loaded"});
  EXPECT_EQ(till.step("list").result.at("instances")[0].at("PercentageUsed"), 33);
}

}  // namespace
