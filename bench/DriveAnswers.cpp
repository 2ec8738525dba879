#include "bench/DriveAnswers.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include <linux/hdreg.h>
#include <linux/nvme_ioctl.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>

#include "bench/Machine.h"
#include "device/AtaFormat.h"
#include "device/NvmeFormat.h"

namespace {

using Sector = std::array<std::uint8_t, ata::kSectorSize>;

template <typename Block>
void putText(Block& block, std::size_t offset, std::size_t length, std::string_view text) {
  std::memset(block.data() + offset, ' ', length);
  std::memcpy(block.data() + offset, text.data(), std::min(length, text.size()));
}

template <typename Block>
void putNumber(Block& block, std::size_t offset, std::size_t width, std::uint64_t value) {
  for (std::size_t i = 0; i < width; ++i) {
    block[offset + i] = static_cast<std::uint8_t>(value >> (8 * i));
  }
}

Sector makeIdentify() {
  using namespace ata::identify;
  Sector sector{};
  putText(sector, kModelOffset, kModelLength, bench::kModel);
  putText(sector, kSerialNumberOffset, kSerialNumberLength, bench::kSerialNumber);
  putText(sector, kFirmwareOffset, kFirmwareLength, bench::kFirmware);
  putNumber(sector, kMajorVersionOffset, 2, 0x03F0);
  putNumber(sector, kRotationRateOffset, 2, kNonRotatingMedium);
  return sector;
}

/// As many attributes as a common SATA SSD has, with power-on hours second and wear last.
Sector makeSmartData() {
  using namespace ata::smart;
  constexpr std::array<std::uint8_t, 17> kIds = {5,   9,   12,  165, 166, 167, 168, 169, 171,
                                                 172, 173, 174, 184, 187, 188, 194, 230};
  Sector sector{};
  putNumber(sector, 0, 2, 0x0010);
  std::size_t entry = kFirstAttributeOffset;
  for (const std::uint8_t id : kIds) {
    sector[entry + kIdOffset] = id;
    putNumber(sector, entry + kFlagsOffset, 2, 0x0032);
    sector[entry + kCurrentOffset] = id == 230 ? bench::kSanDiskPercentage : 100;
    sector[entry + kWorstOffset] = 100;
    putNumber(sector, entry + kRawOffset, kRawLength,
              id == kPowerOnHours ? bench::kPowerOnHours : id);
    entry += kAttributeSize;
  }
  return sector;
}

Sector makeLogDirectory() {
  Sector sector{};
  putNumber(sector, 0, 2, 1);
  putNumber(sector, ata::kLogDeviceStatistics * ata::kDirectoryEntrySize, 2, 8);
  return sector;
}

Sector makeSolidStatePage() {
  using namespace ata::statistics;
  Sector sector{};
  sector[kPageNumberOffset] = kSolidStatePage;
  sector[kPercentageUsedOffset] = bench::kStatisticsPercentage;
  sector[kPercentageUsedFlagsOffset] = kFlagSupported | kFlagValid | kFlagNormalized;
  return sector;
}

std::array<std::uint8_t, ata::sense::kUsedLength> makeSense() {
  using namespace ata::sense;
  std::array<std::uint8_t, kUsedLength> sense{};
  sense[kResponseCodeByte] = kDescriptorFormat;
  sense[kAdditionalLengthByte] = kAdditionalLength;
  sense[kDescriptorCodeByte] = kAtaStatusReturn;
  sense[kDescriptorLengthByte] = kAtaStatusReturnLength;
  sense[kStatusByte] = kStatusGood;
  return sense;
}

Sector makeHealthLog() {
  using namespace nvme::health;
  Sector log{};
  log[kPercentageUsedOffset] = bench::kNvmePercentage;
  putNumber(log, kPowerOnHoursOffset, kPowerOnHoursLength, bench::kPowerOnHours);
  return log;
}

const Sector kIdentify = makeIdentify();
const Sector kSmartData = makeSmartData();
const Sector kLogDirectory = makeLogDirectory();
const Sector kSolidState = makeSolidStatePage();
const auto kSense = makeSense();
const Sector kHealthLog = makeHealthLog();

bool answerDriveCommand(std::uint8_t* block) {
  const std::uint8_t feature = block[2];
  block[0] = ata::sense::kStatusGood;
  if (feature == ata::kSmartReadData) {
    std::memcpy(block + 4, kSmartData.data(), kSmartData.size());
  }
  return feature == ata::kSmartReadData || feature == ata::kSmartEnableOperations;
}

bool answerPassThrough(const sg_io_hdr& request) {
  const bool directory = request.cmdp[ata::passThrough16::kLbaLowByte] == ata::kLogDirectory;
  const Sector& page = directory ? kLogDirectory : kSolidState;
  std::memcpy(request.dxferp, page.data(), page.size());
  std::memcpy(request.sbp, kSense.data(), kSense.size());
  return true;
}

bool answerAdminCommand(nvme_admin_cmd& command) {
  if (command.opcode != nvme::kOpcodeGetLogPage) {
    return false;
  }
  std::memcpy(reinterpret_cast<void*>(command.addr), kHealthLog.data(), kHealthLog.size());
  command.result = 0;
  return true;
}

}  // namespace

bool bench::answer(unsigned long request, void* argument) {
  switch (request) {
    case HDIO_GET_IDENTITY:
      std::memcpy(argument, kIdentify.data(), kIdentify.size());
      return true;
    case HDIO_DRIVE_CMD:
      return answerDriveCommand(static_cast<std::uint8_t*>(argument));
    case SG_IO:
      return answerPassThrough(*static_cast<const sg_io_hdr*>(argument));
    case NVME_IOCTL_ADMIN_CMD:
      return answerAdminCommand(*static_cast<nvme_admin_cmd*>(argument));
    default:
      return false;
  }
}
