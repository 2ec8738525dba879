#include "core/SsdManager.h"

#include <algorithm>
#include <atomic>
#include <clocale>
#include <functional>
#include <future>
#include <thread>
#include <utility>

#include "log/Log.h"
#include "tests/core/SsdManagerTest.h"

using namespace testkit;

namespace {

/// Notes every event in the log, so that its place among the other lines can be seen.
class NotingListener : public ISsdListener {
 public:
  explicit NotingListener(std::string name = "listener") : name_(std::move(name)) {}

  void SsdFailureImminent(std::string model, std::string serialNumber, std::string physicalDrive,
                          std::uint8_t percentageUsed) override {
    Log(LOG_LEVEL_INFO, "%s: %s, %s, %s, %d", name_.c_str(), model.c_str(), serialNumber.c_str(),
        physicalDrive.c_str(), percentageUsed);
    if (then) {
      then();
    }
  }

  std::function<void()> then;

 private:
  std::string name_;
};

const std::string kEventLine = "Debug: SsdManager::SsdDeviceFailureImminent: Model=";
const std::string kNobodyListens =
    "Debug: SsdManager::SsdDeviceFailureImminent - No registered ISsdListener - exiting";
const std::string kTold96 = "Info: listener: SanDisk SSD P4 64GB, 123456789012, sda, 96";

}  // namespace

// Life

TEST_F(CoreTest, AManagerLogsItsComingAndGoing) {
  { const SsdManager manager; }
  EXPECT_EQ(takeLog(), (Lines{"Debug: SsdDeviceList constructed", "Debug: SsdManager Constructed",
                              "Debug: SsdManager Destroyed", "Debug: SsdDeviceList destroyed"}));
}

TEST_F(Manager, StopsEveryThreadWhenItGoes) {
  willFindP4("sda", 1);
  willFindP4("sdb", 2);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  manager_.reset();
  const Lines gone = {"Debug: SsdDevice destroyed", "Debug: PollingThread Destroyed"};
  EXPECT_EQ(takeLog(), (Lines{"Debug: SsdManager Destroyed"} + stopLines(0) + gone + stopLines(1) +
                        gone + Lines{"Debug: SsdDeviceList destroyed"}));
  EXPECT_EQ(threads().alive(), 0U);
}

// The list

TEST_F(Manager, HasNoListBeforeItIsInitialised) {
  SsdInformationList list(1);
  EXPECT_EQ(manager_->getSsdInformationList(list), SSD_NOT_INITIALISED);
  EXPECT_EQ(SSD_NOT_INITIALISED, 1U);
  EXPECT_EQ(list.size(), 1U);
  EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(Manager, ReadsEveryDriveForEveryListAndAppendsToIt) {
  willFindP4("sda", 1);
  willFindP4("sdb", 2);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  SsdInformationList list;
  for (std::uint8_t round = 0; round < 2; ++round) {
    willReadP4("/dev/sda", static_cast<std::uint8_t>(10 + round));
    willReadP4("/dev/sdb", static_cast<std::uint8_t>(20 + round));
    EXPECT_EQ(manager_->getSsdInformationList(list), SSD_SUCCESS);
    EXPECT_EQ(takeLog(), (Lines{"Debug: SsdManager::getSsdInformationList - found 2 SSD devices",
                                "Trace: SsdDevice::getSsdData", readingLine(8760, 10 + round),
                                "Trace: SsdDevice::getSsdData", readingLine(8760, 20 + round)}));
  }
  ASSERT_EQ(list.size(), 4U);
  EXPECT_EQ(list[0].percentageUsed, 10);
  EXPECT_EQ(list[1].percentageUsed, 20);
  EXPECT_EQ(list[2].percentageUsed, 11);
  EXPECT_EQ(list[3].percentageUsed, 21);
  EXPECT_EQ(list[3].physicalDrive, "sdb");
}

TEST_F(Manager, ListsTheLastGoodReadingOfADriveThatFails) {
  willFindP4("sda", 42);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  willFailAttributes("/dev/sda");
  EXPECT_EQ(listed(), Lines{"sda 42"});
}

// Events

TEST_F(Manager, HandsAnEventToItsListenerWithTheDrivesTexts) {
  NotingListener listener;
  willFindP4("sda", 95);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  manager_->registerSsdListener(&listener);
  EXPECT_EQ(takeLog(), Lines{});
  willReadP4("/dev/sda", 96);
  EXPECT_EQ(listed(), Lines{"sda 96"});
  EXPECT_EQ(takeLog(),
            (Lines{"Debug: SsdManager::getSsdInformationList - found 1 SSD devices",
                   "Trace: SsdDevice::getSsdData", readingLine(8760, 96), kEventLine, kTold96}));
}

TEST_F(Manager, ShowsAllOfAnEventWhoseTextsTheLocaleConverts) {
  ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
  root().addFixedDisk("sd");
  willIdentifyAta("/dev/sd", {"M", "S", "F"});
  willEnableSmart("/dev/sd");
  willReadStatistics("/dev/sd", 96, 1);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  // "sd" is one wide character, U+6473.
  EXPECT_TRUE(hasLogged(kEventLine + "M, SerialNo=S, PhysicalDrive=\xE6\x91\xB3, 96sed=96"));
}

TEST_F(Manager, LosesTheEventOfADriveThatBeginsAboveTheThreshold) {
  NotingListener listener;
  willFindP4("sda", 96);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  const auto event = std::find(log_.begin(), log_.end(), kEventLine);
  ASSERT_NE(event, log_.end());
  EXPECT_EQ(*(event - 1), readingLine(8760, 96));
  EXPECT_EQ(*(event + 1), kNobodyListens);
  manager_->registerSsdListener(&listener);
  SsdInformationList list;
  willReadP4("/dev/sda", 97);
  EXPECT_EQ(manager_->getSsdInformationList(list), SSD_SUCCESS);
  EXPECT_TRUE(list.at(0).failureImminent);
  EXPECT_EQ(takeLog().back(),
            "Trace: SsdDevice::fireSsdFailureImminent - already fired one Failure Imminent event - "
            "exiting");
}

TEST_F(Manager, RegistersNobodyBeforeItIsInitialised) {
  NotingListener listener;
  manager_->registerSsdListener(&listener);
  willFindP4("sda", 96);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_TRUE(hasLogged(kNobodyListens));
}

namespace {

/// Every reading is an event.
class DebuggedManager : public Manager {
 protected:
  DebuggedManager() : Manager("DebugIndications=1\n") {
    willFindP4("sda", 1);
    EXPECT_EQ(initialise(), SSD_SUCCESS);
  }

  /// The last line of an event.
  std::string event() {
    willReadP4("/dev/sda", 1);
    listed();
    return takeLog().back();
  }

  static std::string told(const std::string& name) {
    return "Info: " + name + ": SanDisk SSD P4 64GB, 123456789012, sda, 1";
  }

  NotingListener first_{"first"};
  NotingListener second_{"second"};
};

}  // namespace

TEST_F(DebuggedManager, ReplacesOneListenerByAnother) {
  EXPECT_EQ(event(), kNobodyListens);
  manager_->registerSsdListener(&first_);
  EXPECT_EQ(event(), told("first"));
  manager_->registerSsdListener(&second_);
  EXPECT_EQ(event(), told("second"));
}

TEST_F(DebuggedManager, ForgetsItsListener) {
  manager_->registerSsdListener(&first_);
  manager_->unregisterSsdListener();
  EXPECT_EQ(event(), kNobodyListens);
}

TEST_F(DebuggedManager, WithdrawsAListenerOnlyIfItIsTheOne) {
  manager_->registerSsdListener(&first_);
  manager_->withdrawSsdListener(&second_);
  EXPECT_EQ(event(), told("first"));
  manager_->withdrawSsdListener(&first_);
  EXPECT_EQ(event(), kNobodyListens);
}

TEST_F(DebuggedManager, TellsNobodyAfterAListenerWasTakenAway) {
  const std::function<void()> takings[] = {
      [this] { manager_->registerSsdListener(&second_); },
      [this] { manager_->unregisterSsdListener(); },
      [this] { manager_->withdrawSsdListener(&first_); },
  };
  FakeThreads::watchMutexes(manager_.get(), sizeof(SsdManager));
  for (const auto& take : takings) {
    manager_->registerSsdListener(&first_);
    const std::size_t before = FakeThreads::contended();
    std::atomic<bool> taken{false};
    std::thread taker;
    first_.then = [&] {  // in the middle of an event
      taker = std::thread([&] {
        take();
        taken = true;
      });
      while (FakeThreads::contended() == before && !taken) {
        std::this_thread::yield();
      }
      EXPECT_FALSE(taken);
    };
    event();
    taker.join();
    first_.then = nullptr;
    EXPECT_NE(event(), told("first"));
  }
}

TEST_F(DebuggedManager, TellsOfTwoReadingsAtTheSameTime) {
  manager_->registerSsdListener(&first_);
  std::promise<void> secondIsIn;
  std::atomic<int> inside{0};
  first_.then = [&] {
    if (++inside == 1) {
      willReadP4("/dev/sda", 2);
      std::thread other([this] { listed(); });
      secondIsIn.get_future().wait();
      other.join();
    } else {
      secondIsIn.set_value();
    }
  };
  willReadP4("/dev/sda", 1);
  listed();
  EXPECT_EQ(inside, 2);
}
