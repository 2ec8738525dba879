#include "ssdlife/DriveNode.h"

#include <fcntl.h>
#include <linux/hdreg.h>
#include <linux/nvme_ioctl.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include <algorithm>
#include <array>
#include <system_error>

#include "device/AtaFormat.h"
#include "device/NvmeFormat.h"
#include "ssdlife/Failure.h"

namespace ssdlife {
namespace {

constexpr std::size_t kRegisters = 4;  // HDIO_DRIVE_CMD: command, sector, feature, count
constexpr unsigned kScsiTimeoutMilliseconds = 2000;

using Sense = std::array<std::uint8_t, 32>;

std::string hex(unsigned value) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "0x%02x", value);
  return text.data();
}

DriveAnswer refused() { return {false, std::generic_category().message(errno), {}}; }

// A positive result is what the drive or its driver says, not an errno.
DriveAnswer outcome(int result, const char* status) {
  if (result == 0) {
    return {true, "", {}};
  }
  return result < 0 ? refused()
                    : DriveAnswer{false, status + hex(static_cast<unsigned>(result)), {}};
}

std::array<std::uint8_t, ata::passThrough16::kCdbSize> readLogExtBlock(std::uint8_t log,
                                                                       std::uint8_t page) {
  using namespace ata::passThrough16;
  std::array<std::uint8_t, kCdbSize> block{};
  block[0] = kOperationCode;
  block[kProtocolByte] = kProtocolPioDataIn | kExtend;
  block[kTransferByte] = kCheckCondition | kFromDevice | kInBlocks | kLengthInSectorCount;
  block[kSectorCountByte] = 1;
  block[kLbaLowByte] = log;
  block[kLbaMidByte] = page;
  block[kCommandByte] = ata::kCommandReadLogExt;
  return block;
}

bool carriesRegisters(const Sense& sense) {
  using namespace ata::sense;
  return sense[kResponseCodeByte] == kDescriptorFormat &&
         sense[kAdditionalLengthByte] == kAdditionalLength &&
         sense[kDescriptorCodeByte] == kAtaStatusReturn &&
         sense[kDescriptorLengthByte] == kAtaStatusReturnLength;
}

// As the provider judges it: by the places of the registers, whatever the form of the sense data.
DriveAnswer judge(const Sense& sense, unsigned scsiStatus) {
  const unsigned status = sense[ata::sense::kStatusByte];
  const unsigned error = sense[ata::sense::kErrorByte];
  const std::string registers = "registers: error " + hex(error) + ", status " + hex(status);
  const bool good = status == ata::sense::kStatusGood && error == 0;
  if (carriesRegisters(sense)) {
    return {good, registers, {}};
  }
  if (good) {
    return {true, registers + " in sense data of another form", {}};
  }
  const bool empty =
      std::all_of(sense.begin(), sense.end(), [](std::uint8_t byte) { return byte == 0; });
  return {false,
          empty ? "no sense data, so no registers (SCSI status " + hex(scsiStatus) + ")"
                : "sense data without registers (SCSI status " + hex(scsiStatus) + ", sense " +
                      hex(sense[0]) + ", key " + hex(sense[0] >= 0x72 ? sense[1] : sense[2]) + ")",
          {}};
}

}  // namespace

DriveNode::DriveNode(const std::string& path)
    : descriptor_(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {
  if (descriptor_ < 0) {
    throw Failure(ExitCode::kNothing,
                  path + " can't be opened: " + std::generic_category().message(errno));
  }
}

DriveNode::~DriveNode() { close(descriptor_); }

DriveAnswer DriveNode::ataIdentify() const {
  std::vector<std::uint8_t> data(ata::kSectorSize);
  DriveAnswer answer = outcome(ioctl(descriptor_, HDIO_GET_IDENTITY, data.data()), "result ");
  answer.data = std::move(data);
  return answer;
}

DriveAnswer DriveNode::smart(std::uint8_t feature, std::uint8_t sector,
                             std::uint8_t sectors) const {
  std::vector<std::uint8_t> block(kRegisters +
                                  std::max<std::size_t>(sectors, 1) * ata::kSectorSize);
  block[0] = ata::kCommandSmart;
  block[1] = sector;
  block[2] = feature;
  block[3] = sectors;
  DriveAnswer answer = outcome(ioctl(descriptor_, HDIO_DRIVE_CMD, block.data()), "result ");
  answer.data.assign(block.begin() + kRegisters, block.end());
  return answer;
}

DriveAnswer DriveNode::readLogExt(std::uint8_t log, std::uint8_t page) const {
  auto block = readLogExtBlock(log, page);
  std::vector<std::uint8_t> data(ata::kSectorSize);
  Sense sense{};
  sg_io_hdr request{};
  request.interface_id = 'S';
  request.dxfer_direction = SG_DXFER_FROM_DEV;
  request.cmd_len = block.size();
  request.cmdp = block.data();
  request.mx_sb_len = sense.size();
  request.sbp = sense.data();
  request.dxfer_len = static_cast<unsigned>(data.size());
  request.dxferp = data.data();
  request.timeout = kScsiTimeoutMilliseconds;
  DriveAnswer answer = outcome(ioctl(descriptor_, SG_IO, &request), "result ");
  if (answer.done) {
    answer = judge(sense, request.status);
  }
  answer.data = std::move(data);
  return answer;
}

DriveAnswer DriveNode::nvmeIdentifyController() const {
  return nvme(::nvme::kOpcodeIdentify, ::nvme::kNoNamespace, ::nvme::identify::kCnsController,
              ::nvme::identify::kDataLength);
}

DriveAnswer DriveNode::nvmeHealthLog() const {
  using namespace ::nvme;
  const std::uint32_t dwords = health::kLogLength / 4 - 1;
  return nvme(kOpcodeGetLogPage, kAllNamespaces,
              logPage::kHealth | dwords << logPage::kDwordCountShift, health::kLogLength);
}

DriveAnswer DriveNode::nvme(std::uint8_t opcode, std::uint32_t namespaceId, std::uint32_t dword10,
                            std::uint32_t length) const {
  std::vector<std::uint8_t> data(length);
  nvme_admin_cmd command{};
  command.opcode = opcode;
  command.nsid = namespaceId;
  command.cdw10 = dword10;
  command.addr = reinterpret_cast<std::uintptr_t>(data.data());
  command.data_len = length;
  DriveAnswer answer = outcome(ioctl(descriptor_, NVME_IOCTL_ADMIN_CMD, &command), "NVMe status ");
  if (answer.done && command.result != 0) {
    answer = {false, "completion result " + hex(command.result), {}};
  }
  answer.data = std::move(data);
  return answer;
}

}  // namespace ssdlife
