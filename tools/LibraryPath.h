#pragma once

#include <string>
#include <vector>

namespace ssdlife {

// The folder of this executable.
std::string ownFolder();

// What to load: the path that was asked for; else the library that stands beside this executable,
// in a build or an installation; else its plain name, for the dynamic loader to find.
std::string providerLibrary(const std::string& asked);

// Where the simulator may be, in the order in which they are tried: next to the library, then
// where a build and an installation put it.
std::vector<std::string> simulatorCandidates(const std::string& library);

}  // namespace ssdlife
