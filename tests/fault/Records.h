#pragma once

#include <string>
#include <vector>

// The library's log as the fault loops compare it.
namespace fault {

constexpr char kLogFile[] = "/var/log/ssddrv/ssddrv.log";

/// The records of a log, each from its level on: "Debug\tSsdManager Constructed\n". Addresses and
/// thread ids, which are others in every run, are left out.
std::vector<std::string> recordsIn(const std::string& log);

/// The records of `some` that `all` has not, or not there: empty if `some` is `all` with records
/// left out.
std::vector<std::string> foreign(const std::vector<std::string>& some,
                                 const std::vector<std::string>& all);

}  // namespace fault
