#pragma once

#include <functional>
#include <string>

#include "provider/EntryPoints.h"
#include "provider/FunctionTables.h"
#include "provider/ProviderState.h"
#include "tests/provider/ProviderFixture.h"

/// The module as a broker sees it. No provider exists at first.
class EntryPoints : public ModuleTest {
 protected:
  std::string createInstanceMi() {
    return events::during([&] {
      EXPECT_EQ(SsdProvider_Create_InstanceMI(broker.cmpi(), context, &status), &instanceMI);
    });
  }
  std::string createIndicationMi() {
    return events::during([&] {
      EXPECT_EQ(SsdProvider_Create_IndicationMI(broker.cmpi(), context, &status), &indicationMI);
    });
  }
  std::string cleanInstanceMi(CMPIBoolean terminating = 1) {
    return events::during([&] { status = drvInstanceCleanup(&instanceMI, context, terminating); });
  }
  std::string cleanIndicationMi(CMPIBoolean terminating = 1) {
    return events::during(
        [&] { status = drvIndicationCleanup(&indicationMI, context, terminating); });
  }
  /// Runs an entry; its status goes to `status`.
  std::string entry(const std::function<CMPIStatus()>& call) {
    return events::during([&] { status = call(); });
  }
  void isStatus(CMPIrc rc) const {
    EXPECT_EQ(status.rc, rc);
    EXPECT_EQ(status.msg, nullptr);
  }
  static std::string provider() {
    return events::format("%p", static_cast<void*>(drvProvider.load()));
  }

  // ---- What the factories write.
  static std::string initialises() {
    return lines({"log 3: SsdProvider::constructor", "log 3: SsdProvider::initialise",
                  "core: initialiseSsdDriver", "log 3: SsdProvider::initSensorProvider",
                  "log 3: SsdProvider::update", "core: getSsdInformationList of 0 records",
                  "log 2: SsdProvider created and initialised"});
  }
  /// The banner's line, whatever its date and time, and the lines around it.
  static void splitBanner(const std::string& seen, std::string& banner, std::string& rest) {
    const std::size_t begin = seen.find("log 3: Zarn");
    ASSERT_NE(begin, std::string::npos) << seen;
    const std::size_t end = seen.find('\n', begin) + 1;
    banner = seen.substr(begin, end - begin);
    rest = seen.substr(0, begin) + seen.substr(end);
  }
  std::string instanceFactoryLine() const {
    return events::format("log 3: SsdProvider_Create_InstanceMI, broker = %p, version = %i\n",
                          static_cast<const void*>(broker.cmpi()),
                          RecordingBroker::kEncapsulationVersion);
  }

  CMPIStatus status{CMPI_RC_ERROR, nullptr};
};
