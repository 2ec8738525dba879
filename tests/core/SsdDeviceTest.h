#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "config/Config.h"
#include "core/SsdDevice.h"
#include "log/Log.h"
#include "tests/core/CoreTest.h"

namespace testkit {

/// A device that hasn't been set up yet.
class Device : public CoreTest {
 protected:
  /// Notes every event in the log, so that its place among the other lines can be seen.
  class NotingListener : public ISsdDeviceListener {
   public:
    void SsdDeviceFailureImminent(SsdDevice& device) override {
      Log(LOG_LEVEL_INFO, "listener: %s at %d", device.physicalDrive().c_str(),
          device.percentageUsed());
      ++events;
      if (then) {
        then();
      }
    }

    std::atomic<int> events{0};
    std::function<void()> then;
  };

  explicit Device(const std::string& settings = "") : CoreTest(settings) {
    Config::GetInstance();
    device_ = std::make_unique<SsdDevice>();
    takeLog();
  }

  /// Sets up a P4 that reads `percentage`; its polling thread sleeps afterwards.
  void startP4(std::uint8_t percentage, ISsdDeviceListener* listener) {
    willEnableSmart("/dev/sda");
    willReadP4("/dev/sda", percentage);
    EXPECT_TRUE(device_->initialise(ataDrive(kP4), "sda", "/dev/sda", listener));
    threads().waitUntilAllSleep();
    takeLog();
  }

  /// Has the device read `percentage`, and gives what was logged.
  Lines readP4(std::uint8_t percentage, std::uint64_t hours = 8760) {
    willReadP4("/dev/sda", percentage, hours);
    device_->getSsdData();
    return takeLog();
  }

  SsdInformation information() {
    SsdInformation information;
    device_->copySsdInformation(information);
    return information;
  }

  NotingListener listener_;
  std::unique_ptr<SsdDevice> device_;
};

class PolledDevice : public Device {
 protected:
  PolledDevice() : Device("PollRate=1\n") {}
};

inline const std::string kRead = "Trace: SsdDevice::getSsdData";
inline const std::string kTold96 = "Info: listener: sda at 96";
inline const std::string kAlgorithmFailed = "Debug: SsdDevice::getSsdData - algo failed";

}  // namespace testkit
