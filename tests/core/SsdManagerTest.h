#pragma once

#include <algorithm>
#include <memory>
#include <string>

#include "config/Config.h"
#include "core/SsdManager.h"
#include "tests/core/CoreTest.h"

namespace testkit {

/// A manager of its own over the scripted machine, beside the one static manager.
class Manager : public CoreTest {
 protected:
  explicit Manager(const std::string& settings = "") : CoreTest(settings) {
    Config::GetInstance();
    takeLog();
    manager_ = std::make_unique<SsdManager>();
    takeLog();
    root().takeCalls();
  }

  /// A P4 at "/dev/`name`" that is found and set up.
  static void willFindP4(const std::string& name, std::uint8_t percentage) {
    root().addFixedDisk(name);
    willIdentifyAta("/dev/" + name, {kP4, "123456789012", "10.52.01"});
    willEnableSmart("/dev/" + name);
    willReadP4("/dev/" + name, percentage);
  }

  static void willFindNvme(const std::string& name, std::uint8_t percentage) {
    willIdentifyNvme("/dev/" + name, {});
    willReadHealth("/dev/" + name, percentage, 100);
  }

  SSD_CODE initialise() {
    threads().holdStarts();
    const SSD_CODE code = manager_->initialise();
    log_ = takeLog();
    threads().releaseStarts();
    threads().waitUntilAllSleep();
    takeLog();
    return code;
  }

  /// The drives of a fresh list, as "sda 42".
  Lines listed() {
    SsdInformationList list;
    EXPECT_EQ(manager_->getSsdInformationList(list), SSD_SUCCESS);
    Lines drives;
    for (const SsdInformation& drive : list) {
      drives.push_back(drive.physicalDrive + " " + std::to_string(drive.percentageUsed));
    }
    return drives;
  }

  [[nodiscard]] bool hasLogged(const std::string& line) const {
    return std::find(log_.begin(), log_.end(), line) != log_.end();
  }

  /// Takes the listener's address, which is that of a part of the manager, out of the log of one
  /// drive, and gives the device's.
  std::string withoutAddresses() {
    std::string device;
    for (std::string& line : log_) {
      if (const auto at = line.find("listener=0x0x"); at != std::string::npos) {
        line.erase(at + 11);
      }
      if (const auto at = line.find("_ssdDevice="); at != std::string::npos) {
        device = line.substr(at + 11);
      }
    }
    return device;
  }

  static std::string foundDisk(const std::string& name) {
    return "Debug: SsdManager::initialise - Found fixed scsi disk " + name;
  }

  static std::string foundDevices(int count) {
    return "Debug: SsdManager::initialise - found " + std::to_string(count) + " SSD devices";
  }

  static std::string failedToAdd(const std::string& name) {
    return "Error: SsdManager::initialise - failed to add SSD Device " + name + " to list";
  }

  std::unique_ptr<SsdManager> manager_;
  Lines log_;  ///< of `initialise`
};

/// What reading the BIOS version, the first thing in `initialise`, leaves in the log.
inline const Lines kBiosLines = {"Trace: BiosVersion::getBiosVersion",
                                 "Debug: BiosVersion::getBiosVersion - returning 1.02.3\n"};

}  // namespace testkit
