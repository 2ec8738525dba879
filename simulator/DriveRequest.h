#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "simulator/Bytes.h"

namespace simulator {

enum class RequestKind { hdioGetIdentity, hdioDriveCmd, sgIo, nvmeId, nvmeAdmin, other };

// The names that machine files and the journal use: "SG_IO" and so on; "other" for the rest.
std::string_view name(RequestKind kind);
// Those of all kinds but "other", in their order.
std::vector<std::string_view> requestNames();

// One ioctl on a drive's node, as far as it can be told from the outside: the call itself, and what
// the caller asks of the drive. The optional fields hold what the request carries.
struct DriveRequest {
  RequestKind kind = RequestKind::other;
  unsigned long number = 0;
  void* argument = nullptr;

  std::optional<std::uint8_t>
      command;  // ATA command, or the opcode of another SCSI or NVMe command
  std::optional<std::uint8_t> feature;  // ATA feature register
  std::optional<std::uint8_t> log;      // log address or identifier of a command that reads a log
  std::optional<std::uint16_t> page;    // its page, where the command names one
  std::optional<std::uint8_t> cns;      // NVMe Identify

  Bytes sent;  // the bytes that go to the drive: header, command descriptor block, NVMe command
};

// The layout of the HDIO_DRIVE_CMD argument (linux/hdreg.h): four registers, then the data.
constexpr std::size_t kDriveCmdHeader = 4;

// The layout of the ATA PASS-THROUGH (16) block, SAT-3 (INCITS 517) 12.2.2.3.
constexpr std::uint8_t kAtaPassThrough16 = 0x85;
constexpr std::uint8_t kCheckCondition = 0x20;  // CK_COND in byte 2
constexpr std::uint8_t kExtend = 0x01;          // EXTEND in byte 1

// Reads the fields out of a call's number and argument. The argument must be what the kernel would
// accept there; a null argument leaves the fields empty.
DriveRequest decodeRequest(unsigned long number, void* argument);

}  // namespace simulator
