#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "tests/fault/Till.h"

namespace fault {

/// What a request or a series of calls showed.
struct Result {
  std::vector<CMPIrc> codes;
  std::vector<cmpihost::Reply> replies;
  std::vector<std::string> indications;
};

/// Something that an object manager does with the library, during which a call may fail.
struct Scenario {
  std::string name;
  std::function<void(Till&)> prepare;  ///< nothing fails yet
  std::function<Result(Till&)> act;    ///< calls fail
};

/// For the names of tests.
void PrintTo(const Scenario& scenario, std::ostream* out);

/// Load, start, each request, subscription, event, clean-up, unload.
const std::vector<Scenario>& scenarios();

}  // namespace fault
