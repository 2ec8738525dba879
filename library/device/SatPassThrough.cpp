// SmartIo: ATA log pages through SCSI/ATA translation.

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <scsi/sg.h>

#include "base/UniqueFd.h"
#include "device/AtaFormat.h"
#include "device/DriveCommand.h"
#include "device/SmartIo.h"
#include "log/Log.h"

static_assert(SG_IO == 0x2285);

namespace {

using Cdb = std::array<std::uint8_t, ata::passThrough16::kCdbSize>;
using Sense = std::array<std::uint8_t, 32>;

constexpr unsigned kTimeoutMilliseconds = 2000;

Cdb readLogExt(std::uint8_t logAddress, std::uint8_t pageNumber) {
  using namespace ata::passThrough16;
  Cdb cdb{};
  cdb[0] = kOperationCode;
  cdb[kProtocolByte] = kProtocolPioDataIn | kExtend;
  cdb[kTransferByte] = kCheckCondition | kFromDevice | kInBlocks | kLengthInSectorCount;
  cdb[kSectorCountByte] = 1;
  cdb[kLbaLowByte] = logAddress;
  cdb[kLbaMidByte] = pageNumber;
  cdb[kCommandByte] = ata::kCommandReadLogExt;
  return cdb;
}

bool isAtaStatusReturn(const Sense& sense) {
  using namespace ata::sense;
  return sense[kResponseCodeByte] == kDescriptorFormat &&
         sense[kAdditionalLengthByte] == kAdditionalLength &&
         sense[kDescriptorCodeByte] == kAtaStatusReturn &&
         sense[kDescriptorLengthByte] == kAtaStatusReturnLength;
}

void logSense(const Sense& sense) {
  if (!isLogged(LOG_LEVEL_DEBUG)) {
    return;
  }
  std::string text = "\n\nSense: ";
  std::array<char, 8> piece{};
  for (std::size_t i = 0; i < ata::sense::kUsedLength; ++i) {
    std::snprintf(piece.data(), piece.size(), "0x%02x ", sense[i]);
    text += piece.data();
  }
  Log(LOG_LEVEL_DEBUG, "SmartIo::getSmartLogDataSpt %s", text.c_str());
}

/// Judges the outcome by the ATA registers alone. Sense data of another form only earns a warning:
/// some translation layers put the registers into the right places all the same.
bool succeeded(const Sense& sense) {
  logSense(sense);
  if (!isAtaStatusReturn(sense)) {
    Log(LOG_LEVEL_DEBUG, "SmartIo::getSmartLogDataSpt - Warning: Bad magic");
  }
  const std::uint8_t error = sense[ata::sense::kErrorByte];
  const std::uint8_t status = sense[ata::sense::kStatusByte];
  Log(LOG_LEVEL_DEBUG, "SmartIo::getSmartLogDataSpt - error=0x%02x, status=0x%02x", error, status);
  if (status != ata::sense::kStatusGood || error != 0) {
    Log(LOG_LEVEL_ERROR, "SmartIo::getSmartLogDataSpt - SAT Specific error=0x%02x, status=0x%02x",
        error, status);
    return false;
  }
  return true;
}

}  // namespace

bool SmartIo::getSmartLogDataSpt(const std::string& path, std::uint8_t logAddress,
                                 std::uint8_t* buffer, std::uint32_t pageNumber) {
  UniqueFd fd(open(path.c_str(), O_RDONLY));
  if (!fd.isOpen()) {
    Log(LOG_LEVEL_DEBUG, "SmartIo::getSmartLogDataSpt - Open %s failed, 0x%08x", path.c_str(),
        static_cast<unsigned>(errno));
    return false;
  }
  Cdb cdb = readLogExt(logAddress, static_cast<std::uint8_t>(pageNumber));
  Sense sense{};
  std::array<std::uint8_t, ata::kSectorSize> page{};
  sg_io_hdr request{};
  request.interface_id = 'S';
  request.dxfer_direction = SG_DXFER_FROM_DEV;
  request.cmd_len = cdb.size();
  request.mx_sb_len = sense.size();
  request.dxfer_len = page.size();
  request.dxferp = page.data();
  request.cmdp = cdb.data();
  request.sbp = sense.data();
  request.timeout = kTimeoutMilliseconds;
  if (!issueDriveCommand(fd.get(), SG_IO, &request)) {
    Log(LOG_LEVEL_DEBUG, "SmartIo::getSmartLogDataSpt - Ioctl failed, 0x%08x",
        static_cast<unsigned>(errno));
    return false;
  }
  fd.reset();

  if (!succeeded(sense)) {
    errno = EIO;
    return false;
  }
  std::memcpy(buffer, page.data(), page.size());
  return true;
}
