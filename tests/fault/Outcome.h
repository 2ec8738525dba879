#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/Provider.h"
#include "tests/fault/Calls.h"
#include "tests/fault/Machine.h"

namespace fault {

/// What a client sees of one drive.
struct Reading {
  unsigned percentage = 0;
  std::uint64_t hours = 0;

  friend bool operator==(const Reading& a, const Reading& b) {
    return a.percentage == b.percentage && a.hours == b.hours;
  }
  friend bool operator<(const Reading& a, const Reading& b) {
    return a.percentage != b.percentage ? a.percentage < b.percentage : a.hours < b.hours;
  }
};

/// By the drive's name.
using Readings = std::map<std::string, Reading>;

/// What the drives of the machine would answer at this moment.
Readings present(const Machine& machine);

/// What a reply shows.
Readings shown(const cmpihost::Reply& reply);

/// "sda 11% 1001h, ...".
std::string text(const Readings& readings);

/// What must come of the calls that failed while the library started.
struct Start {
  bool dead = false;              ///< the provider stays uninitialised: everything answers 16
  std::set<std::string> missing;  ///< drives that are not watched
  int lostDevices = 0;            ///< devices that were given up half set up, and are kept
};
Start startAfter(const std::vector<Injector::Met>& calls, const Machine& machine);

/// What a request or a poll must show after these calls: `now` of the drives that could be read,
/// `before` of the others, and what an unread part of a drive is replaced with.
Readings readingsAfter(const std::vector<Injector::Met>& calls, const Machine& machine,
                       const Readings& before, const Readings& now);

/// Nodes of NVMe controllers that stay open: those on which something failed.
int nodesLostBy(const std::vector<Injector::Met>& calls);

}  // namespace fault
