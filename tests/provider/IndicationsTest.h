#pragma once

#include <cstdint>
#include <string>

#include "tests/provider/ProviderFixture.h"

/// What a broker asks of a provider about its indications; no filter is active at first.
class Indications : public InitialisedProvider {
 protected:
  explicit Indications(const char* brokerName = "recording") : InitialisedProvider(brokerName) {}
  void SetUp() override {
    InitialisedProvider::SetUp();
    request = broker.context();
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

  const CMPIContext* request = nullptr;
  CMPIStatus status{CMPI_RC_ERROR, nullptr};
  const SsdInformation a = drive('A', "sda");
  const SsdInformation b = drive('B', "sdb");
};

/// Said of an event that finds the gate closed.
constexpr char kDisabled[] =
    "log 3: SsdProvider::SsdFailureImminent - indcations disabled or NULL indication context";
