// SmartIo: ATA SMART by drive command.

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <new>

#include <fcntl.h>
#include <linux/hdreg.h>

#include "base/UniqueFd.h"
#include "device/AtaFormat.h"
#include "device/Bytes.h"
#include "device/DriveCommand.h"
#include "device/SmartIo.h"
#include "log/Log.h"

static_assert(HDIO_DRIVE_CMD == 0x031F);

namespace {

/// The argument of HDIO_DRIVE_CMD (Linux, Documentation/userspace-api/ioctl/hdio.rst): four
/// registers, then the sectors that the drive returns. The kernel itself adds the signature that
/// the SMART command wants in the cylinder registers.
template <std::size_t sectors>
struct DriveCommandBlock {
  std::uint8_t command = ata::kCommandSmart;
  std::uint8_t sectorNumber = 0;
  std::uint8_t feature = 0;
  std::uint8_t sectorCount = 0;
  std::array<std::uint8_t, sectors * ata::kSectorSize> data{};
};
static_assert(sizeof(DriveCommandBlock<1>) == 4 + 512);

constexpr std::uint32_t kMostLogSectors = 8;

/// Opens the node, issues the SMART command `block` and closes the node; `operation` is whose
/// failure is logged.
template <std::size_t sectors>
bool smartCommand(const char* operation, const std::string& path,
                  DriveCommandBlock<sectors>& block) {
  const UniqueFd fd(open(path.c_str(), O_RDONLY));
  if (!fd.isOpen()) {
    Log(LOG_LEVEL_DEBUG, "%s - Open %s failed, 0x%08x", operation, path.c_str(),
        static_cast<unsigned>(errno));
    return false;
  }
  if (!issueDriveCommand(fd.get(), HDIO_DRIVE_CMD, &block)) {
    Log(LOG_LEVEL_DEBUG, "%s - Ioctl failed, 0x%08x", operation, static_cast<unsigned>(errno));
    return false;
  }
  return true;
}

void readAttribute(const std::uint8_t* entry, SsdAttr& attribute) {
  using namespace ata::smart;
  attribute.index = entry[kIdOffset];
  attribute.flags = bytes::littleEndian16(entry, kFlagsOffset);
  attribute.current = entry[kCurrentOffset];
  attribute.worst = entry[kWorstOffset];
  attribute.raw = bytes::littleEndian(entry, kRawOffset, kRawLength);
}

struct FlagName {
  std::uint16_t flag;
  const char* name;
};

constexpr std::array<FlagName, 6> kFlagNames = {{
    {0x01, "  ATTRIBUTE_FLAGS_PREFAILURE"},
    {0x02, "  ATTRIBUTE_FLAGS_ONLINE"},
    {0x04, "  ATTRIBUTE_FLAGS_PERFORMANCE"},
    {0x08, "  ATTRIBUTE_FLAGS_ERRORRATE"},
    {0x10, "  ATTRIBUTE_FLAGS_EVENTCOUNT"},
    {0x20, "  ATTRIBUTE_FLAGS_SELFPRESERVING"},
}};

void traceAttribute(const SsdAttr& attribute) {
  const auto rawByte = [&attribute](unsigned index) {
    return static_cast<unsigned>(attribute.raw >> (8 * index) & 0xFF);
  };
  Log(LOG_LEVEL_TRACE, "==============================");
  Log(LOG_LEVEL_TRACE, "Index: %d", attribute.index);
  Log(LOG_LEVEL_TRACE, "Flags: 0x%02x", attribute.flags);
  for (const FlagName& known : kFlagNames) {
    if ((attribute.flags & known.flag) != 0) {
      Log(LOG_LEVEL_TRACE, "%s", known.name);
    }
  }
  Log(LOG_LEVEL_TRACE, "Current: 0x%02x, %d", attribute.current, attribute.current);
  Log(LOG_LEVEL_TRACE, "Worst: 0x%02x, %d", attribute.worst, attribute.worst);
  Log(LOG_LEVEL_TRACE, "0x%02x 0x%02x 0x%02x 0x%02x 0x%02x 0x%02x ", rawByte(0), rawByte(1),
      rawByte(2), rawByte(3), rawByte(4), rawByte(5));
  Log(LOG_LEVEL_TRACE, ",  0x%0llx, %lld\n", static_cast<unsigned long long>(attribute.raw),
      static_cast<long long>(attribute.raw));
  Log(LOG_LEVEL_TRACE, "==============================");
}

}  // namespace

bool SmartIo::smartEnable(const std::string& path) {
  DriveCommandBlock<1> block;
  block.sectorNumber = 0x01;
  block.feature = ata::kSmartEnableOperations;
  return smartCommand("SmartIo::smartEnable", path, block);
}

bool SmartIo::getSsdSmartValues(const std::string& path, std::uint8_t* buffer,
                                std::uint32_t length) {
  if (length < ata::kSectorSize) {
    errno = EINVAL;
    return false;
  }
  DriveCommandBlock<1> block;
  block.feature = ata::kSmartReadData;
  block.sectorCount = 1;
  if (!smartCommand("SmartIo::getSsdSmartValues", path, block)) {
    return false;
  }
  std::memcpy(buffer, block.data.data(), block.data.size());
  return true;
}

bool SmartIo::getSsdSmartValues(const std::string& path, SsdValues& values) {
  std::unique_ptr<std::uint8_t[]> sector(new (std::nothrow) std::uint8_t[ata::kSectorSize]());
  if (sector == nullptr || !getSsdSmartValues(path, sector.get(), ata::kSectorSize)) {
    Log(LOG_LEVEL_ERROR, "SmartIo::getSsdSmartValues - failed to get value data, err=0x%08x",
        static_cast<unsigned>(errno));
    return false;
  }
  values.attributes.reserve(values.attributes.size() + ata::smart::kAttributeCount);
  for (std::size_t i = 0; i < ata::smart::kAttributeCount; ++i) {
    const std::uint8_t* entry =
        sector.get() + ata::smart::kFirstAttributeOffset + i * ata::smart::kAttributeSize;
    if (entry[ata::smart::kIdOffset] == 0) {
      continue;
    }
    SsdAttr& attribute = values.attributes.emplace_back();
    readAttribute(entry, attribute);
    if (attribute.index == ata::smart::kPowerOnHours) {
      values.poweredOnHours = attribute.raw;
    }
  }
  sector.reset();
  if (values.traceAttributes) {
    for (const SsdAttr& attribute : values.attributes) {
      traceAttribute(attribute);
    }
  }
  return true;
}

bool SmartIo::getSmartLogDataAtaSmart(const std::string& path, std::uint8_t logAddress,
                                      std::uint8_t* buffer, std::uint32_t sectorCount) {
  if (sectorCount > kMostLogSectors) {
    errno = EINVAL;
    return false;
  }
  DriveCommandBlock<kMostLogSectors> block;
  block.sectorNumber = logAddress;
  block.feature = ata::kSmartReadLog;
  block.sectorCount = static_cast<std::uint8_t>(sectorCount);
  if (!smartCommand("SmartIo::getSmartLogDataAtaSmart", path, block)) {
    return false;
  }
  std::memcpy(buffer, block.data.data(), sectorCount * ata::kSectorSize);
  return true;
}
