#pragma once

#include <string>
#include <vector>

#include "ssdlife/Options.h"
#include "ssdlife/WearCandidates.h"

namespace ssdlife {

// One way to ask a drive something.
struct Road {
  std::string name;     // "SMART data"
  bool usable = false;  // the provider can use what came
  std::string says;     // in words
};

// Everything that the provider asks a drive, on every road that it could take.
struct RoadsReport {
  std::string drive;  // "sda"
  std::vector<Road> roads;
  std::string advice;  // one sentence
  // Of a drive that the library doesn't know and whose statistics can't be had.
  std::vector<WearCandidate> candidates;
  std::string row;  // of the table that comes with the packages, if it has one for the drive
};

// Asks the drive with this node below /dev. Throws Failure when it can't be opened.
RoadsReport askRoads(const std::string& drive);

// A table, or JSON: {"drive", "roads": [{"road", "usable", "says"}], "advice"}, for a drive without
// a percentage also "wear": [{"attribute", "meaning", "normalised", "raw", "row" or null}] and
// "shipped": a row or null.
std::string showRoads(const RoadsReport& report, Format format);

}  // namespace ssdlife
