#pragma once

#include <cstddef>
#include <cstdint>

// Codes and offsets of the ATA command set. Sources: ATA/ATAPI Command Set - 3 (ACS-3), T13/2161-D,
// where "7.x" are its commands, "9.x" and "A.x" its logs; for the SMART attribute table ATA/ATAPI-5
// (T13/1321-D, 8.48.5), the last to describe it.
namespace simulator::ata {

constexpr std::size_t kSectorSize = 512;

// Commands.
constexpr std::uint8_t kReadLogExt = 0x2f;      // ACS-3 7.24
constexpr std::uint8_t kSmart = 0xb0;           // ACS-3 7.48
constexpr std::uint8_t kIdentifyDevice = 0xec;  // ACS-3 7.12

// SMART feature codes, ACS-3 7.48 (thresholds: ATA/ATAPI-5 8.48.7).
constexpr std::uint8_t kSmartReadData = 0xd0;
constexpr std::uint8_t kSmartReadThresholds = 0xd1;
constexpr std::uint8_t kSmartReadLog = 0xd5;
constexpr std::uint8_t kSmartEnable = 0xd8;
constexpr std::uint8_t kSmartReturnStatus = 0xda;

// Signature that every SMART command carries in LBA bits 23:8, ACS-3 7.48.1.
constexpr std::uint8_t kSmartLbaMid = 0x4f;
constexpr std::uint8_t kSmartLbaHigh = 0xc2;

// Status and error register bits, ACS-3 6.2 and 6.3.
constexpr std::uint8_t kStatusError = 0x01;
constexpr std::uint8_t kStatusDataRequest = 0x08;
constexpr std::uint8_t kStatusDeviceFault = 0x20;
constexpr std::uint8_t kStatusReady = 0x40;
constexpr std::uint8_t kStatusBusy = 0x80;
constexpr std::uint8_t kStatusGood = 0x50;     // ready, seek complete
constexpr std::uint8_t kStatusAborted = 0x51;  // the same with the error bit
constexpr std::uint8_t kErrorAbort = 0x04;

// IDENTIFY DEVICE data, ACS-3 7.12.7: word numbers, and byte widths of the texts.
constexpr std::size_t kIdentifyWords = 256;
constexpr std::size_t kWordSerialNumber = 10;
constexpr std::size_t kSerialNumberWidth = 20;
constexpr std::size_t kWordFirmware = 23;
constexpr std::size_t kFirmwareWidth = 8;
constexpr std::size_t kWordModel = 27;
constexpr std::size_t kModelWidth = 40;
constexpr std::size_t kWordCapabilities = 49;
constexpr std::size_t kWordSectors28 = 60;
constexpr std::size_t kWordSataCapabilities = 76;
constexpr std::size_t kWordMajorVersion = 80;
constexpr std::size_t kWordFeatures82 = 82;  // bit 0: SMART
constexpr std::size_t kWordFeatures83 = 83;  // bit 10: 48-bit addresses, bit 14: word is valid
constexpr std::size_t kWordFeatures84 = 84;  // bit 0: SMART error log, bit 5: general purpose logs
constexpr std::size_t kWordFeatures85 = 85;  // words 85 to 87: what of 82 to 84 is switched on
constexpr std::size_t kWordSectors48 = 100;
constexpr std::size_t kWordRotationRate = 217;
constexpr std::size_t kWordIntegrity = 255;

// SMART data sector: 30 entries of 12 bytes behind the revision number.
constexpr std::size_t kAttributeTable = 2;
constexpr std::size_t kAttributeSize = 12;
constexpr std::size_t kAttributeCount = 30;
constexpr std::uint8_t kAttributePowerOnHours = 9;

// Log addresses, ACS-3 A.1.
constexpr std::uint8_t kLogDirectory = 0x00;
constexpr std::uint8_t kLogSummaryError = 0x01;
constexpr std::uint8_t kLogDeviceStatistics = 0x04;
constexpr std::uint8_t kLogSelfTest = 0x06;

// Device Statistics log, ACS-3 A.5: page header, pages, the flags of a statistic (its last byte).
constexpr std::size_t kStatisticsPageNumber = 2;
constexpr std::uint8_t kPageList = 0x00;
constexpr std::uint8_t kPageGeneral = 0x01;
constexpr std::uint8_t kPageSolidState = 0x07;
constexpr std::size_t kGeneralPowerOnHours = 16;
constexpr std::size_t kPercentageUsed = 8;
constexpr std::size_t kPercentageUsedFlags = 15;
constexpr std::uint8_t kFlagSupported = 0x80;
constexpr std::uint8_t kFlagValid = 0x40;
constexpr std::uint8_t kFlagNormalized = 0x20;

}  // namespace simulator::ata
