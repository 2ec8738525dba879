#pragma once

#include <string>
#include <vector>

namespace ssdlife {

// The folder of this executable.
std::string ownFolder();

// What to load: the path that was asked for; else the library that stands beside this executable,
// in a build or an installation; else its plain name, for the dynamic loader to find.
std::string providerLibrary(const std::string& asked);

// Where a library to preload may be, in the order in which the places are tried: next to the
// provider library, then where a build and an installation put it.
std::vector<std::string> preloadCandidates(const std::string& name, const std::string& library);

}  // namespace ssdlife
