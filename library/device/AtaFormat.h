#pragma once

#include <cstddef>
#include <cstdint>

// Formats of the ATA command set that the library uses. Sources: ATA/ATAPI Command Set (ACS-3),
// T13/2161-D; SCSI/ATA Translation (SAT-3), T10/BSR INCITS 517. Commands are named after the
// former.

namespace ata {

constexpr std::size_t kSectorSize = 512;

/// Command codes (ACS-3, 7).
constexpr std::uint8_t kCommandSmart = 0xB0;
constexpr std::uint8_t kCommandReadLogExt = 0x2F;

/// Feature codes of the SMART command (ACS-3, 7.48; READ DATA in ACS-2, 7.53).
constexpr std::uint8_t kSmartReadData = 0xD0;
constexpr std::uint8_t kSmartReadLog = 0xD5;
constexpr std::uint8_t kSmartEnableOperations = 0xD8;

/// Fields of IDENTIFY DEVICE data, by their byte (ACS-3, 7.12.7). The kernel hands the texts over
/// in reading order.
namespace identify {
constexpr std::size_t kSerialNumberOffset = 20;  // words 10-19
constexpr std::size_t kSerialNumberLength = 20;
constexpr std::size_t kFirmwareOffset = 46;  // words 23-26
constexpr std::size_t kFirmwareLength = 8;
constexpr std::size_t kModelOffset = 54;  // words 27-46
constexpr std::size_t kModelLength = 40;
constexpr std::size_t kMajorVersionOffset = 160;  // word 80
constexpr std::size_t kRotationRateOffset = 434;  // word 217
constexpr std::uint16_t kNonRotatingMedium = 1;
}  // namespace identify

/// The SMART data sector: after a two-byte revision 30 attribute entries. Their form was published
/// with ATA-3 (SFF-8035i) and is kept by drives since.
namespace smart {
constexpr std::size_t kFirstAttributeOffset = 2;
constexpr std::size_t kAttributeCount = 30;
constexpr std::size_t kAttributeSize = 12;
constexpr std::size_t kIdOffset = 0;  // 0: an empty slot
constexpr std::size_t kFlagsOffset = 1;
constexpr std::size_t kCurrentOffset = 3;
constexpr std::size_t kWorstOffset = 4;
constexpr std::size_t kRawOffset = 5;
constexpr std::size_t kRawLength = 6;

constexpr std::uint8_t kPowerOnHours = 9;
}  // namespace smart

/// Log addresses (ACS-3, A.2) and the log directory: word n holds the page count of log n.
constexpr std::uint8_t kLogDirectory = 0x00;
constexpr std::uint8_t kLogDeviceStatistics = 0x04;
constexpr std::size_t kDirectoryEntrySize = 2;

/// The Solid State Device Statistics page of the Device Statistics log (ACS-3, A.5.9).
namespace statistics {
constexpr std::uint8_t kSolidStatePage = 7;
constexpr std::size_t kPageNumberOffset = 2;
constexpr std::size_t kPercentageUsedOffset = 8;        // Percentage Used Endurance Indicator
constexpr std::size_t kPercentageUsedFlagsOffset = 15;  // DEVICE STATISTICS FLAGS (ACS-3, A.5.2)
constexpr std::uint8_t kFlagSupported = 0x80;
constexpr std::uint8_t kFlagValid = 0x40;
constexpr std::uint8_t kFlagNormalized = 0x20;
}  // namespace statistics

/// ATA PASS-THROUGH (16) (SAT-3, 12.2.2.3), by the bytes of its CDB.
namespace passThrough16 {
constexpr std::size_t kCdbSize = 16;
constexpr std::uint8_t kOperationCode = 0x85;
constexpr std::size_t kProtocolByte = 1;
constexpr std::uint8_t kProtocolPioDataIn = 4 << 1;
constexpr std::uint8_t kExtend = 0x01;
constexpr std::size_t kTransferByte = 2;
constexpr std::uint8_t kCheckCondition = 0x20;       // CK_COND: give the registers back as sense
constexpr std::uint8_t kFromDevice = 0x08;           // T_DIR
constexpr std::uint8_t kInBlocks = 0x04;             // BYTE_BLOCK
constexpr std::uint8_t kLengthInSectorCount = 0x02;  // T_LENGTH
constexpr std::size_t kSectorCountByte = 6;
constexpr std::size_t kLbaLowByte = 8;   // log address of READ LOG EXT
constexpr std::size_t kLbaMidByte = 10;  // its page number
constexpr std::size_t kCommandByte = 14;
}  // namespace passThrough16

/// Descriptor-format sense data (SPC-4, 4.5.2) whose one descriptor is an ATA Status Return (SAT-3,
/// 12.2.2.6).
namespace sense {
constexpr std::size_t kResponseCodeByte = 0;
constexpr std::uint8_t kDescriptorFormat = 0x72;
constexpr std::size_t kAdditionalLengthByte = 7;
constexpr std::uint8_t kAdditionalLength = 0x0E;
constexpr std::size_t kDescriptorCodeByte = 8;
constexpr std::uint8_t kAtaStatusReturn = 0x09;
constexpr std::size_t kDescriptorLengthByte = 9;
constexpr std::uint8_t kAtaStatusReturnLength = 0x0C;
constexpr std::size_t kErrorByte = 11;
constexpr std::size_t kStatusByte = 21;
constexpr std::size_t kUsedLength = 22;

/// The drive is ready and has done the command (ACS-3, 6.2); no other bit may be set.
constexpr std::uint8_t kStatusGood = 0x50;
}  // namespace sense

}  // namespace ata
