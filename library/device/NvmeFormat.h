#pragma once

#include <cstddef>
#include <cstdint>

// Formats of the NVM Express Base Specification 1.4 that the library uses.

namespace nvme {

/// Admin command opcodes (figure 139).
constexpr std::uint8_t kOpcodeGetLogPage = 0x02;
constexpr std::uint8_t kOpcodeIdentify = 0x06;

constexpr std::uint32_t kNoNamespace = 0;
constexpr std::uint32_t kAllNamespaces = 0xFFFFFFFF;

/// Identify (5.15): what CNS selects, in bits 7-0 of dword 10.
namespace identify {
constexpr std::uint8_t kCnsNamespace = 0x00;
constexpr std::uint8_t kCnsController = 0x01;
constexpr std::uint32_t kDataLength = 4096;
}  // namespace identify

/// Identify Controller data (figure 247), by byte.
namespace controller {
constexpr std::size_t kSerialNumberOffset = 4;
constexpr std::size_t kSerialNumberLength = 20;
constexpr std::size_t kModelOffset = 24;
constexpr std::size_t kModelLength = 40;
constexpr std::size_t kFirmwareOffset = 64;
constexpr std::size_t kFirmwareLength = 8;
constexpr std::size_t kNamespaceCountOffset = 516;  // NN
}  // namespace controller

/// Get Log Page (5.14): dword 10 holds the log identifier in bits 7-0 and the number of dwords,
/// less one, in bits 31-16 (NUMDL).
namespace logPage {
constexpr std::uint8_t kHealth = 0x02;
constexpr unsigned kDwordCountShift = 16;
}  // namespace logPage

/// SMART / Health Information log (5.14.1.2, figure 194), by byte.
namespace health {
constexpr std::uint32_t kLogLength = 512;
constexpr std::size_t kPercentageUsedOffset = 5;
constexpr std::size_t kPowerOnHoursOffset = 128;  // 16 bytes, of which the low 8 are taken
constexpr std::size_t kPowerOnHoursLength = 8;
}  // namespace health

}  // namespace nvme
