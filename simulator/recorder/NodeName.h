#pragma once

#include <string>
#include <string_view>

namespace simulator {

// "sda" for "/dev/sda", "nvme0" for "/dev//nvme0"; empty for what is no drive's node, or is called
// so that a machine file could not name it.
std::string driveNode(const char* path);

// Whether this is the name of a disk in /sys/block for which a machine file can have a drive.
bool isDiskName(std::string_view name);

}  // namespace simulator
