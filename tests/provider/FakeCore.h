#pragma once

#include <functional>

#include "core/SsdApi.h"

/// The core of the tests, behind SsdApi: gives what it is told to and records each call as an event
/// "core: ...".
struct FakeCore {
  SSD_CODE initialiseCode = SSD_SUCCESS;
  SSD_CODE listCode = SSD_SUCCESS;
  SsdInformationList drives;
  /// Called while the drives are being read.
  std::function<void()> whileReading;

  ISsdListener* listener = nullptr;  ///< the registered one
  const SsdApi* api = nullptr;       ///< the object that was last used
};

FakeCore& core();

/// A drive with recognisable values, all from `letter`: "Model A", "Serial A", "Firmware A".
SsdInformation drive(char letter, const std::string& physicalDrive);
