#include "ssdlife/history/StateFile.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <vector>

#include "ssdlife/Failure.h"
#include "ssdlife/alarms/Alarm.h"
#include "ssdlife/history/History.h"
#include "tests/service/TemporaryFolder.h"

namespace {

using namespace ssdlife;

constexpr Seconds kNow = 1800000000;

Drive driveAt(unsigned percentage) {
  Drive drive;
  drive.model = "TS64GHSD630";
  drive.serialNumber = "E2148";
  drive.physicalDrive = "sda";
  drive.percentageUsed = percentage;
  drive.poweredOnHours = 7;
  return drive;
}

class StateFileTest : public testing::Test {
 protected:
  StateFile open() {
    return {folder_.path(), [this](const std::string& line) { notices_.push_back(line); }};
  }

  static void takeDownAt(StateFile& state, unsigned percentage, Seconds when) {
    state.write([&](const Database& database) { takeDown(database, driveAt(percentage), when); });
  }

  static std::size_t samplesIn(const Database& database) {
    return samplesOf(database, 1, kNow + 3650 * kDay).size();
  }

  std::size_t samplesOnDisk() const { return samplesIn(*readState(folder_.path())); }

  TemporaryFolder folder_;
  std::vector<std::string> notices_;
};

TEST_F(StateFileTest, AHistoryHasASampleEachDayAndAtEachChange) {
  StateFile state = open();
  takeDownAt(state, 20, kNow);
  takeDownAt(state, 20, kNow + 60);
  EXPECT_EQ(samplesOnDisk(), 1U);
  takeDownAt(state, 21, kNow + 120);
  EXPECT_EQ(samplesOnDisk(), 2U);
  takeDownAt(state, 21, kNow + kDay);
  EXPECT_EQ(samplesOnDisk(), 3U);
}

TEST_F(StateFileTest, SamplesOfAClockThatWasAYearAheadDisturbNobody) {
  StateFile state = open();
  takeDownAt(state, 20, kNow);
  takeDownAt(state, 20, kNow + 365 * kDay);
  takeDownAt(state, 20, kNow + kDay);
  const auto samples = samplesOf(*readState(folder_.path()), 1, kNow + kDay);
  ASSERT_EQ(samples.size(), 2U);
  EXPECT_EQ(samples.back().time, kNow + kDay);
}

TEST_F(StateFileTest, ADamagedFileIsSetAsideAndANewOneBegins) {
  folder_.write("history.db", std::string(8192, 'x'));
  StateFile state = open();
  takeDownAt(state, 20, kNow);
  EXPECT_EQ(samplesOnDisk(), 1U);
  ASSERT_EQ(notices_.size(), 1U);
  EXPECT_NE(notices_[0].find("it is now " + (folder_ / "history.db.damaged-")), std::string::npos);
}

TEST_F(StateFileTest, AFileDamagedWhileItIsOpenIsSetAsideToo) {
  StateFile state = open();
  takeDownAt(state, 20, kNow);
  Database other(folder_ / "history.db", Database::Access::kWrite);
  other.run("PRAGMA wal_checkpoint(TRUNCATE)");
  {
    // All but the page with the schema.
    std::fstream file(folder_ / "history.db", std::ios::in | std::ios::out);
    file.seekp(4096);
    file << std::string(std::filesystem::file_size(folder_ / "history.db") - 4096, 'x');
  }
  other.run("PRAGMA user_version=2");  // what was read before is no longer trusted
  takeDownAt(state, 21, kNow + kDay);
  EXPECT_EQ(samplesOnDisk(), 1U);
  EXPECT_EQ(notices_.size(), 1U);
}

TEST_F(StateFileTest, AFileOfANewerVersionIsLeftAlone) {
  open();
  Database(folder_ / "history.db", Database::Access::kWrite).run("PRAGMA user_version=99");
  EXPECT_THROW(open(), Failure);
  EXPECT_THROW(readState(folder_.path()), Failure);
  Database kept(folder_ / "history.db", Database::Access::kRead);
  Statement version(kept, "PRAGMA user_version");
  ASSERT_TRUE(version.next());
  EXPECT_EQ(version.number(0), 99);
}

// The tables as they were before there were alarms.
TEST_F(StateFileTest, AnOlderFileKeepsItsSamples) {
  {
    Database old(folder_ / "history.db", Database::Access::kWrite);
    old.run(
        "CREATE TABLE drive(id INTEGER PRIMARY KEY, model TEXT NOT NULL, serial TEXT NOT NULL,"
        " firmware TEXT NOT NULL, node TEXT NOT NULL, first_seen INTEGER NOT NULL,"
        " present INTEGER NOT NULL, UNIQUE(model, serial));"
        "CREATE TABLE sample(drive INTEGER NOT NULL REFERENCES drive, time INTEGER NOT NULL,"
        " percentage INTEGER, hours INTEGER, PRIMARY KEY(drive, time)) WITHOUT ROWID;"
        "INSERT INTO drive VALUES(1, 'TS64GHSD630', 'E2148', '', 'sda', 1, 1);"
        "INSERT INTO sample VALUES(1, 1000, 12, 7);"
        "PRAGMA user_version=1");
  }
  EXPECT_THROW(readState(folder_.path()), Failure);
  StateFile state = open();
  EXPECT_EQ(samplesOnDisk(), 1U);
  EXPECT_TRUE(alarmsOf(*readState(folder_.path()), std::nullopt).empty());
}

TEST_F(StateFileTest, WithoutAnyDiskEverythingGoesOnInMemory) {
  folder_.write("file", "");
  StateFile state(folder_ / "file/below",
                  [this](const std::string& line) { notices_.push_back(line); });
  EXPECT_TRUE(state.inMemory());
  EXPECT_EQ(notices_.size(), 1U);
  takeDownAt(state, 20, kNow);
  state.write([](const Database& database) { EXPECT_EQ(samplesIn(database), 1U); });
}

// A file that can't grow is what a full disk looks like to SQLite.
class FullDisk {
 public:
  FullDisk() {
    std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit none = {0, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &none);
  }
  ~FullDisk() { setrlimit(RLIMIT_FSIZE, &before_); }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  rlimit before_{};
};

TEST_F(StateFileTest, WhatAFullDiskDoesNotTakeIsWrittenWhenThereIsRoom) {
  StateFile state = open();
  takeDownAt(state, 20, kNow);
  {
    const FullDisk full;
    takeDownAt(state, 21, kNow + kDay);
    EXPECT_TRUE(state.inMemory());
    state.goBackToDisk();
    EXPECT_TRUE(state.inMemory());
    takeDownAt(state, 22, kNow + 2 * kDay);
  }
  EXPECT_EQ(samplesOnDisk(), 1U);
  state.goBackToDisk();
  EXPECT_FALSE(state.inMemory());
  EXPECT_EQ(samplesOnDisk(), 3U);
  EXPECT_EQ(notices_.size(), 2U);
}

}  // namespace
