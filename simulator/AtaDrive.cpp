#include "simulator/AtaDrive.h"

#include <cerrno>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "simulator/AtaFormat.h"
#include "simulator/SgRequest.h"

namespace simulator {

namespace {

// How long the kernel waits for a drive that never answers (measured on 6.1).
constexpr std::chrono::milliseconds kDriveCmdGivesUp{10'100};
constexpr std::chrono::milliseconds kSgIoGivesUp{7'060};

// SAT-3 12.2.2.2, byte 1: protocols that libata passes on.
constexpr std::uint8_t kProtocolNonData = 3;
constexpr std::uint8_t kProtocolPioIn = 4;

AtaCommand commandOf(const std::uint8_t* header) {
  AtaCommand command;
  command.command = header[0];
  command.feature = header[2];
  if (header[0] == ata::kSmart) {
    command.count = header[3];
    command.lba =
        std::uint64_t{ata::kSmartLbaHigh} << 16 | std::uint64_t{ata::kSmartLbaMid} << 8 | header[1];
  } else {
    command.count = header[1];
  }
  return command;
}

AtaCommand commandOfBlock(const std::uint8_t* block) {
  AtaCommand command;
  command.command = block[14];
  command.feature = block[4];
  command.count = block[6];
  command.lba = block[8] | std::uint64_t{block[10]} << 8 | std::uint64_t{block[12]} << 16;
  if ((block[1] & kExtend) != 0) {
    command.count = static_cast<std::uint16_t>(command.count | block[5] << 8);
    command.lba |= std::uint64_t{block[7]} << 24 | std::uint64_t{block[9]} << 32 |
                   std::uint64_t{block[11]} << 40;
  }
  return command;
}

}  // namespace

AtaDrive::AtaDrive(const AtaDescription& description)
    : Drive(description.node), device_(description) {}

Reply AtaDrive::answer(const DriveRequest& request, const Circumstances& circumstances) {
  switch (request.kind) {
    case RequestKind::hdioGetIdentity:
      return getIdentity(request);
    case RequestKind::hdioDriveCmd:
      return driveCmd(request, circumstances);
    case RequestKind::sgIo:
      return sgIo(request, circumstances);
    default:
      return Reply::failed(ENOTTY);
  }
}

AtaAnswer AtaDrive::execute(const AtaCommand& command, const Circumstances& circumstances) {
  const DriveFault& fault = circumstances.fault;
  if (fault.hang || fault.ata) {
    AtaAnswer answer;
    if (fault.hang) {
      // No register came back; the kernel shows "ready" in place of a status.
      answer.result.timedOut = true;
      answer.result.status = ata::kStatusReady;
      return answer;
    }
    answer.result.count = command.count;
    answer.result.lba = command.lba;
    answer.result.status = fault.ata->status;
    answer.result.error = fault.ata->error;
    return answer;
  }
  AtaAnswer answer = device_.execute(command, circumstances.seconds);
  if (!answer.result.failed()) {
    const std::size_t length = std::min(fault.data.size(), answer.data.size());
    std::copy_n(fault.data.begin(), length, answer.data.begin());
  }
  return answer;
}

Reply AtaDrive::getIdentity(const DriveRequest& request) const {
  if (request.argument == nullptr) {
    return Reply::failed(EFAULT);
  }
  // The kernel hands out its copy with the texts turned into reading order.
  Bytes identify = device_.identify();
  swapWords(identify, ata::kWordSerialNumber * 2, ata::kSerialNumberWidth);
  swapWords(identify, ata::kWordFirmware * 2, ata::kFirmwareWidth);
  swapWords(identify, ata::kWordModel * 2, ata::kModelWidth);
  std::memcpy(request.argument, identify.data(), identify.size());
  return Reply::ok();
}

Reply AtaDrive::driveCmd(const DriveRequest& request, const Circumstances& circumstances) {
  if (!circumstances.privileged) {
    return Reply::failed(EACCES);
  }
  if (request.argument == nullptr) {
    return Reply::failed(EINVAL);
  }
  auto* header = static_cast<std::uint8_t*>(request.argument);
  const std::size_t sectorCount = header[3];
  const AtaAnswer answer = execute(commandOf(header), circumstances);
  if (answer.result.timedOut) {
    return {-1, EIO, kDriveCmdGivesUp};
  }
  if (answer.result.failed()) {
    return Reply::failed(EIO);
  }
  if (sectorCount == 0) {
    // Only commands without data bring their registers back.
    header[0] = answer.result.status;
    header[1] = answer.result.error;
    header[2] = static_cast<std::uint8_t>(answer.result.count);
    return Reply::ok();
  }
  std::uint8_t* data = header + kDriveCmdHeader;
  std::memset(data, 0, sectorCount * ata::kSectorSize);
  std::copy_n(answer.data.begin(), std::min(answer.data.size(), sectorCount * ata::kSectorSize),
              data);
  return Reply::ok();
}

Reply AtaDrive::sgIo(const DriveRequest& request, const Circumstances& circumstances) {
  SgRequest sg(request);
  if (!sg.valid()) {
    return Reply::failed(sg.error());
  }
  if (sg.operationCode() != kAtaPassThrough16) {
    sg.answerAsDisk("ATA     ");
    return Reply::ok();
  }
  if (!circumstances.privileged) {
    return Reply::failed(EPERM);
  }
  const std::uint8_t* block = sg.block();
  const auto protocol = static_cast<std::uint8_t>(block[1] >> 1 & 0x0f);
  if (protocol != kProtocolNonData && protocol != kProtocolPioIn) {
    sg.refuse(kIllegalRequest, kInvalidField);
    return Reply::ok();
  }
  const AtaAnswer answer = execute(commandOfBlock(block), circumstances);
  if (!answer.result.failed()) {
    sg.putData(answer.data);
  }
  if (answer.result.failed() || (block[2] & kCheckCondition) != 0) {
    const bool extended = (block[1] & kExtend) != 0 && !answer.result.timedOut;
    completeWithSense(sg.header(), passThroughSense(answer.result, extended));
  } else {
    completeGood(sg.header());
  }
  Reply reply = Reply::ok();
  if (answer.result.timedOut) {
    reply.delay = kSgIoGivesUp;
  }
  return reply;
}

}  // namespace simulator
