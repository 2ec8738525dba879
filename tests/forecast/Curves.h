#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ssdlife/history/Sample.h"

// Drives that wear over five years as drives of tills do: a day's use varies from day to day, and
// on Sundays the shop is closed. What is special about each class comes on top.
enum class Curve { kConstant, kSeasonal, kChristmas, kChangedUse, kStuckCounter, kFirmwareJump };

inline constexpr Curve kCurves[] = {Curve::kConstant,   Curve::kSeasonal,     Curve::kChristmas,
                                    Curve::kChangedUse, Curve::kStuckCounter, Curve::kFirmwareJump};

const char* nameOf(Curve curve);

// A sample a day, the same for the same seed.
std::vector<ssdlife::Sample> wearOf(Curve curve, std::uint64_t seed);

inline constexpr int kDaysOfACurve = 5 * 365;
