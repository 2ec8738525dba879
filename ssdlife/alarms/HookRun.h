#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace ssdlife {

struct HookEnd {
  bool done = false;    // it ended with status 0
  std::string outcome;  // in words
};

// Runs the program, without a shell, with no arguments and just this environment ("NAME=value"), in
// a session of its own: standard input is empty, and each line that it writes goes to `output`, up
// to 64 KiB; no other descriptor is open. After `limit` it is killed with all that it started.
// Processes that it leaves behind are not waited for.
HookEnd runHook(const std::string& path, const std::vector<std::string>& environment,
                std::chrono::milliseconds limit,
                const std::function<void(const std::string& line)>& output);

}  // namespace ssdlife
