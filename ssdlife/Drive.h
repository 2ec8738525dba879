#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/Broker.h"
#include "host/Instance.h"
#include "ssdlife/forecast/Expected.h"

namespace ssdlife {

// One SSD as the provider describes it. What an instance does not carry stays empty.
struct Drive {
  std::string deviceId;
  std::string model;
  std::string serialNumber;
  std::string firmware;
  std::string physicalDrive;
  std::string caption;
  std::string description;
  std::optional<std::uint64_t> poweredOnHours;
  std::optional<unsigned> percentageUsed;  // nothing when the drive does not tell
  unsigned percentageUsedSource = 0;
  bool failureImminent = false;
  // Why the drive could not be read, when the figures above are the provider's for a drive that it
  // could not read: 0 % and 0 hours.
  std::optional<std::string> readError;

  std::optional<Expected> overThreshold;  // from the history, where there is one
};

Drive driveOf(const cmpihost::Instance& instance);

// "standard statistic", "vendor attribute".
std::string sourceInWords(unsigned source);

// An indication that a drive is about to fail.
struct FailureEvent {
  std::string deviceId;
  std::string physicalDrive;
  std::optional<cmpihost::DateTime> time;
};

FailureEvent failureEventOf(const cmpihost::Indication& indication);

}  // namespace ssdlife
