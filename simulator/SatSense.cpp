#include "simulator/SatSense.h"

#include <algorithm>
#include <cstddef>

#include "simulator/AtaFormat.h"

namespace simulator {

namespace {

// SCSI status and the host's own flags (linux/drivers/scsi, include/scsi/sg.h).
constexpr unsigned char kScsiCheckCondition = 0x02;
constexpr unsigned short kDriverSense = 0x08;

// ATA Status Return descriptor, SAT-3 12.2.6.
constexpr std::uint8_t kDescriptorFormat = 0x72;
constexpr std::uint8_t kAtaStatusReturn = 0x09;
constexpr std::uint8_t kAtaStatusReturnLength = 0x0c;
constexpr std::uint8_t kPassThroughInformationAvailable = 0x1d;

constexpr std::size_t kFixedSize = 18;
constexpr std::uint8_t kFixedFormat = 0x70;

std::uint8_t byteOf(std::uint64_t value, unsigned index) {
  return static_cast<std::uint8_t>(value >> (8 * index));
}

// The kernel's table from status and error registers to sense key and code (libata).
Bytes failureSense(const AtaResult& result) {
  if ((result.status & ata::kStatusBusy) == 0 && !result.timedOut) {
    if ((result.error & 0x84) == 0x84) {  // interface CRC
      return fixedSense(kAbortedCommand, 0x47, 0x00);
    }
    if ((result.error & ata::kErrorAbort) != 0) {
      return fixedSense(kAbortedCommand, 0x00, 0x00);
    }
    if ((result.error & 0x10) != 0) {  // address not found
      return fixedSense(kIllegalRequest, 0x21, 0x00);
    }
    if ((result.error & 0x40) != 0) {  // uncorrectable
      return fixedSense(kMediumError, 0x11, 0x04);
    }
  }
  if ((result.status & ata::kStatusBusy) == 0 && (result.status & ata::kStatusDeviceFault) != 0) {
    return fixedSense(kHardwareError, 0x44, 0x00);
  }
  return fixedSense(kAbortedCommand, 0x00, 0x00);
}

}  // namespace

bool AtaResult::failed() const {
  constexpr std::uint8_t kFailing =
      ata::kStatusBusy | ata::kStatusDeviceFault | ata::kStatusError | ata::kStatusDataRequest;
  return timedOut || (status & kFailing) != 0;
}

Bytes fixedSense(std::uint8_t key, std::uint8_t code, std::uint8_t qualifier) {
  Bytes sense(kFixedSize, 0);
  sense[0] = kFixedFormat;
  sense[2] = key;
  sense[7] = kFixedSize - 8;
  sense[12] = code;
  sense[13] = qualifier;
  return sense;
}

Bytes passThroughSense(const AtaResult& result, bool extended) {
  if (result.failed()) {
    // SAT-3 12.2.5: registers in the information and command-specific fields.
    Bytes sense = failureSense(result);
    sense[8] = result.error;
    sense[9] = result.status;
    sense[10] = result.device;
    sense[11] = byteOf(result.count, 0);
    if (extended) {
      sense[16] = static_cast<std::uint8_t>(0x80 | (byteOf(result.count, 1) != 0 ? 0x40 : 0) |
                                            (result.lba >> 24 != 0 ? 0x20 : 0));
    }
    sense[17] = byteOf(result.lba, 0);
    return sense;
  }
  Bytes sense(8 + 2 + kAtaStatusReturnLength, 0);
  sense[0] = kDescriptorFormat;
  sense[1] = kRecoveredError;
  sense[3] = kPassThroughInformationAvailable;
  sense[7] = 2 + kAtaStatusReturnLength;
  sense[8] = kAtaStatusReturn;
  sense[9] = kAtaStatusReturnLength;
  sense[11] = result.error;
  sense[13] = byteOf(result.count, 0);
  sense[15] = byteOf(result.lba, 0);
  sense[17] = byteOf(result.lba, 1);
  sense[19] = byteOf(result.lba, 2);
  sense[20] = result.device;
  sense[21] = result.status;
  if (extended) {
    sense[10] = 0x01;
    sense[12] = byteOf(result.count, 1);
    sense[14] = byteOf(result.lba, 3);
    sense[16] = byteOf(result.lba, 4);
    sense[18] = byteOf(result.lba, 5);
  }
  return sense;
}

void completeGood(sg_io_hdr_t& header) {
  header.status = 0;
  header.masked_status = 0;
  header.msg_status = 0;
  header.sb_len_wr = 0;
  header.host_status = 0;
  header.driver_status = 0;
  header.resid = 0;
  header.info = SG_INFO_OK;
}

void completeWithSense(sg_io_hdr_t& header, const Bytes& sense) {
  completeGood(header);
  header.status = kScsiCheckCondition;
  header.masked_status = kScsiCheckCondition >> 1;
  header.driver_status = kDriverSense;
  header.info = SG_INFO_CHECK;
  if (header.sbp == nullptr) {
    return;
  }
  const std::size_t length = std::min<std::size_t>(header.mx_sb_len, sense.size());
  std::copy_n(sense.begin(), length, header.sbp);
  header.sb_len_wr = static_cast<unsigned char>(length);
}

}  // namespace simulator
