#pragma once

#include <string>

namespace ssdlife {

// Instead of a file.
inline constexpr const char* kStandardOutput = "-";

// Makes this process one whose talk with its drives is recorded: starts it anew with the recorder
// in front of its system calls, and of the simulator if that is there, unless that has happened
// already. `library` tells where to look for the recorder. Throws Failure, also when `file` can't
// be written.
void enterRecording(const std::string& file, bool anonymous, const std::string& library,
                    char** argv);

// Writes what was recorded until now. Throws Failure.
void saveRecording();

}  // namespace ssdlife
