#include <fcntl.h>
#include <linux/hdreg.h>
#include <linux/nvme_ioctl.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include <algorithm>

#include "tests/simulator/probe/Probe.h"

namespace probe {

namespace {

// What stands in memory that a call was not to touch.
constexpr unsigned char kUntouched = 0xee;

unsigned char number(const std::string& text) {
  return static_cast<unsigned char>(std::strtoul(text.c_str(), nullptr, 16));
}

}  // namespace

std::string identity(const Arguments& arguments) {
  const int fd = open(arguments.at(0).c_str(), O_RDONLY);
  if (fd < 0) {
    return "open " + outcome(fd);
  }
  unsigned char data[512] = {};
  errno = 0;
  std::string line = outcome(ioctl(fd, HDIO_GET_IDENTITY, data));
  close(fd);
  return line + " " + hex(data, sizeof data);
}

// drivecmd:PATH:COMMAND:SECTOR:FEATURE:COUNT
std::string driveCommand(const Arguments& arguments) {
  const int fd = open(arguments.at(0).c_str(), O_RDONLY);
  if (fd < 0) {
    return "open " + outcome(fd);
  }
  unsigned char block[4 + 4096] = {};
  for (std::size_t i = 0; i < 4; ++i) {
    block[i] = number(arguments.at(i + 1));
  }
  errno = 0;
  std::string line = outcome(ioctl(fd, HDIO_DRIVE_CMD, block));
  close(fd);
  char header[16];
  std::snprintf(header, sizeof header, "%02x%02x%02x%02x", block[0], block[1], block[2], block[3]);
  return line + " " + header + " " + hex(block + 4, sizeof block - 4);
}

// readlog:PATH:LOG:PAGE
std::string readLogExt(const Arguments& arguments) {
  const int fd = open(arguments.at(0).c_str(), O_RDONLY);
  if (fd < 0) {
    return "open " + outcome(fd);
  }
  unsigned char block[16] = {0x85, 0x09, 0x2e};
  block[6] = 1;
  block[8] = number(arguments.at(1));
  block[10] = number(arguments.at(2));
  block[14] = 0x2f;
  unsigned char sense[32] = {};
  unsigned char data[512];
  std::fill(data, data + sizeof data, kUntouched);
  sg_io_hdr_t header{};
  header.interface_id = 'S';
  header.dxfer_direction = SG_DXFER_FROM_DEV;
  header.cmd_len = sizeof block;
  header.mx_sb_len = sizeof sense;
  header.dxfer_len = sizeof data;
  header.dxferp = data;
  header.cmdp = block;
  header.sbp = sense;
  header.timeout = 2000;
  errno = 0;
  std::string line = outcome(ioctl(fd, SG_IO, &header));
  close(fd);
  char status[64];
  std::snprintf(status, sizeof status,
                " status=%02x host=%02x driver=%02x length=%u sense=", header.status,
                header.host_status, header.driver_status, header.sb_len_wr);
  return line + status + hex(sense, sizeof sense) + " data=" + hex(data, sizeof data);
}

std::string nvmeId(const Arguments& arguments) {
  const int fd = open(arguments.at(0).c_str(), O_RDONLY | O_NONBLOCK);
  if (fd < 0) {
    return "open " + outcome(fd);
  }
  const int result = ioctl(fd, NVME_IOCTL_ID);
  std::string line = result < 0 ? outcome(result) : std::to_string(result);
  close(fd);
  return line;
}

// nvmeadmin:PATH:OPCODE:NSID:CDW10:LENGTH
std::string nvmeAdmin(const Arguments& arguments) {
  const int fd = open(arguments.at(0).c_str(), O_RDONLY | O_NONBLOCK);
  if (fd < 0) {
    return "open " + outcome(fd);
  }
  const auto length = static_cast<std::uint32_t>(std::stoul(arguments.at(4)));
  std::vector<unsigned char> data(length);
  nvme_admin_cmd command{};
  command.opcode = number(arguments.at(1));
  command.nsid = static_cast<std::uint32_t>(std::stoul(arguments.at(2), nullptr, 16));
  command.cdw10 = static_cast<std::uint32_t>(std::stoul(arguments.at(3), nullptr, 16));
  command.addr = reinterpret_cast<std::uintptr_t>(data.data());
  command.data_len = length;
  command.result = 0xeeeeeeee;
  errno = 0;
  const int result = ioctl(fd, NVME_IOCTL_ADMIN_CMD, &command);
  std::string line = result < 0 ? outcome(result) : "returned " + std::to_string(result);
  const int after = errno;
  close(fd);
  line += " errno=" + std::string(result < 0 || after != 0 ? errnoText(after) : "0");
  return line + " result=" + std::to_string(command.result) +
         " data=" + hex(data.data(), data.size());
}

// Asks a pipe for its identity that has the number of a drive's descriptor that was closed.
std::string reuseDescriptor(const Arguments& arguments) {
  const int fd = open(arguments.at(0).c_str(), O_RDONLY);
  close(fd);
  int ends[2] = {-1, -1};
  if (pipe(ends) != 0 || ends[0] != fd) {
    return "not the same descriptor";
  }
  unsigned char data[512] = {};
  std::string line = outcome(ioctl(fd, HDIO_GET_IDENTITY, data));
  close(ends[0]);
  close(ends[1]);
  return line;
}

}  // namespace probe
