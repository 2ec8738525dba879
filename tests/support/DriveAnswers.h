#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/FakeKernel.h"

// What drives say, byte by byte.

namespace testkit {

/// ATA IDENTIFY DEVICE data. Texts are padded with blanks.
struct AtaIdentity {
  std::string model = "SanDisk SSD U100 64GB";
  std::string serialNumber = "123456789012";
  std::string firmware = "10.52.01";
  std::uint16_t rotationRate = 1;
  std::uint16_t majorVersion = 0x03F0;
};
Bytes identifySector(const AtaIdentity& identity);

/// One entry of the SMART attribute table.
struct Attribute {
  std::uint8_t id;
  std::uint8_t current = 100;
  std::uint64_t raw = 0;
  std::uint16_t flags = 0x0032;
  std::uint8_t worst = 100;
  std::uint8_t reserved = 0;
};
/// A SMART data sector whose first entries are these.
Bytes smartSector(const std::vector<Attribute>& attributes);
/// A SMART data sector with one entry at `slot` (0 to 29).
Bytes smartSectorWith(std::size_t slot, const Attribute& attribute);

/// A log directory: version 1, and the page counts (whole words) of some logs.
Bytes logDirectory(const std::vector<std::pair<std::uint8_t, std::uint16_t>>& pages);

/// Device Statistics page `number` with a Percentage Used Endurance Indicator.
Bytes statisticsPage(std::uint8_t percentage, std::uint8_t flags = 0xC0, std::uint8_t number = 7);
/// The eight pages, of which the last is `seven`; each other byte holds its page's number.
Bytes statisticsPages(const Bytes& seven);

/// Sense data of an ATA Status Return.
std::array<std::uint8_t, 32> senseWith(std::uint8_t error, std::uint8_t status);
inline const std::array<std::uint8_t, 32> kGoodSense = senseWith(0x00, 0x50);

/// NVMe Identify Controller data.
struct NvmeIdentity {
  std::string model = "KINGSTON SNVS250G";
  std::string serialNumber = "50026B7684A1B2C3";
  std::string firmware = "S8442101";
  std::uint32_t namespaces = 1;
};
Bytes controllerData(const NvmeIdentity& identity);

/// NVMe SMART / Health Information; `hours` are the low 64 bits.
Bytes healthLog(std::uint8_t percentage, std::uint64_t hours, std::uint64_t upperHours = 0);

// Commands by name.

constexpr DriveCommand kSmartEnable{0xB0, 0x01, 0xD8, 0x00, 512};
constexpr DriveCommand kSmartReadData{0xB0, 0x00, 0xD0, 0x01, 512};
constexpr DriveCommand smartReadLog(std::uint8_t address, std::uint8_t sectors) {
  return {0xB0, address, 0xD5, sectors, 4096};
}
constexpr AdminCommand kIdentifyController{0x06, 0, 4096, 0x01};
constexpr AdminCommand identifyNamespace(std::uint32_t id) { return {0x06, id, 4096, 0x00}; }
constexpr AdminCommand kReadHealthLog{0x02, 0xFFFFFFFF, 512, 0x007F0002};

// Whole conversations, from open to close.

/// The drive is asked to identify itself by ATA.
void willIdentifyAta(const std::string& node, const AtaIdentity& identity);
void willEnableSmart(const std::string& node);
/// Page 7 of the statistics is read through SCSI/ATA translation.
void willReadStatisticsPage(const std::string& node, std::uint8_t percentage,
                            std::uint8_t flags = 0xC0);
/// The statistics algorithm reads a drive through SCSI/ATA translation.
void willReadStatistics(const std::string& node, std::uint8_t percentage, std::uint64_t hours);
/// SMART READ DATA.
void willReadAttributes(const std::string& node, const std::vector<Attribute>& attributes);
/// SMART READ DATA fails at the node's open.
void willFailAttributes(const std::string& node);
/// The controller is asked to identify itself; it has no namespace of its own node.
void willIdentifyNvme(const std::string& node, const NvmeIdentity& identity);
void willReadHealth(const std::string& node, std::uint8_t percentage, std::uint64_t hours);

}  // namespace testkit
