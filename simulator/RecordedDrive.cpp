#include "simulator/RecordedDrive.h"

#include <linux/nvme_ioctl.h>
#include <scsi/sg.h>

#include <cerrno>

#include <algorithm>
#include <cstddef>
#include <utility>

#include "simulator/AtaFormat.h"
#include "simulator/SatSense.h"

namespace simulator {

namespace {

void playSgIo(const RecordedAnswer& answer, sg_io_hdr_t& header) {
  completeGood(header);
  header.status = answer.status;
  header.masked_status = static_cast<unsigned char>(answer.status >> 1);
  header.host_status = answer.hostStatus;
  header.driver_status = answer.driverStatus;
  if (answer.status != 0 || answer.hostStatus != 0 || answer.driverStatus != 0) {
    header.info = SG_INFO_CHECK;
  }
  if (header.sbp != nullptr) {
    const std::size_t length = std::min<std::size_t>(answer.sense.size(), header.mx_sb_len);
    std::copy_n(answer.sense.begin(), length, header.sbp);
    header.sb_len_wr = static_cast<unsigned char>(length);
  }
  if (header.dxferp != nullptr) {
    std::copy_n(answer.data.begin(), std::min<std::size_t>(answer.data.size(), header.dxfer_len),
                static_cast<std::uint8_t*>(header.dxferp));
  }
}

void playNvme(const RecordedAnswer& answer, nvme_admin_cmd& command) {
  command.result = answer.nvmeResult;
  if (command.addr != 0) {
    std::copy_n(answer.data.begin(), std::min<std::size_t>(answer.data.size(), command.data_len),
                reinterpret_cast<std::uint8_t*>(static_cast<std::uintptr_t>(command.addr)));
  }
}

void play(const RecordedAnswer& answer, const DriveRequest& request) {
  auto* bytes = static_cast<std::uint8_t*>(request.argument);
  switch (request.kind) {
    case RequestKind::hdioGetIdentity:
      std::copy_n(answer.data.begin(), std::min(answer.data.size(), ata::kSectorSize), bytes);
      break;
    case RequestKind::hdioDriveCmd: {
      const std::size_t room = bytes[3] * ata::kSectorSize;
      std::copy_n(answer.data.begin(), std::min(answer.data.size(), room), bytes + kDriveCmdHeader);
      std::copy_n(answer.header.begin(), std::min(answer.header.size(), kDriveCmdHeader), bytes);
      break;
    }
    case RequestKind::sgIo:
      playSgIo(answer, *static_cast<sg_io_hdr_t*>(request.argument));
      break;
    case RequestKind::nvmeAdmin:
      playNvme(answer, *static_cast<nvme_admin_cmd*>(request.argument));
      break;
    default:
      break;
  }
}

}  // namespace

RecordedDrive::RecordedDrive(RecordedDescription description)
    : Drive(description.node),
      description_(std::move(description)),
      asked_(std::make_unique<std::atomic<std::uint64_t>[]>(description_.requests.size())) {}

Reply RecordedDrive::answer(const DriveRequest& request, const Circumstances& /*circumstances*/) {
  for (std::size_t i = 0; i < description_.requests.size(); ++i) {
    const RecordedRequest& recorded = description_.requests[i];
    if (recorded.kind != request.kind || recorded.sent != request.sent) {
      continue;
    }
    const std::uint64_t last = recorded.answers.size() - 1;
    const RecordedAnswer& answer =
        recorded.answers[static_cast<std::size_t>(std::min(asked_[i].fetch_add(1), last))];
    if (answer.result == -1) {
      return Reply::failed(answer.error);
    }
    if (request.argument == nullptr && request.kind != RequestKind::nvmeId) {
      return Reply::failed(EFAULT);
    }
    play(answer, request);
    return Reply::ok(answer.result);
  }
  return Reply::failed(ENOTTY);
}

}  // namespace simulator
