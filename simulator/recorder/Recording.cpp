#include "simulator/recorder/Recording.h"

#include <linux/nvme_ioctl.h>
#include <scsi/sg.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "simulator/AtaFormat.h"

namespace simulator {

namespace {

Bytes copyOf(const void* data, std::size_t length) {
  const auto* bytes = static_cast<const std::uint8_t*>(data);
  return {bytes, bytes + length};
}

// The kernel puts the registers over the count of sectors; the count is in what was sent.
void takeDriveCmd(const DriveRequest& request, RecordedAnswer& answer) {
  const auto* bytes = static_cast<const std::uint8_t*>(request.argument);
  answer.header = copyOf(bytes, kDriveCmdHeader);
  answer.data = copyOf(bytes + kDriveCmdHeader, request.sent[3] * ata::kSectorSize);
}

void takeSgIo(const DriveRequest& request, RecordedAnswer& answer) {
  const auto& header = *static_cast<const sg_io_hdr_t*>(request.argument);
  answer.status = header.status;
  answer.hostStatus = header.host_status;
  answer.driverStatus = header.driver_status;
  if (header.sbp != nullptr) {
    answer.sense = copyOf(header.sbp, header.sb_len_wr);
  }
  const bool reads =
      header.dxfer_direction == SG_DXFER_FROM_DEV || header.dxfer_direction == SG_DXFER_TO_FROM_DEV;
  // A scattered buffer is not followed: none of the drives' readers uses one.
  if (reads && header.dxferp != nullptr && header.iovec_count == 0) {
    answer.data = copyOf(header.dxferp, header.dxfer_len);
  }
}

void takeNvme(const DriveRequest& request, RecordedAnswer& answer) {
  nvme_admin_cmd command{};
  std::memcpy(&command, request.argument, sizeof command);
  answer.nvmeResult = command.result;
  // Bit 1 of an opcode: data comes from the controller (NVM Express 1.4, figure 139).
  constexpr unsigned kFromController = 2;
  if (command.addr != 0 && (command.opcode & kFromController) != 0) {
    answer.data = copyOf(reinterpret_cast<const void*>(static_cast<std::uintptr_t>(command.addr)),
                         command.data_len);
  }
}

bool same(const RecordedAnswer& one, const RecordedAnswer& other) {
  const auto parts = [](const RecordedAnswer& answer) {
    return std::tie(answer.result, answer.error, answer.header, answer.data, answer.sense,
                    answer.status, answer.hostStatus, answer.driverStatus, answer.nvmeResult);
  };
  return parts(one) == parts(other);
}

FaultDescription openFault(const std::string& node, int error, std::size_t nth, std::size_t count) {
  FaultDescription fault;
  fault.pattern.call = "open";
  fault.pattern.path = "/dev/" + node;
  fault.outcome.error = error;
  fault.nth = nth;
  fault.count = count;
  return fault;
}

// One fault for each run of the same errno; the outcome of the last opening stays.
void addOpenFaults(const std::string& node, const std::vector<int>& openings,
                   std::vector<FaultDescription>& faults) {
  for (std::size_t first = 0; first < openings.size();) {
    std::size_t end = first + 1;
    while (end < openings.size() && openings[end] == openings[first]) {
      ++end;
    }
    if (openings[first] != 0) {
      faults.push_back(openFault(node, openings[first], first + 1, end - first));
      if (end == openings.size()) {
        faults.back().count = FaultDescription::kForever;
      }
    }
    first = end;
  }
}

}  // namespace

RecordedAnswer answerTo(const DriveRequest& request, int result, int error) {
  RecordedAnswer answer;
  answer.result = result;
  if (result == -1) {
    answer.error = error;
    return answer;
  }
  if (request.argument == nullptr) {
    return answer;
  }
  switch (request.kind) {
    case RequestKind::hdioGetIdentity:
      answer.data = copyOf(request.argument, ata::kSectorSize);
      break;
    case RequestKind::hdioDriveCmd:
      takeDriveCmd(request, answer);
      break;
    case RequestKind::sgIo:
      takeSgIo(request, answer);
      break;
    case RequestKind::nvmeAdmin:
      takeNvme(request, answer);
      break;
    default:
      break;
  }
  return answer;
}

Recording::Node& Recording::at(const std::string& node) {
  const auto found = std::find_if(nodes_.begin(), nodes_.end(),
                                  [&node](const Node& known) { return known.drive.node == node; });
  if (found != nodes_.end()) {
    return *found;
  }
  Node& added = nodes_.emplace_back();
  added.drive.node = node;
  return added;
}

void Recording::opened(const std::string& node, int error) {
  const std::lock_guard lock(mutex_);
  at(node).openings.push_back(error);
}

void Recording::answered(const std::string& node, const DriveRequest& request,
                         RecordedAnswer answer) {
  if (request.kind == RequestKind::other) {
    return;
  }
  const std::lock_guard lock(mutex_);
  Node& asked = at(node);
  const auto [place, isNew] =
      asked.places.emplace(std::pair(request.kind, request.sent), asked.drive.requests.size());
  if (isNew) {
    asked.drive.requests.push_back({request.kind, request.sent, {}});
  }
  asked.drive.requests[place->second].answers.push_back(std::move(answer));
}

bool Recording::empty() const {
  const std::lock_guard lock(mutex_);
  return nodes_.empty();
}

std::vector<RecordedDescription> Recording::drives() const {
  const std::lock_guard lock(mutex_);
  std::vector<RecordedDescription> drives;
  for (const Node& node : nodes_) {
    drives.push_back(node.drive);
    for (RecordedRequest& request : drives.back().requests) {
      auto& answers = request.answers;
      while (answers.size() > 1 && same(answers.back(), answers[answers.size() - 2])) {
        answers.pop_back();
      }
    }
  }
  return drives;
}

std::vector<FaultDescription> Recording::faults() const {
  const std::lock_guard lock(mutex_);
  std::vector<FaultDescription> faults;
  for (const Node& node : nodes_) {
    addOpenFaults(node.drive.node, node.openings, faults);
  }
  return faults;
}

}  // namespace simulator
