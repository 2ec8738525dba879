#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "tests/ssdlife/CommandRun.h"

// ssdlife roads, with the provider and drives of simulated machines.
namespace {

using nlohmann::json;

std::vector<std::string> roadsOn(const std::string& machine, const std::string& drive) {
  return {"roads",     drive,   "--machine", MACHINES "/" + machine + ".json",
          "--library", LIBRARY, "--format",  "json"};
}

json roads(const std::string& machine, const std::string& drive) {
  CommandRun run(roadsOn(machine, drive));
  EXPECT_EQ(run.start().exitStatus(), 0) << run.error();
  return json::parse(run.output());
}

// A digit for each road, 1 if it is usable.
std::string usable(const json& report) {
  std::string marks;
  for (const json& road : report.at("roads")) {
    marks += road.at("usable").get<bool>() ? '1' : '0';
  }
  return marks;
}

std::string says(const json& report, const std::string& name) {
  for (const json& road : report.at("roads")) {
    if (road.at("road") == name) {
      return road.at("says");
    }
  }
  return "no road of this name";
}

// What a run of the command on the till sent to its drives: request and bytes.
std::set<std::string> sent(std::vector<std::string> arguments, const std::string& settings = "") {
  std::string folder = testing::TempDir() + "roads-XXXXXX";
  EXPECT_NE(mkdtemp(folder.data()), nullptr);
  std::ofstream(folder + "/ssddrv.ini") << settings;
  arguments.insert(arguments.end(), {"--machine", MACHINES "/till.json", "--library", LIBRARY});
  CommandRun run(arguments);
  run.with("VEKSSD_JOURNAL", folder + "/journal").with("VEKSSD_ETC", folder);
  EXPECT_EQ(run.start().exitStatus(), 0) << run.error();
  std::set<std::string> requests;
  std::ifstream journal(folder + "/journal");
  for (std::string line; std::getline(journal, line);) {
    const json entry = json::parse(line);
    if (entry.at("call") == "ioctl") {
      requests.insert(entry.at("request").get<std::string>() + ' ' + entry.value("sent", ""));
    }
  }
  std::filesystem::remove_all(folder);
  return requests;
}

TEST(Roads, AreAskedWithTheBytesThatTheProviderSends) {
  std::set<std::string> provider = sent({"list"});
  provider.merge(sent({"list"}, "SptLogAccess=0\n"));
  std::set<std::string> asked = sent({"roads", "sda"});
  EXPECT_EQ(asked.size(), 7U);
  asked.merge(sent({"roads", "nvme0"}));
  EXPECT_EQ(asked.size(), 9U);
  for (const std::string& request : asked) {
    EXPECT_EQ(provider.count(request), 1U) << request;
  }
}

TEST(Roads, OfASataDriveAreShownInWordsWithTheRegistersOfTheScsiRoad) {
  CommandRun run({"roads", "sda", "--machine", MACHINES "/bridge-without-scsi-road.json",
                  "--library", LIBRARY});
  EXPECT_EQ(run.start().exitStatus(), 0);
  EXPECT_EQ(run.output(),
            "Roads to sda:\n"
            "  identify                        usable    TS64GHSD630, serial number E214870391, "
            "firmware 20180526, solid state\n"
            "  SMART enable                    usable    done\n"
            "  SMART data                      usable    1 attribute, 18422 hours powered on\n"
            "  log directory by drive command  usable    8 pages of device statistics\n"
            "  statistics by drive command     usable    33 % used, flags: supported valid "
            "normalized\n"
            "  log directory through SCSI      unusable  sense data without registers (SCSI status "
            "0x02, sense 0x70, key 0x0b)\n"
            "  statistics through SCSI         unusable  sense data without registers (SCSI status "
            "0x02, sense 0x70, key 0x0b)\n"
            "Set SptLogAccess=0 in /etc/ssddrv/ssddrv.ini: the statistics come by drive command "
            "only.\n");
  EXPECT_EQ(run.error(), "");
}

TEST(Roads, OfADriveThatAnswersEverythingNeedNoAdvice) {
  const json report = roads("till", "sda");
  EXPECT_EQ(report.at("drive"), "sda");
  EXPECT_EQ(usable(report), "1111111");
  EXPECT_EQ(says(report, "statistics through SCSI"),
            "33 % used, flags: supported valid normalized; registers: error 0x00, status 0x50");
  EXPECT_EQ(report.at("advice"),
            "Both roads to the statistics can be used; SptLogAccess may stay as it is.");
}

TEST(Roads, OfAnNvmeDriveAreIdentifyAndHealthLog) {
  const json report = roads("till", "nvme0");
  EXPECT_EQ(usable(report), "11");
  EXPECT_EQ(says(report, "identify"),
            "KINGSTON SNV2S250G, serial number 50026B7686C1F0A2, firmware SBM02103");
  EXPECT_EQ(says(report, "health log"), "12 % used, 7310 hours powered on");
}

TEST(Roads, AreFoundByNodePathOrBeginningOfADeviceId) {
  EXPECT_EQ(roads("till", "/dev/nvme0").at("drive"), "nvme0");
  EXPECT_EQ(roads("till", "TS64").at("drive"), "sda");
  CommandRun unknown(roadsOn("till", "sdz"));
  EXPECT_EQ(unknown.start().exitStatus(), 1);
  EXPECT_EQ(unknown.error(),
            "ssdlife: no SSD whose DeviceID begins with \"sdz\", or none that could be read\n");
}

TEST(Roads, OfADriveThatCannotBeOpenedAreAFailure) {
  CommandRun run(roadsOn("sick-drives", "sdb"));
  EXPECT_EQ(run.start().exitStatus(), 1);
  EXPECT_EQ(run.error(), "ssdlife: /dev/sdb can't be opened: No such device or address\n");
}

TEST(Roads, ThatFailAreAdvisedUponInTheOrderInWhichTheProviderMeetsThem) {
  struct Sick {
    const char* drive;
    const char* usable;
    const char* advice;  // its beginning
  };
  for (const Sick& sick : {
           Sick{"sdc", "0111111", "The provider leaves this drive out: it does not say"},
           Sick{"sdd", "1000011", "The provider leaves this drive out: its SMART"},
           Sick{"sde", "1110000", "Neither road"},
           Sick{"sdg", "1111010", "Neither road"},
           Sick{"sdi", "1111110", "Set SptLogAccess=0"},
           Sick{"nvme0", "10", "The provider shows 0 % and 0 hours"},
           Sick{"nvme1", "10", "The provider shows 0 % and 0 hours"},
           Sick{"nvme2", "01", "The provider leaves this drive out: it does not identify"},
       }) {
    const json report = roads("sick-drives", sick.drive);
    EXPECT_EQ(usable(report), sick.usable) << sick.drive;
    EXPECT_EQ(report.at("advice").get<std::string>().find(sick.advice), 0U) << sick.drive;
  }
}

TEST(Roads, ThatFailSayHow) {
  EXPECT_EQ(says(roads("sick-drives", "sdc"), "identify"), "Input/output error");
  EXPECT_EQ(says(roads("sick-drives", "sdf"), "log directory by drive command"),
            "7 pages of device statistics, 8 needed");
  EXPECT_EQ(says(roads("sick-drives", "sdg"), "statistics by drive command"),
            "page 7 calls itself page 6");
  EXPECT_EQ(says(roads("sick-drives", "nvme0"), "health log"), "NVMe status 0x4002");
  EXPECT_EQ(says(roads("sick-drives", "nvme1"), "health log"), "completion result 0x1234");
  EXPECT_EQ(says(roads("mixed-disks", "sdd"), "identify"), "Invalid argument");
}

}  // namespace
