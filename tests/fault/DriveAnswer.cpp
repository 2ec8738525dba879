#include "tests/fault/DriveAnswer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <linux/hdreg.h>
#include <linux/nvme_ioctl.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>

namespace fault {

namespace {

constexpr std::size_t kSector = 512;

void put(std::uint8_t* field, const std::string& text, std::size_t width) {
  std::memset(field, ' ', width);
  std::copy_n(text.begin(), std::min(text.size(), width), field);
}

void put(std::uint8_t* field, std::uint64_t number, std::size_t width) {
  for (std::size_t i = 0; i < width; ++i) {
    field[i] = static_cast<std::uint8_t>(number >> (8 * i));
  }
}

void identity(const Drive& drive, std::uint8_t* sector) {
  std::memset(sector, 0, kSector);
  put(sector + 20, drive.serialNumber, 20);
  put(sector + 46, "1.0", 8);
  put(sector + 54, drive.model, 40);
  sector[160] = 0xF0;
  sector[434] = 1;
}

void smartData(const Drive& drive, std::uint8_t* sector) {
  sector[2] = 9;
  put(sector + 2 + 5, drive.hours.load(std::memory_order_relaxed), 6);
  if (drive.kind == Drive::kAttribute) {
    sector[2 + 12] = 230;
    sector[2 + 12 + 3] = drive.percentage.load(std::memory_order_relaxed);
  }
}

/// Page `page` of log `log`.
void logPage(const Drive& drive, unsigned log, unsigned page, std::uint8_t* sector) {
  if (log == 0) {
    sector[0] = 1;
    sector[8] = 8;
  } else if (page == 7) {
    sector[2] = 7;
    sector[8] = drive.percentage.load(std::memory_order_relaxed);
    sector[15] = 0xC0;
  }
}

int driveCommand(const Drive& drive, std::uint8_t* block) {
  std::uint8_t* data = block + 4;
  std::memset(data, 0, block[3] * kSector);
  if (block[2] == 0xD0) {
    smartData(drive, data);
  } else if (block[2] == 0xD5) {
    for (unsigned page = 0; page < block[3]; ++page) {
      logPage(drive, block[1], page, data + page * kSector);
    }
  }
  return 0;
}

int scsiCommand(const Drive& drive, sg_io_hdr& request, bool badResult) {
  auto* data = static_cast<std::uint8_t*>(request.dxferp);
  std::memset(data, 0, kSector);
  logPage(drive, request.cmdp[8], request.cmdp[10], data);
  const std::uint8_t sense[22] = {0x72, 1, 0, 0x1D, 0, 0, 0, 0x0E, 9, 0x0C, 0, 0};
  std::copy(std::begin(sense), std::end(sense), request.sbp);
  request.sbp[11] = badResult ? 0x04 : 0;
  request.sbp[21] = badResult ? 0x51 : 0x50;
  return 0;
}

int nvmeCommand(const Drive& drive, nvme_admin_cmd& command, bool badResult) {
  command.result = badResult ? 6 : 0;
  auto* data = reinterpret_cast<std::uint8_t*>(command.addr);
  if (command.opcode == 6 && command.cdw10 == 1) {
    put(data + 4, drive.serialNumber, 20);
    put(data + 24, drive.model, 40);
    put(data + 64, "1.0", 8);
    put(data + 516, 1, 4);
  } else if (command.opcode == 2) {
    data[5] = drive.percentage.load(std::memory_order_relaxed);
    put(data + 128, drive.hours.load(std::memory_order_relaxed), 8);
  }
  return 0;
}

}  // namespace

std::string questionOf(unsigned long request, const void* argument) {
  if (request == HDIO_GET_IDENTITY) {
    return "identity";
  }
  if (request == HDIO_DRIVE_CMD) {
    const auto* block = static_cast<const std::uint8_t*>(argument);
    return block[2] == 0xD8   ? "smart enable"
           : block[2] == 0xD0 ? "smart data"
           : block[1] == 0    ? "log directory"
                              : "statistics";
  }
  if (request == SG_IO) {
    return static_cast<const sg_io_hdr*>(argument)->cmdp[8] == 0 ? "log directory" : "statistics";
  }
  if (request == NVME_IOCTL_ID) {
    return "namespace id";
  }
  const auto& command = *static_cast<const nvme_admin_cmd*>(argument);
  return command.opcode == 2  ? "health log"
         : command.cdw10 == 1 ? "identify controller"
                              : "identify namespace";
}

int answer(const Drive& drive, unsigned long request, void* argument, bool badResult) {
  if (request == NVME_IOCTL_ADMIN_CMD) {
    return nvmeCommand(drive, *static_cast<nvme_admin_cmd*>(argument), badResult);
  }
  if (request == SG_IO) {
    return scsiCommand(drive, *static_cast<sg_io_hdr*>(argument), badResult);
  }
  if (badResult || (request == NVME_IOCTL_ID)) {
    errno = badResult ? EIO : ENOTTY;
    return -1;  // a controller's own node has no namespace
  }
  if (request == HDIO_GET_IDENTITY) {
    identity(drive, static_cast<std::uint8_t*>(argument));
    return 0;
  }
  return driveCommand(drive, static_cast<std::uint8_t*>(argument));
}

}  // namespace fault
