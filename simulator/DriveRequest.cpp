#include "simulator/DriveRequest.h"

#include <linux/hdreg.h>
#include <linux/nvme_ioctl.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>

#include <array>
#include <cstring>
#include <utility>

#include "simulator/AtaFormat.h"
#include "simulator/NvmeFormat.h"

namespace simulator {

static_assert(HDIO_GET_IDENTITY == 0x030d);
static_assert(HDIO_DRIVE_CMD == 0x031f);
static_assert(SG_IO == 0x2285);
static_assert(NVME_IOCTL_ID == 0x4e40);
static_assert(NVME_IOCTL_ADMIN_CMD == 0xc0484e41);
static_assert(sizeof(nvme_admin_cmd) == 72);

namespace {

constexpr std::array<std::pair<RequestKind, std::string_view>, 5> kRequestKinds{{
    {RequestKind::hdioGetIdentity, "HDIO_GET_IDENTITY"},
    {RequestKind::hdioDriveCmd, "HDIO_DRIVE_CMD"},
    {RequestKind::sgIo, "SG_IO"},
    {RequestKind::nvmeId, "NVME_IOCTL_ID"},
    {RequestKind::nvmeAdmin, "NVME_IOCTL_ADMIN_CMD"},
}};

RequestKind kindOf(unsigned long number) {
  switch (number) {
    case HDIO_GET_IDENTITY:
      return RequestKind::hdioGetIdentity;
    case HDIO_DRIVE_CMD:
      return RequestKind::hdioDriveCmd;
    case SG_IO:
      return RequestKind::sgIo;
    case NVME_IOCTL_ID:
      return RequestKind::nvmeId;
    case NVME_IOCTL_ADMIN_CMD:
      return RequestKind::nvmeAdmin;
    default:
      return RequestKind::other;
  }
}

void decodeDriveCmd(DriveRequest& request) {
  const auto* header = static_cast<const std::uint8_t*>(request.argument);
  request.sent.assign(header, header + kDriveCmdHeader);
  request.command = header[0];
  request.feature = header[2];
  if (header[0] == ata::kSmart && header[2] == ata::kSmartReadLog) {
    request.log = header[1];
  }
}

void decodeSgIo(DriveRequest& request) {
  const auto* header = static_cast<const sg_io_hdr_t*>(request.argument);
  if (header->interface_id != 'S' || header->cmdp == nullptr || header->cmd_len == 0) {
    return;
  }
  const std::uint8_t* block = header->cmdp;
  request.sent.assign(block, block + header->cmd_len);
  request.command = block[0];
  if (block[0] != kAtaPassThrough16 || header->cmd_len != 16) {
    return;
  }
  request.command = block[14];
  request.feature = block[4];
  if (block[14] == ata::kReadLogExt) {
    request.log = block[8];
    request.page = static_cast<std::uint16_t>(block[10] | block[9] << 8);
  } else if (block[14] == ata::kSmart && block[4] == ata::kSmartReadLog) {
    request.log = block[8];
  }
}

void decodeNvme(DriveRequest& request) {
  nvme_admin_cmd command{};
  std::memcpy(&command, request.argument, sizeof command);
  request.command = command.opcode;
  if (command.opcode == nvme::kGetLogPage) {
    request.log = static_cast<std::uint8_t>(command.cdw10);
  } else if (command.opcode == nvme::kIdentify) {
    request.cns = static_cast<std::uint8_t>(command.cdw10);
  }
  // The buffer's address differs from run to run and never reaches the drive as such; neither does
  // the field that the result comes back in.
  command.addr = 0;
  command.metadata = 0;
  command.result = 0;
  request.sent.resize(sizeof command);
  std::memcpy(request.sent.data(), &command, sizeof command);
}

}  // namespace

std::string_view name(RequestKind kind) {
  for (const auto& [value, text] : kRequestKinds) {
    if (value == kind) {
      return text;
    }
  }
  return "other";
}

std::vector<std::string_view> requestNames() {
  std::vector<std::string_view> names;
  for (const auto& [kind, text] : kRequestKinds) {
    names.push_back(text);
  }
  return names;
}

DriveRequest decodeRequest(unsigned long number, void* argument) {
  DriveRequest request;
  request.kind = kindOf(number);
  request.number = number;
  request.argument = argument;
  if (argument == nullptr) {
    return request;
  }
  switch (request.kind) {
    case RequestKind::hdioDriveCmd:
      decodeDriveCmd(request);
      break;
    case RequestKind::sgIo:
      decodeSgIo(request);
      break;
    case RequestKind::nvmeAdmin:
      decodeNvme(request);
      break;
    default:
      break;
  }
  return request;
}

}  // namespace simulator
