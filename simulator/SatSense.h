#pragma once

#include <scsi/sg.h>

#include <cstdint>

#include "simulator/Bytes.h"

namespace simulator {

// The registers that an ATA command left behind.
struct AtaResult {
  std::uint8_t status = 0;
  std::uint8_t error = 0;
  std::uint16_t count = 0;
  std::uint64_t lba = 0;
  std::uint8_t device = 0;
  bool timedOut = false;  // the drive never answered

  [[nodiscard]] bool failed() const;
};

// Sense data for an ATA pass-through command, as the kernel's translation layer builds it:
// registers in a descriptor after a command that went well, fixed format after one that failed.
Bytes passThroughSense(const AtaResult& result, bool extended);

// Sense data of a SCSI command that the target refuses (fixed format, 18 bytes).
Bytes fixedSense(std::uint8_t key, std::uint8_t code, std::uint8_t qualifier);

// SCSI sense keys and codes, SPC-4 (INCITS 513) 4.5.6.
constexpr std::uint8_t kRecoveredError = 0x01;
constexpr std::uint8_t kMediumError = 0x03;
constexpr std::uint8_t kHardwareError = 0x04;
constexpr std::uint8_t kIllegalRequest = 0x05;
constexpr std::uint8_t kAbortedCommand = 0x0b;
constexpr std::uint8_t kInvalidOperationCode = 0x20;
constexpr std::uint8_t kInvalidField = 0x24;

// Ends an SG_IO request without trouble: all status fields zero, no sense data.
void completeGood(sg_io_hdr_t& header);

// Ends an SG_IO request with CHECK CONDITION and this sense data, of which the caller gets as much
// as its buffer takes; bytes behind it stay as they were.
void completeWithSense(sg_io_hdr_t& header, const Bytes& sense);

}  // namespace simulator
