#include "ssdlife/DriveTable.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <sstream>

#include "tests/ssdlife/CommandRun.h"

using ssdlife::Drive;
using ssdlife::driveTable;

namespace {

Drive drive(const std::string& node, const std::string& model, unsigned used) {
  Drive made;
  made.physicalDrive = node;
  made.model = model;
  made.serialNumber = "E 21";
  made.firmware = "2018";
  made.percentageUsed = used;
  made.percentageUsedSource = 2;
  made.poweredOnHours = used * 100;
  return made;
}

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> all;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    all.push_back(line);
  }
  return all;
}

const std::vector<Drive> kTwo = {drive("sda", "Some 64 GB", 7), drive("nvme10", "X", 101)};

TEST(DriveTable, AlignsNumbersRightAndHasBlanksInTheLastColumnOnly) {
  EXPECT_EQ(driveTable(kTwo, {}),
            "DRIVE  USED LIFE                   HOURS STATE SOURCE   FIRMWARE SERIAL MODEL\n"
            "sda      7% [#...................]   700 ok    standard 2018     E_21   Some 64 GB\n"
            "nvme10 101% [####################] 10100 ok    standard 2018     E_21   X\n");
  EXPECT_EQ(driveTable(kTwo, {{"MODEL", "SERIAL"}}),
            "MODEL      SERIAL\nSome_64_GB E 21\nX          E 21\n");
}

TEST(DriveTable, HasTheColumnsAndHeadingsThatAreAskedFor) {
  EXPECT_EQ(driveTable(kTwo, {{"USED", "DRIVE"}, false}), "  7% sda\n101% nvme10\n");
}

TEST(DriveTable, MarksADriveThatCouldNotBeRead) {
  Drive unread = drive("nvme0", "X", 0);
  unread.readError = "Input/output error";
  EXPECT_EQ(driveTable({unread}, {{"USED", "STATE"}, false}), "  0% unread\n");
}

TEST(DriveTable, IsNotWiderThanTheTerminal) {
  const auto headings = [](std::size_t width) {
    ssdlife::TableStyle style;
    style.width = width;
    const std::vector<std::string> all = lines(driveTable(kTwo, style));
    for (const std::string& line : all) {
      EXPECT_LE(line.size(), width) << line;
    }
    return all.front();
  };
  EXPECT_EQ(headings(82),
            "DRIVE  USED LIFE                   HOURS STATE SOURCE   FIRMWARE SERIAL MODEL");
  EXPECT_EQ(headings(81), "DRIVE  USED HOURS STATE SOURCE   FIRMWARE SERIAL MODEL");
  EXPECT_EQ(headings(57), "DRIVE  USED HOURS STATE SOURCE   SERIAL MODEL");
  EXPECT_EQ(headings(45), "DRIVE  USED HOURS STATE SERIAL MODEL");
  EXPECT_EQ(headings(40), "DRIVE  USED HOURS STATE MODEL");
  EXPECT_EQ(headings(30), "DRIVE  USED HOURS STATE MODEL");  // texts are cut
}

TEST(DriveTable, ColumnsAreAsWideAsTheyLook) {
  const std::vector<Drive> accented = {drive("sda", "S\xc3\xa9rie", 1), drive("sdb", "Serie", 1)};
  EXPECT_EQ(driveTable(accented, {{"MODEL", "DRIVE"}, false}), "S\xc3\xa9rie sda\nSerie sdb\n");
}

// ---- The command on a terminal ----------------------------------------------------------------

// The other side of a terminal of so many columns.
class Terminal {
 public:
  explicit Terminal(unsigned short columns) : master_(posix_openpt(O_RDWR | O_NOCTTY)) {
    EXPECT_EQ(grantpt(master_), 0);
    EXPECT_EQ(unlockpt(master_), 0);
    // Held open, for what was written is lost with the last user.
    user_ = open(ptsname(master_), O_RDWR | O_NOCTTY);
    const winsize size{24, columns, 0, 0};
    EXPECT_EQ(ioctl(user_, TIOCSWINSZ, &size), 0);
  }
  ~Terminal() {
    close(user_);
    close(master_);
  }

  std::string shownBy(const std::string& colourless) {
    CommandRun run({"list", "--library", FAKE_LIBRARY});
    run.with("TERM", "xterm").with("NO_COLOR", colourless).outputTo(ptsname(master_));
    EXPECT_EQ(run.start().exitStatus(), 0) << run.error();
    std::array<char, 4096> text{};
    const ssize_t length = read(master_, text.data(), text.size());
    return length > 0 ? std::string(text.data(), static_cast<std::size_t>(length)) : "";
  }

 private:
  int master_;
  int user_;
};

TEST(ATerminal, GetsATableOfItsWidthAndColoursUnlessTheyAreUnwanted) {
  Terminal narrow(60);
  const std::string coloured = narrow.shownBy("");
  EXPECT_EQ(coloured.find("LIFE"), std::string::npos);
  EXPECT_NE(coloured.find("\x1b[31mFAILING"), std::string::npos) << coloured;
  EXPECT_EQ(narrow.shownBy("1").find('\x1b'), std::string::npos);
}

}  // namespace
