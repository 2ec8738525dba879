#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/ssdlife/CommandRun.h"

// ssdlife models, with the provider and drives of simulated machines.
namespace {

using nlohmann::json;

class Models : public testing::Test {
 protected:
  Models() { EXPECT_NE(mkdtemp(folder_.data()), nullptr); }
  ~Models() override { std::filesystem::remove_all(folder_); }

  std::string write(const std::string& name, const std::string& text) {
    std::ofstream(folder_ + '/' + name) << text;
    return folder_ + '/' + name;
  }

  // Runs a command on the machine whose ssddrv.ini is `settings`.
  std::string run(std::vector<std::string> arguments, const std::string& machine,
                  const std::string& settings, int exitStatus = 0) {
    write("ssddrv.ini", settings);
    arguments.insert(arguments.end(),
                     {"--machine", MACHINES "/" + machine + ".json", "--library", LIBRARY});
    CommandRun command(arguments);
    command.with("VEKSSD_ETC", folder_);
    EXPECT_EQ(command.start().exitStatus(), exitStatus) << command.error();
    error_ = command.error();
    return command.output();
  }

  json models(const std::string& machine, const std::string& settings) {
    return json::parse(run({"models", "--format", "json"}, machine, settings));
  }

  std::string folder_ = testing::TempDir() + "models-XXXXXX";
  std::string error_;
};

std::string readBy(const json& report, const std::string& drive) {
  for (const json& shown : report.at("drives")) {
    if (shown.at("physicalDrive") == drive) {
      return shown.at("readBy");
    }
  }
  return "no such drive";
}

TEST_F(Models, WithoutAFileAreThoseOfTheLibrary) {
  const json report = models("mixed-disks", "");
  EXPECT_TRUE(report.at("file").is_null());
  EXPECT_TRUE(report.at("rows").empty());
  EXPECT_EQ(report.at("library").size(), 12U);
  EXPECT_EQ(readBy(report, "sdc"), "the library's own row for this model");
  EXPECT_EQ(readBy(report, "sdf"), "the device statistics: no row fits");
  EXPECT_EQ(readBy(report, "nvme0"), "the NVMe health log");
}

TEST_F(Models, OfTheFileInForceAreListedWithTheDrivesThatTheyFit) {
  const std::string file = write("models.conf", "# comment\nSamsung SSD*=177 current left\nbad\n");
  const json report = models("mixed-disks", "ModelsFile=/etc/ssddrv/models.conf\n");
  EXPECT_EQ(report.at("file"), "/etc/ssddrv/models.conf");
  EXPECT_EQ(report.at("rows"),
            json::parse(R"([{"line": 2, "row": "Samsung SSD*=177 current left"}])"));
  EXPECT_EQ(
      report.at("problems"),
      json::parse(R"([{"line": 3, "problem": "left out: no model and = before an attribute"}])"));
  EXPECT_EQ(
      readBy(report, "sdf"),
      "the device statistics, which are valid; otherwise line 2, Samsung SSD*=177 current left");
}

TEST_F(Models, AreShownAsLinesOfTheirFile) {
  write("models.conf",
        "Samsung SSD*=177 raw2-3 used /10 agrees current left override firmware RVT\n");
  const std::string shown = run({"models"}, "till", "ModelsFile=/etc/ssddrv/models.conf\n");
  EXPECT_EQ(shown.find("/etc/ssddrv/models.conf:1: Samsung SSD*=177 raw2-3 used /10 agrees current "
                       "left override firmware RVT\nlibrary: SanDisk SSD P4 64GB\n"),
            0U)
      << shown;
  EXPECT_NE(shown.find("\nsda: TS64GHSD630, firmware 20180526: 33 %, read by the library's own row "
                       "for this model\n"),
            std::string::npos)
      << shown;
}

TEST_F(Models, OfAFileThatIsMissingAreAFailure) {
  run({"models"}, "till", "ModelsFile=/nowhere/models.conf\n", 1);
  EXPECT_EQ(error_,
            "ssdlife: models file /nowhere/models.conf can't be read: No such file or directory\n");
}

TEST_F(Models, OfAMachineWithoutDrivesAreListedAllTheSame) {
  EXPECT_EQ(run({"models"}, "no-drives", "").find("library: SanDisk"), 0U);
}

TEST_F(Models, AreTestedWithoutPrivilegeAndDrives) {
  const std::string file = write(
      "some.conf", "Model A=1 raw used\nModel A=raw\nModel A=2 raw used\nModel A*=2 raw used\n");
  CommandRun bad({"models", "--test", file, "--library", LIBRARY});
  EXPECT_EQ(bad.start().exitStatus(), 1);
  EXPECT_EQ(bad.output(), file + ":1: never counts, because of line 3\n" + file +
                              ":2: left out: \"raw\" is not an attribute number from 1 to 255\n" +
                              file + ": 3 rows, 2 lines to mend\n");
  CommandRun missing({"models", "--test", "/nowhere", "--library", LIBRARY});
  EXPECT_EQ(missing.start().exitStatus(), 1);
  EXPECT_EQ(missing.error(),
            "ssdlife: models file /nowhere can't be read: No such file or directory\n");
}

TEST_F(Models, ThatComeWithThePackagesAreWithoutFault) {
  CommandRun run({"models", "--test", SHIPPED_MODELS, "--library", LIBRARY});
  EXPECT_EQ(run.start().exitStatus(), 0) << run.output();
}

// Drives as their owners have published them, each by the table that comes with the packages.

struct Listed {
  const char* machine;
  int percentage;  // what the provider shows
  int source;      // 2: the drive's own statistic was preferred
  int byRow;       // what the row alone gives
};

constexpr Listed kListed[] = {
    {"kingston-sa400-sbfkb1", 7, 2, 8},
    {"kingston-sa400-s3e", 0, 2, 0},
    {"kingston-sv300", 5, 2, 4},
    {"micron-1100-sata", 5, 2, 5},
    {"samsung-sm853t", 3, 3, 3},
    {"samsung-sm863", 2, 3, 2},
    {"samsung-860-pro", 4, 2, 4},
    {"crucial-c300", 10, 3, 10},
    {"crucial-mx100", 40, 3, 40},
    {"crucial-m550", 27, 2, 31},
    {"crucial-bx500", 19, 3, 19},
    {"intel-x18-m", 2, 3, 2},
    {"intel-320", 2, 2, 2},
    {"intel-525", 0, 3, 0},
    {"transcend-mts800", 4, 2, 4},
    {"wd-green", 1, 2, 0},
};

std::string shippedTable(bool overriding) {
  std::ifstream file(SHIPPED_MODELS);
  std::string text;
  for (std::string line; std::getline(file, line);) {
    const bool isRow = !line.empty() && line[0] != '#';
    if (overriding && isRow && line.find(" override") == std::string::npos) {
      line.insert(std::min(line.find(" firmware"), line.size()), " override");
    }
    text += line + '\n';
  }
  return text;
}

TEST_F(Models, OfPublishedDrivesGiveThePercentagesThatAreExpected) {
  for (const bool overriding : {false, true}) {
    write("models.conf", shippedTable(overriding));
    for (const Listed& listed : kListed) {
      SCOPED_TRACE(listed.machine);
      const json drive =
          json::parse(run({"list", "--format", "json"}, std::string("listed/") + listed.machine,
                          "ModelsFile=/etc/ssddrv/models.conf\n"))
              .at("drives")
              .at(0);
      EXPECT_EQ(drive.at("percentageUsed"), overriding ? listed.byRow : listed.percentage);
      EXPECT_EQ(drive.at("percentageUsedSource"), overriding ? 3 : listed.source);
    }
  }
}

TEST_F(Models, ArePublishedDrivesAllOfThem) {
  const auto files = std::filesystem::directory_iterator(MACHINES "/listed");
  EXPECT_EQ(static_cast<std::size_t>(std::distance(begin(files), end(files))), std::size(kListed));
}

// The row of the other firmware would show a dying drive.
TEST_F(Models, OfAnotherFirmwareLeaveThePercentageUnknown) {
  write("models.conf", "KINGSTON SA400S3*=231 current left agrees raw left override\n");
  const json drive = json::parse(run({"list", "--format", "json"}, "listed/kingston-sa400-sbfkb1",
                                     "ModelsFile=/etc/ssddrv/models.conf\n"))
                         .at("drives")
                         .at(0);
  EXPECT_TRUE(drive.at("percentageUsed").is_null());
}

// The roads to a drive that hides its wear.

TEST_F(Models, AreProposedForADriveThatHidesItsWear) {
  const std::vector<std::string> ask = {"roads", "sda"};
  const std::string shown = run(ask, "listed/crucial-bx500", "");
  const std::string proposal =
      "Neither road gives the statistics; SptLogAccess makes no difference.\n"
      "Its wear could stand in one of these attributes:\n"
      "  173, erase count: normalised 81, raw 194\n"
      "  202, lifetime used or remaining: normalised 81, raw 19\n"
      "  248, lifetime remaining: normalised 100, raw 8642315648\n";
  EXPECT_NE(shown.find(proposal), std::string::npos) << shown;
  EXPECT_NE(shown.find("  CT1000BX500SSD1"), std::string::npos) << shown;
  const json report =
      json::parse(run({"roads", "sda", "--format", "json"}, "listed/crucial-bx500", ""));
  EXPECT_EQ(report.at("wear").at(1),
            json::parse(R"({"attribute": 202, "meaning": "lifetime used or remaining",
                            "normalised": 81, "raw": 19,
                            "row": "CT1000BX500SSD1=202 current left agrees raw used"})"));
}

TEST_F(Models, AreNotProposedForADriveThatTellsItsWear) {
  EXPECT_FALSE(json::parse(run({"roads", "sda", "--format", "json"}, "till", "")).contains("wear"));
  EXPECT_FALSE(json::parse(run({"roads", "sda", "--format", "json"}, "wear-in-attribute-230", ""))
                   .contains("wear"));
}

}  // namespace
