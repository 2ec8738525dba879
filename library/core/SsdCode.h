#pragma once

#include <cstdint>

/// The core's result code. 2 is unassigned.
using SSD_CODE = std::uint32_t;

constexpr SSD_CODE SSD_SUCCESS = 0;
constexpr SSD_CODE SSD_NOT_INITIALISED = 1;
constexpr SSD_CODE SSD_NO_BIOS_VERSION = 3;
constexpr SSD_CODE SSD_NO_SYSFS_BLOCK = 4;  ///< "/sys/block/" can't be opened
