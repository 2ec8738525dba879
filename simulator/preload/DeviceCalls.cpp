#include <linux/nvme_ioctl.h>
#include <scsi/sg.h>

#include <cstdarg>
#include <cstring>

#include "simulator/ErrnoNames.h"
#include "simulator/preload/Calls.h"

// ioctl on the nodes of the machine's drives.
namespace simulator {

namespace {

void addSgFields(const DriveRequest& request, nlohmann::ordered_json& entry) {
  const auto* header = static_cast<const sg_io_hdr_t*>(request.argument);
  entry["interface"] = header->interface_id;
  entry["direction"] = header->dxfer_direction;
  entry["dataLength"] = header->dxfer_len;
  entry["senseLength"] = header->mx_sb_len;
  entry["timeout"] = header->timeout;
  entry["flags"] = header->flags;
}

void addNvmeFields(const DriveRequest& request, nlohmann::ordered_json& entry) {
  nvme_admin_cmd command{};
  std::memcpy(&command, request.argument, sizeof command);
  entry["opcode"] = command.opcode;
  entry["nsid"] = command.nsid;
  entry["dataLength"] = command.data_len;
  entry["cdw10"] = command.cdw10;
  entry["timeout"] = command.timeout_ms;
}

// What went out, noted before the answer overwrites it.
nlohmann::ordered_json requestEntry(int fd, const Drive& drive, const DriveRequest& request) {
  nlohmann::ordered_json entry{{"call", "ioctl"},
                               {"node", drive.node()},
                               {"fd", fd},
                               {"request", name(request.kind)},
                               {"number", request.number}};
  if (!request.sent.empty()) {
    entry["sent"] = toHex(request.sent);
  }
  if (request.argument == nullptr) {
    return entry;
  }
  if (request.kind == RequestKind::sgIo) {
    addSgFields(request, entry);
  } else if (request.kind == RequestKind::nvmeAdmin) {
    addNvmeFields(request, entry);
  }
  return entry;
}

void addAnswer(const DriveRequest& request, const Reply& reply, nlohmann::ordered_json& entry) {
  entry["return"] = reply.result;
  if (reply.result == -1) {
    entry["errno"] = errnoName(reply.error);
    return;
  }
  if (request.argument == nullptr) {
    return;
  }
  if (request.kind == RequestKind::sgIo) {
    const auto* header = static_cast<const sg_io_hdr_t*>(request.argument);
    entry["status"] = header->status;
    if (header->sbp != nullptr) {
      entry["sense"] = toHex(header->sbp, header->sb_len_wr);
    }
  } else if (request.kind == RequestKind::nvmeAdmin) {
    entry["result"] = static_cast<const nvme_admin_cmd*>(request.argument)->result;
  }
}

int control(int fd, Drive& drive, unsigned long number, void* argument) {
  Session* current = session();
  const DriveRequest request = decodeRequest(number, argument);
  const bool journal = current->journal().wanted();
  nlohmann::ordered_json entry;
  if (journal) {
    entry = requestEntry(fd, drive, request);
  }
  const Reply reply = current->machine().ioctl(drive, request, current->seconds());
  current->pass(reply.delay);
  if (journal) {
    addAnswer(request, reply, entry);
    current->journal().write(std::move(entry));
  }
  if (reply.result == -1) {
    errno = reply.error;
  }
  return reply.result;
}

}  // namespace

}  // namespace simulator

using namespace simulator;

VEKSSD_INTERPOSED int ioctl(int fd, unsigned long number, ...) noexcept {
  va_list arguments;
  va_start(arguments, number);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  const VirtualFile* file = descriptors().at(fd);
  if (file == nullptr || file->kind != VirtualFile::Kind::device) {
    return real().ioctl(fd, number, argument);
  }
  return control(fd, *file->drive, number, argument);
}
