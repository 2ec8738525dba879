#pragma once

#include <chrono>
#include <cstdint>
#include <string>

// The time of day as this process is to see it: the computer's, or on a simulated machine one that
// runs as fast as the machine's. Any thread may ask.
namespace ssdlife {

using Seconds = std::int64_t;  // since 1970, UTC

inline constexpr Seconds kDay = 86400;

Seconds now();

// How long a wait of so many seconds is to take in this process.
std::chrono::milliseconds waitOf(Seconds seconds);

// On a simulated machine: begins so many seconds ago. False on a real one, which can't.
bool beginEarlier(Seconds seconds);

// On a simulated machine: lets the time pass at once.
void skip(Seconds seconds);

// "2026-11-21T09:14:07Z", and its first ten characters.
std::string timeText(Seconds time);
std::string dateText(Seconds time);

}  // namespace ssdlife
