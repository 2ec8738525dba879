#pragma once

#include <string>
#include <vector>

#include "ssdlife/Drive.h"
#include "ssdlife/Options.h"

// How things look, as tables for people and as JSON for programs. All texts end in a line feed.
//
// The keys of the JSON are part of the command's interface. A drive: deviceId, model, serialNumber,
// firmware, physicalDrive, caption, description, poweredOnHours (number or null), percentageUsed
// (number, or null when the drive does not tell), percentageUsedSource (2 the drive's standard
// statistic, 3 a vendor attribute), failureImminent (boolean), read (boolean: false where the
// figures stand for none), readError (text, or null when it was read); and where a
// history lets expect it, overThreshold: the dates early, likely, late. An event: event
// ("failureImminent"), deviceId, physicalDrive, time (ISO 8601, UTC, or null).
namespace ssdlife {

// {"drives": [...]}; as a table: driveTable.
std::string showDrives(const std::vector<Drive>& drives);

// JSON: {"deviceIds": [...]}.
std::string showNames(const std::vector<std::string>& names, Format format);

// JSON: the drive itself.
std::string showDrive(const Drive& drive, Format format);

// JSON: the event on a line of its own.
std::string showEvent(const FailureEvent& event, Format format);

// Twenty characters that fill up as the drive wears: "[#####...............]"; "-" when it does not
// tell.
std::string wearBar(const Drive& drive);

// Safe on a terminal: drives may call themselves anything. Control characters and bytes that are
// not UTF-8 become question marks.
std::string printable(const std::string& text);

}  // namespace ssdlife
