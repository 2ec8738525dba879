#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "provider/SsdProvider.h"
#include "tests/provider/ProviderFixture.h"

/// An initialised provider with the three drives of the machine; no filter is active.
class Indications : public ProviderTest {
 protected:
  explicit Indications(const char* brokerName = "recording") : ProviderTest(brokerName) {}
  void SetUp() override {
    ProviderTest::SetUp();
    (void)events::during([this] {
      provider = std::make_unique<SsdProvider>();
      provider->setBroker(broker.cmpi());
      provider->initialise(broker.context());
    });
    request = broker.context();
  }
  void TearDown() override {
    (void)events::during([this] { provider.reset(); });
    ProviderTest::TearDown();
  }

  CMPIObjectPath* filtered(const char* className = "KAV_SSDLifeMonitorFailureImminent") {
    return broker.path("root/cimv2", className);
  }
  std::string activate(std::uint8_t first = 1,
                       const char* className = "KAV_SSDLifeMonitorFailureImminent") {
    return events::during([&] {
      status = provider->activateFilter(nullptr, request, nullptr, "ignored", filtered(className),
                                        first);
    });
  }
  std::string deactivate(std::uint8_t last = 1,
                         const char* className = "KAV_SSDLifeMonitorFailureImminent") {
    return events::during([&] {
      status = provider->deActivateFilter(nullptr, request, nullptr, "ignored", filtered(className),
                                          last);
    });
  }
  void enable() {
    (void)events::during([&] { provider->enableIndications(nullptr, request); });
  }
  void subscribe() {
    (void)activate();
    enable();
  }
  std::string fail(const SsdInformation& drive, std::uint8_t percentage = 96) {
    return events::during([&] {
      provider->SsdFailureImminent(drive.model, drive.serialNumber, drive.physicalDrive,
                                   percentage);
    });
  }
  std::string indicationThread() {
    return events::during([&] { broker.runThread(); });
  }

  std::unique_ptr<SsdProvider> provider;
  const CMPIContext* request = nullptr;
  CMPIStatus status{CMPI_RC_ERROR, nullptr};
  const SsdInformation a = drive('A', "sda");
  const SsdInformation b = drive('B', "sdb");
};

/// Said of an event that finds the gate closed.
constexpr char kDisabled[] =
    "log 3: SsdProvider::SsdFailureImminent - indcations disabled or NULL indication context";
