#pragma once

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>

#include "config/Config.h"
#include "tests/support/DriveAnswers.h"
#include "tests/support/FakeKernel.h"
#include "tests/support/FakeRoot.h"
#include "tests/support/LogCapture.h"

namespace testkit {

/// A drive is asked, the kernel's side is scripted, all that is logged is seen. The configuration
/// has been read, and the log holds nothing yet, when a test begins.
class DeviceTest : public testing::Test {
 protected:
  explicit DeviceTest(const std::string& settings = "", const std::string& logConf = "Level=4\n") {
    root().write(kLogConf, logConf);
    root().write(kSsddrvIni, settings);
    Config::GetInstance();
    takeLog();
    errno = 0;
  }

  static FakeKernel& kernel() { return FakeKernel::instance(); }
  static FakeRoot& root() { return FakeRoot::instance(); }
};

}  // namespace testkit
