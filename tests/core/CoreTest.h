#pragma once

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>

#include "device/IdentifyData.h"
#include "tests/support/DriveAnswers.h"
#include "tests/support/FakeKernel.h"
#include "tests/support/FakeRoot.h"
#include "tests/support/FakeThreads.h"
#include "tests/support/LogCapture.h"

namespace testkit {

/// The core over a scripted machine: its BIOS has a version, "/sys/block/" and "/dev/" are empty.
/// The lines that the one static manager has logged by its construction are gone.
class CoreTest : public testing::Test {
 protected:
  explicit CoreTest(const std::string& settings = "") {
    root().write(kSsddrvIni, settings);
    root().write(kBiosVersion, "1.02.3\n");
    root().setBlockDevices({});
    takeLog();
    root().takeCalls();
  }

  static FakeKernel& kernel() { return FakeKernel::instance(); }
  static FakeRoot& root() { return FakeRoot::instance(); }
  static FakeThreads& threads() { return FakeThreads::instance(); }

  /// "PollingThread::Start - Thread started" with the id of thread `index`.
  static std::string startedLine(std::size_t index = 0) {
    return "Debug: PollingThread::Start - Thread started id=" + low32(threads().created()[index]);
  }

  /// What a thread and its stopping leave in the log.
  static Lines stopLines(std::size_t index = 0) {
    return {"Trace: PollingThread::terminate entered", "Debug: readThread - exited",
            "Debug: PollingThread::Terminate - pthread_join(" + low32(threads().created()[index]) +
                ", 0)...done rc=0x00000000",
            "Debug: PollingThread::Terminate - thread terminated"};
  }

  static std::string readingLine(unsigned long hours, int percentage) {
    return "Debug: SsdDevice::getSsdData - POH = " + std::to_string(hours) +
           ", Percentage Used = " + std::to_string(percentage);
  }

  /// The lines of `log` that concern none of the drive's commands.
  static Lines withoutCommands(const Lines& log) {
    Lines rest;
    for (const std::string& line : log) {
      if (line.find("SmartIo::") == std::string::npos &&
          line.find("num pages") == std::string::npos) {
        rest.push_back(line);
      }
    }
    return rest;
  }
};

inline Lines operator+(Lines first, const Lines& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

/// A drive as identification delivers it.
inline IdentifyData ataDrive(const std::string& model) {
  IdentifyData identify;
  identify.nonRotating = true;
  identify.serialNumber = "123456789012";
  identify.model = model;
  identify.firmwareVersion = "10.52.01";
  identify.identifySource = 2;
  return identify;
}

inline IdentifyData nvmeDrive(const std::string& model) {
  IdentifyData identify = ataDrive(model);
  identify.nonRotating = false;
  identify.identifySource = 1;
  return identify;
}

constexpr char kP4[] = "SanDisk SSD P4 64GB";

/// A P4, which is read with one command.
inline void willReadP4(const std::string& node, std::uint8_t percentage,
                       std::uint64_t hours = 8760) {
  willReadAttributes(node, {{9, 100, hours}, {230, percentage}});
}

}  // namespace testkit
