#pragma once

#include <cstddef>
#include <cstdint>

// Codes and offsets of NVM Express. Source: NVM Express Base Specification, revision 1.4; the
// figure numbers in brackets are its own.
namespace simulator::nvme {

// Admin opcodes [139].
constexpr std::uint8_t kGetLogPage = 0x02;
constexpr std::uint8_t kIdentify = 0x06;

// Identify, 5.15: CNS in the lowest byte of command dword 10 [244].
constexpr std::uint8_t kCnsNamespace = 0x00;
constexpr std::uint8_t kCnsController = 0x01;
constexpr std::size_t kIdentifySize = 4096;

// Identify Controller data [247].
constexpr std::size_t kSerialNumber = 4;
constexpr std::size_t kSerialNumberWidth = 20;
constexpr std::size_t kModel = 24;
constexpr std::size_t kModelWidth = 40;
constexpr std::size_t kFirmware = 64;
constexpr std::size_t kFirmwareWidth = 8;
constexpr std::size_t kVersion = 80;
constexpr std::size_t kWarningTemperature = 266;
constexpr std::size_t kCriticalTemperature = 268;
constexpr std::size_t kQueueEntrySizes = 512;
constexpr std::size_t kNumberOfNamespaces = 516;
constexpr std::size_t kQualifiedName = 768;

// Identify Namespace data [245].
constexpr std::size_t kNamespaceSize = 0;
constexpr std::size_t kNamespaceCapacity = 8;
constexpr std::size_t kNamespaceUtilization = 16;
constexpr std::size_t kLbaFormat0DataSize = 130;

// Get Log Page, 5.14; SMART / Health Information log [194].
constexpr std::uint8_t kLogHealth = 0x02;
constexpr std::size_t kHealthSize = 512;
constexpr std::size_t kCriticalWarning = 0;
constexpr std::size_t kCompositeTemperature = 1;
constexpr std::size_t kAvailableSpare = 3;
constexpr std::size_t kAvailableSpareThreshold = 4;
constexpr std::size_t kPercentageUsed = 5;
constexpr std::size_t kPowerOnHours = 128;

constexpr std::uint32_t kAllNamespaces = 0xffffffff;

// Status of a rejected command as the kernel's ioctl returns it: status code type in bits 10:8,
// code in bits 7:0 [128, 129], "do not retry" in bit 14.
constexpr int kInvalidOpcode = 0x4001;
constexpr int kInvalidField = 0x4002;
constexpr int kInvalidNamespace = 0x400b;
constexpr int kInvalidLogPage = 0x4109;

}  // namespace simulator::nvme
