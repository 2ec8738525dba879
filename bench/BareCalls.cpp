#include "bench/BareCalls.h"

#include <array>

#include <fcntl.h>
#include <linux/hdreg.h>
#include <linux/nvme_ioctl.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "device/AtaFormat.h"
#include "device/Bytes.h"
#include "device/NvmeFormat.h"

namespace {

/// Where DriveAnswers.cpp puts them among the attributes.
constexpr std::size_t kHoursEntry = 1;
constexpr std::size_t kWearEntry = 16;

using SmartBlock = std::array<std::uint8_t, 4 + ata::kSectorSize>;
using Page = std::array<std::uint8_t, ata::kSectorSize>;

const std::uint8_t* attribute(const SmartBlock& block, std::size_t index) {
  using namespace ata::smart;
  return block.data() + 4 + kFirstAttributeOffset + index * kAttributeSize;
}

/// Asks one question on a node of its own.
void ask(const char* node, unsigned long request, void* argument) {
  const int fd = open(node, O_RDONLY);
  ioctl(fd, request, argument);
  close(fd);
}

void readSmartData(const char* node, SmartBlock& block) {
  block[0] = ata::kCommandSmart;
  block[1] = 0;
  block[2] = ata::kSmartReadData;
  block[3] = 1;
  ask(node, HDIO_DRIVE_CMD, block.data());
}

void readLogPage(const char* node, std::uint8_t log, std::uint8_t number, Page& page) {
  std::array<std::uint8_t, 16> cdb = {0x85, 0x09, 0x2E,   0, 0, 0, 1,    0,
                                      log,  0,    number, 0, 0, 0, 0x2F, 0};
  std::array<std::uint8_t, 32> sense;
  sg_io_hdr request{};
  request.interface_id = 'S';
  request.dxfer_direction = SG_DXFER_FROM_DEV;
  request.cmd_len = cdb.size();
  request.mx_sb_len = sense.size();
  request.dxfer_len = static_cast<unsigned>(page.size());
  request.dxferp = page.data();
  request.cmdp = cdb.data();
  request.sbp = sense.data();
  request.timeout = 2000;
  ask(node, SG_IO, &request);
}

std::uint64_t hoursOf(const SmartBlock& block) {
  using namespace ata::smart;
  return bytes::littleEndian(attribute(block, kHoursEntry), kRawOffset, kRawLength);
}

}  // namespace

bench::Reading bench::readNvmeBare(const char* node) {
  Page log;
  nvme_admin_cmd command{};
  command.opcode = nvme::kOpcodeGetLogPage;
  command.nsid = nvme::kAllNamespaces;
  command.addr = reinterpret_cast<std::uintptr_t>(log.data());
  command.data_len = static_cast<std::uint32_t>(log.size());
  command.cdw10 = nvme::logPage::kHealth | 127U << nvme::logPage::kDwordCountShift;
  const int fd = open(node, O_RDONLY | O_NONBLOCK);
  fcntl(fd, F_SETFD, FD_CLOEXEC);
  ioctl(fd, NVME_IOCTL_ADMIN_CMD, &command);
  close(fd);
  using namespace nvme::health;
  return {log[kPercentageUsedOffset],
          bytes::littleEndian(log.data(), kPowerOnHoursOffset, kPowerOnHoursLength)};
}

bench::Reading bench::readSanDiskBare(const char* node) {
  SmartBlock block;
  readSmartData(node, block);
  return {attribute(block, kWearEntry)[ata::smart::kCurrentOffset], hoursOf(block)};
}

bench::Reading bench::readStatisticsBare(const char* node) {
  Page page;
  readLogPage(node, ata::kLogDirectory, 0, page);
  readLogPage(node, ata::kLogDeviceStatistics, ata::statistics::kSolidStatePage, page);
  SmartBlock block;
  readSmartData(node, block);
  return {page[ata::statistics::kPercentageUsedOffset], hoursOf(block)};
}
