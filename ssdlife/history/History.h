#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ssdlife/Drive.h"
#include "ssdlife/history/Database.h"
#include "ssdlife/history/Sample.h"
#include "ssdlife/service/Clock.h"

// The drives that this till has had, and how worn each was when.
namespace ssdlife {

// A drive is what has this model and serial number, wherever it is plugged in.
struct KnownDrive {
  std::int64_t id = 0;
  std::string model;
  std::string serialNumber;
  std::string firmware;
  std::string node;  // "sda", where it was last
  Seconds firstSeen = 0;
  bool present = true;
};

// What the history calls a drive's serial number: one without is told by its place.
std::string identityOf(const Drive& drive);

// The percentage that the drive itself has told.
std::optional<std::int64_t> toldBy(const Drive& drive);

std::vector<KnownDrive> knownDrives(const Database& database);

// Those that `text` names: by node ("sda", "/dev/sda"), by serial number, or by the beginning of
// the DeviceID; all for an empty text. Throws Failure when it names none.
std::vector<KnownDrive> knownDrives(const Database& database, const std::string& text);

// In the order of time, without those that a clock set wrong has put more than a day ahead.
std::vector<Sample> samplesOf(const Database& database, std::int64_t drive, Seconds now);

// Takes a drive down as it is now, and returns its number. There is a sample each day, and at every
// change of the percentage: most calls change nothing.
std::int64_t takeDown(const Database& database, const Drive& drive, Seconds now);

}  // namespace ssdlife
