#include "tests/simulator/Requests.h"

#include <linux/hdreg.h>
#include <sys/ioctl.h>
#include <algorithm>

#include "simulator/MachineFile.h"

namespace simulator::test {

MachineDescription machineOf(const std::string& json) { return parseMachine(json); }

Reply IdentityRequest::ask(Drive& drive, const Circumstances& circumstances) {
  return drive.answer(decodeRequest(HDIO_GET_IDENTITY, data.data()), circumstances);
}

std::string IdentityRequest::text(std::size_t offset, std::size_t length) const {
  return {data.begin() + static_cast<std::ptrdiff_t>(offset),
          data.begin() + static_cast<std::ptrdiff_t>(offset + length)};
}

unsigned IdentityRequest::word(std::size_t index) const {
  return data[index * 2] | static_cast<unsigned>(data[index * 2 + 1]) << 8;
}

DriveCmdRequest::DriveCmdRequest(std::array<std::uint8_t, 4> header) {
  std::copy(header.begin(), header.end(), block.begin());
}

Reply DriveCmdRequest::ask(Drive& drive, const Circumstances& circumstances) {
  return drive.answer(decodeRequest(HDIO_DRIVE_CMD, block.data()), circumstances);
}

std::string DriveCmdRequest::header() const { return toHex(block.data(), 4); }

LogRequest::LogRequest(std::uint8_t log, std::uint8_t page) {
  block[6] = 1;
  block[8] = log;
  block[10] = page;
  block[14] = 0x2f;
  data.fill(kUntouched);
  header.interface_id = 'S';
  header.dxfer_direction = SG_DXFER_FROM_DEV;
  header.cmd_len = static_cast<unsigned char>(block.size());
  header.mx_sb_len = static_cast<unsigned char>(sense.size());
  header.dxfer_len = static_cast<unsigned>(data.size());
  header.dxferp = data.data();
  header.cmdp = block.data();
  header.sbp = sense.data();
  header.timeout = 2000;
}

DriveRequest LogRequest::request() { return decodeRequest(SG_IO, &header); }

Reply LogRequest::ask(Drive& drive, const Circumstances& circumstances) {
  return drive.answer(request(), circumstances);
}

std::string LogRequest::senseText() const { return toHex(sense.data(), 22); }

NvmeRequest::NvmeRequest(std::uint8_t opcode, std::uint32_t nsid, std::uint32_t cdw10,
                         std::uint32_t length)
    : data(length, 0) {
  command.opcode = opcode;
  command.nsid = nsid;
  command.cdw10 = cdw10;
  command.data_len = length;
  command.addr = reinterpret_cast<std::uintptr_t>(data.data());
  command.result = kResultBefore;
}

Reply NvmeRequest::ask(Drive& drive, const Circumstances& circumstances) {
  return drive.answer(decodeRequest(NVME_IOCTL_ADMIN_CMD, &command), circumstances);
}

Reply askNamespaceId(Drive& drive) {
  return drive.answer(decodeRequest(NVME_IOCTL_ID, nullptr), {});
}

}  // namespace simulator::test
