#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace fault {

/// The paths of the streams that the library has opened and not closed.
std::vector<std::string> openStreams();

/// Closes them: those that the library means to keep would add up over a thousand rounds.
void closeStreams();

/// Scans of "/dev" whose result the library has not freed; frees them as well.
int releaseScans();

}  // namespace fault
