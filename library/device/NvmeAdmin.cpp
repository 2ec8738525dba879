// SmartIo: NVMe admin commands.

#include <array>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <linux/nvme_ioctl.h>
#include <sys/ioctl.h>

#include "base/UniqueFd.h"
#include "device/Bytes.h"
#include "device/DriveCommand.h"
#include "device/NvmeFormat.h"
#include "device/SmartIo.h"
#include "log/Log.h"

static_assert(sizeof(nvme_admin_cmd) == 72);
static_assert(NVME_IOCTL_ID == 0x4E40);
static_assert(NVME_IOCTL_ADMIN_CMD == 0xC0484E41);

namespace {

/// The text of an error number, safe on any thread.
std::string errorText(int error) {
  std::array<char, 256> buffer{};
  return strerror_r(error, buffer.data(), buffer.size());
}

/// Sends `command`, whose data goes to `buffer`. Both commands report under the name of the one.
/// kept: docs/compatibility.md
bool sendAdminCommand(int fd, nvme_admin_cmd& command, std::uint8_t* buffer, std::uint32_t length) {
  std::memset(buffer, 0, length);
  command.addr = reinterpret_cast<std::uintptr_t>(buffer);
  command.data_len = length;
  if (!issueDriveCommand(fd, NVME_IOCTL_ADMIN_CMD, &command)) {
    const int error = errno;
    Log(LOG_LEVEL_ERROR, "SmartIo::nvme_read_identify - NVME_IOCTL_ADMIN_CMD failed: %s",
        errorText(error).c_str());
    errno = error;
    return false;
  }
  if (command.result != 0) {
    Log(LOG_LEVEL_ERROR, "SmartIo::nvme_read_identify - result failed: %d",
        static_cast<int>(command.result));
    errno = EIO;
    return false;
  }
  return true;
}

/// Opens a controller's node for admin commands; -1 on failure. Identify and health log report it
/// under the same name.
///
/// The descriptor is a plain number, not an owner: it is closed only where a command sequence has
/// succeeded, and stays open on every failure path, this one's included. kept:
/// docs/compatibility.md
int openController(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK);
  if (fd < 0) {
    Log(LOG_LEVEL_ERROR, "SmartIo::getIdentifyNVMeData - Open %s failed, %d", path.c_str(), errno);
    return -1;
  }
  if (fcntl(fd, F_SETFD, FD_CLOEXEC) != 0) {
    Log(LOG_LEVEL_ERROR, "SmartIo::getIdentifyNVMeData - fcntl %s failed, %d", path.c_str(), errno);
    return -1;
  }
  return fd;
}

using IdentifyBuffer = std::array<std::uint8_t, nvme::identify::kDataLength>;

bool readIdentify(int fd, std::uint32_t namespaceId, std::uint8_t cns, IdentifyBuffer& buffer) {
  return SmartIo::nvme_read_identify(fd, namespaceId, cns, buffer.data(),
                                     nvme::identify::kDataLength);
}

/// Asks the namespace behind the node to identify itself; its data isn't used, only that it
/// answers. A controller's own node has none, so there nothing can fail.
bool namespaceAnswers(int fd, std::int32_t namespaceId, const IdentifyBuffer& controller) {
  IdentifyBuffer data{};
  if (namespaceId == -1) {
    if (bytes::littleEndian32(controller.data(), nvme::controller::kNamespaceCountOffset) == 1) {
      (void)readIdentify(fd, 1, nvme::identify::kCnsNamespace, data);
    }
    return true;
  }
  return readIdentify(fd, static_cast<std::uint32_t>(namespaceId), nvme::identify::kCnsNamespace,
                      data);
}

}  // namespace

bool SmartIo::nvme_read_identify(int fd, std::uint32_t namespaceId, std::uint8_t cns,
                                 std::uint8_t* buffer, std::uint32_t length) {
  nvme_admin_cmd command{};
  command.opcode = nvme::kOpcodeIdentify;
  command.nsid = namespaceId;
  command.cdw10 = cns;
  return sendAdminCommand(fd, command, buffer, length);
}

bool SmartIo::nvme_read_log_page(int fd, std::uint8_t logIdentifier, std::uint8_t* buffer,
                                 std::uint32_t length) {
  nvme_admin_cmd command{};
  command.opcode = nvme::kOpcodeGetLogPage;
  command.nsid = nvme::kAllNamespaces;
  command.cdw10 = logIdentifier | (length / 4 - 1) << nvme::logPage::kDwordCountShift;
  if (!sendAdminCommand(fd, command, buffer, length)) {
    return false;
  }
  UniqueFd(fd).reset();
  return true;
}

bool SmartIo::nvme_read_smart_log(const std::string& path, SsdValues& values) {
  const int fd = openController(path);
  if (fd < 0) {
    return false;
  }
  using namespace nvme::health;
  std::array<std::uint8_t, kLogLength> log{};
  if (!nvme_read_log_page(fd, nvme::logPage::kHealth, log.data(), kLogLength)) {
    return false;
  }
  values.percentageUsed = log[kPercentageUsedOffset];
  values.poweredOnHours = bytes::littleEndian(log.data(), kPowerOnHoursOffset, kPowerOnHoursLength);
  return true;
}

bool SmartIo::getIdentifyNVMeData(const std::string& path, IdentifyData& identify) {
  const int fd = openController(path);
  if (fd < 0) {
    return false;
  }
  identify.namespaceId = ioctl(fd, NVME_IOCTL_ID);
  IdentifyBuffer data;
  if (!readIdentify(fd, nvme::kNoNamespace, nvme::identify::kCnsController, data)) {
    Log(LOG_LEVEL_ERROR, "SmartIo::getIdentifyNVMeData - nvme_read_identify failed");
    return false;
  }
  if (!namespaceAnswers(fd, identify.namespaceId, data)) {
    Log(LOG_LEVEL_ERROR, "SmartIo::getIdentifyNVMeData - nvme_read_identify failed id_ns");
    return false;
  }

  // The drive has answered everything: from here on the node is closed, even if memory runs out.
  const UniqueFd node(fd);
  using namespace nvme::controller;
  identify.identifySource |= IDENTIFIED_BY_NVME;
  identify.model = bytes::trimmedField(data.data(), kModelOffset, kModelLength);
  Log(LOG_LEVEL_DEBUG, "Model Number: %s", identify.model.c_str());
  identify.serialNumber =
      bytes::trimmedField(data.data(), kSerialNumberOffset, kSerialNumberLength);
  Log(LOG_LEVEL_DEBUG, "Serial Number: %s", identify.serialNumber.c_str());
  identify.firmwareVersion = bytes::trimmedField(data.data(), kFirmwareOffset, kFirmwareLength);
  Log(LOG_LEVEL_DEBUG, "Firmware Version: %s", identify.firmwareVersion.c_str());
  return true;
}
