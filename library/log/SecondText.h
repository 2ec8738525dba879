#pragma once

#include <cstddef>
#include <cstdint>

/// How long the text of a second is: "15/11/2026 10:57:58.", the full stop included.
constexpr std::size_t kSecondTextLength = 20;

/// Puts the local date and time of the second `seconds` since the epoch at `text`.
///
/// Lines come in bursts, so the text of the last second asked for is kept. It is made anew with
/// every second, as the changes to and from summer time ask for, and when the host has set another
/// time zone. May be called on any thread.
void copySecondText(std::int64_t seconds, char* text);
