#pragma once

#include <optional>
#include <string>

#include "ssdlife/SsdClient.h"

namespace ssdlife {

// The name below /dev that the user means by "sda" or "/dev/sda"; nothing when there is no such
// node.
std::optional<std::string> nodeNamed(const std::string& text);

// The drive that the user means by its node or a partition or namespace of it, or by the beginning
// of its DeviceID. Throws Failure.
Drive driveNamed(SsdClient& client, const std::string& text);

}  // namespace ssdlife
