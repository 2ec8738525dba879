#include "simulator/NvmeDrive.h"

#include <linux/nvme_ioctl.h>

#include <cerrno>

#include <algorithm>
#include <cstddef>
#include <utility>

#include "simulator/NvmeFormat.h"

namespace simulator {

namespace {

// The kernel's time limit for admin commands; then it resets the controller and cancels them.
constexpr std::chrono::seconds kAdminGivesUp{60};
constexpr std::uint32_t kVersion14 = 0x00010400;

}  // namespace

NvmeDrive::NvmeDrive(NvmeDescription description)
    : Drive(description.node), description_(std::move(description)) {}

Reply NvmeDrive::answer(const DriveRequest& request, const Circumstances& circumstances) {
  switch (request.kind) {
    case RequestKind::nvmeId:
      // The kernel answers this on namespace nodes only.
      return description_.namespaceId ? Reply::ok(*description_.namespaceId)
                                      : Reply::failed(ENOTTY);
    case RequestKind::nvmeAdmin:
      return admin(request, circumstances);
    default:
      return Reply::failed(ENOTTY);
  }
}

Reply NvmeDrive::admin(const DriveRequest& request, const Circumstances& circumstances) {
  if (!circumstances.privileged) {
    return Reply::failed(EACCES);
  }
  if (request.argument == nullptr) {
    return Reply::failed(EFAULT);
  }
  auto* command = static_cast<nvme_admin_cmd*>(request.argument);
  if (command->flags != 0) {
    return Reply::failed(EINVAL);
  }
  if (circumstances.fault.hang) {
    return {-1, EINTR, kAdminGivesUp};
  }
  Bytes data;
  int status = nvme::kInvalidOpcode;
  if (command->opcode == nvme::kIdentify) {
    status = identify(*command, data);
  } else if (command->opcode == nvme::kGetLogPage) {
    status = logPage(*command, circumstances.seconds, data);
  }
  command->result = circumstances.fault.nvmeResult.value_or(0);
  if (status != 0) {
    return Reply::ok(status);
  }
  std::copy_n(circumstances.fault.data.begin(),
              std::min(circumstances.fault.data.size(), data.size()), data.begin());
  if (command->addr != 0) {
    // The address travels as a number in the kernel's structure.
    std::copy_n(data.begin(), std::min<std::size_t>(data.size(), command->data_len),
                reinterpret_cast<std::uint8_t*>(static_cast<std::uintptr_t>(command->addr)));
  }
  return Reply::ok();
}

int NvmeDrive::identify(const nvme_passthru_cmd& command, Bytes& data) const {
  switch (static_cast<std::uint8_t>(command.cdw10)) {
    case nvme::kCnsController:
      data = makeController();
      return 0;
    case nvme::kCnsNamespace:
      if (command.nsid == 0 || command.nsid > description_.namespaces) {
        return nvme::kInvalidNamespace;
      }
      data = makeNamespace(command.nsid);
      return 0;
    default:
      return nvme::kInvalidField;
  }
}

int NvmeDrive::logPage(const nvme_passthru_cmd& command, double seconds, Bytes& data) {
  if (static_cast<std::uint8_t>(command.cdw10) != nvme::kLogHealth) {
    return nvme::kInvalidLogPage;
  }
  if (command.nsid != 0 && command.nsid != nvme::kAllNamespaces) {
    return nvme::kInvalidField;
  }
  data = makeHealth(seconds);
  // NUMDL, 5.14.1: number of dwords, counted from 0.
  const std::size_t asked = ((command.cdw10 >> 16) + std::size_t{1}) * 4;
  data.resize(std::min(data.size(), asked));
  return 0;
}

Bytes NvmeDrive::makeController() const {
  if (!description_.rawController.empty()) {
    return description_.rawController;
  }
  Bytes data(nvme::kIdentifySize, 0);
  putText(data, nvme::kSerialNumber, nvme::kSerialNumberWidth, description_.serial);
  putText(data, nvme::kModel, nvme::kModelWidth, description_.model);
  putText(data, nvme::kFirmware, nvme::kFirmwareWidth, description_.firmware);
  putLe32(data, nvme::kVersion, kVersion14);
  putLe16(data, nvme::kWarningTemperature, 343);
  putLe16(data, nvme::kCriticalTemperature, 358);
  putLe16(data, nvme::kQueueEntrySizes, 0x4466);
  putLe32(data, nvme::kNumberOfNamespaces, description_.namespaces);
  const std::string qualifiedName = "nqn.2014-08.org.nvmexpress:simulated:" + node();
  std::copy(qualifiedName.begin(), qualifiedName.end(),
            data.begin() + static_cast<std::ptrdiff_t>(nvme::kQualifiedName));
  return data;
}

Bytes NvmeDrive::makeNamespace(std::uint32_t id) const {
  if (const auto raw = description_.rawNamespaces.find(id);
      raw != description_.rawNamespaces.end()) {
    return raw->second;
  }
  Bytes data(nvme::kIdentifySize, 0);
  const std::uint64_t blocks = std::uint64_t{description_.gigabytes} * 1'000'000'000 / 512;
  putLe64(data, nvme::kNamespaceSize, blocks);
  putLe64(data, nvme::kNamespaceCapacity, blocks);
  putLe64(data, nvme::kNamespaceUtilization, blocks);
  data[nvme::kLbaFormat0DataSize] = 9;  // 512 bytes
  return data;
}

Bytes NvmeDrive::makeHealth(double seconds) {
  const std::uint64_t reading = readings_.fetch_add(1);
  if (!description_.rawHealth.empty()) {
    return description_.rawHealth;
  }
  Bytes data(nvme::kHealthSize, 0);
  data[nvme::kCriticalWarning] = description_.criticalWarning;
  putLe16(data, nvme::kCompositeTemperature, description_.temperature);
  data[nvme::kAvailableSpare] = description_.spare;
  data[nvme::kAvailableSpareThreshold] = description_.spareThreshold;
  data[nvme::kPercentageUsed] = description_.wear.at(reading, seconds);
  putLe64(data, nvme::kPowerOnHours, description_.hours.low);
  putLe64(data, nvme::kPowerOnHours + 8, description_.hours.high);
  return data;
}

NvmeNamespace::NvmeNamespace(NvmeDrive& controller, std::uint32_t id)
    : Drive(controller.node() + "n" + std::to_string(id)), controller_(controller), id_(id) {}

Reply NvmeNamespace::answer(const DriveRequest& request, const Circumstances& circumstances) {
  if (request.kind == RequestKind::nvmeId) {
    return Reply::ok(static_cast<int>(id_));
  }
  return controller_.answer(request, circumstances);
}

}  // namespace simulator
