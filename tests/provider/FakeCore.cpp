#include "tests/provider/FakeCore.h"

#include "tests/provider/Allocations.h"
#include "tests/provider/Events.h"

FakeCore& core() {
  static FakeCore theCore;
  return theCore;
}

SsdInformation drive(char letter, const std::string& physicalDrive) {
  SsdInformation information;
  information.model = std::string("Model ") + letter;
  information.serialNumber = std::string("Serial ") + letter;
  information.physicalDrive = physicalDrive;
  information.firmwareVersion = std::string("Firmware ") + letter;
  information.poweredOnHours = 4294967296U + static_cast<unsigned char>(letter);
  information.percentageUsed = static_cast<std::uint8_t>(letter);
  information.percentageUsedSource = 2;
  information.failureImminent = false;
  return information;
}

SSD_CODE SsdApi::initialiseSsdDriver() {
  const allocations::Exempt exempt;
  core().api = this;
  events::add("core: initialiseSsdDriver");
  return core().initialiseCode;
}

SSD_CODE SsdApi::getSsdInformationList(SsdInformationList& list) {
  const allocations::Exempt exempt;
  core().api = this;
  events::add("core: getSsdInformationList of " + std::to_string(list.size()) + " records");
  if (core().whileReading) {
    core().whileReading();
  }
  if (core().listCode == SSD_SUCCESS) {
    list.insert(list.end(), core().drives.begin(), core().drives.end());
  }
  return core().listCode;
}

void SsdApi::registerSsdListener(ISsdListener* listener) {
  const allocations::Exempt exempt;
  events::add("core: registerSsdListener");
  core().listener = listener;
}

void SsdApi::unregisterSsdListener() {
  const allocations::Exempt exempt;
  events::add("core: unregisterSsdListener");
  core().listener = nullptr;
}

void SsdApi::withdrawSsdListener(const ISsdListener* listener) {
  const allocations::Exempt exempt;
  events::add("core: withdrawSsdListener");
  if (core().listener == listener) {
    core().listener = nullptr;
  }
}

void SsdApi::forgetThreads() {}
