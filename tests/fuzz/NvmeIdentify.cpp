// Identify Controller and Identify Namespace, with any namespace id, status and result.

#include <algorithm>

#include <linux/nvme_ioctl.h>
#include <sys/ioctl.h>

#include "device/SmartIo.h"
#include "tests/fuzz/World.h"

namespace {

int namespaceId = -1;
int controllerStatus = 0;
int namespaceStatus = 0;
std::uint32_t result = 0;
std::uint8_t controller[4096];

int answer(unsigned long request, void* argument) {
  if (request == NVME_IOCTL_ID) {
    return namespaceId;
  }
  auto& command = *static_cast<nvme_admin_cmd*>(argument);
  world::require(request == NVME_IOCTL_ADMIN_CMD && command.opcode == 6, "an Identify");
  world::require(command.data_len == sizeof(controller), "Identify gives 4096 bytes");
  command.result = result;
  if (command.cdw10 == 1) {
    std::copy(std::begin(controller), std::end(controller),
              reinterpret_cast<std::uint8_t*>(command.addr));
    return controllerStatus;
  }
  return namespaceStatus;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  world::Input input(data, size);
  namespaceId = static_cast<std::int8_t>(input.byte());
  controllerStatus = static_cast<std::int8_t>(input.byte());
  namespaceStatus = static_cast<std::int8_t>(input.byte());
  result = input.byte();
  input.fill(controller, sizeof(controller));
  world::answerDrive(answer);
  const int openBefore = world::openDrives();
  IdentifyData identify;
  const bool expected =
      controllerStatus == 0 && result == 0 && (namespaceId == -1 || namespaceStatus == 0);
  world::require(SmartIo::getIdentifyNVMeData(world::kDrive, identify) == expected,
                 "the controller, and a namespace that has an id, must answer");
  world::require(world::openDrives() == openBefore + (expected ? 0 : 1),
                 "the node is closed on success alone");
  world::require(identify.namespaceId == namespaceId, "the namespace id is kept");
  world::require(expected || identify.model.empty(), "a failure names nothing");
  world::require(identify.model.size() <= 40 && identify.serialNumber.size() <= 20, "field widths");
  return 0;
}
