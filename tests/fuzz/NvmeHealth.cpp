// The NVMe health log, with any status and result.

#include <algorithm>

#include <linux/nvme_ioctl.h>
#include <sys/ioctl.h>

#include "device/Bytes.h"
#include "device/SmartIo.h"
#include "tests/fuzz/World.h"

namespace {

int status = 0;
std::uint32_t result = 0;
std::uint8_t health[512];

int answer(unsigned long request, void* argument) {
  auto& command = *static_cast<nvme_admin_cmd*>(argument);
  world::require(request == NVME_IOCTL_ADMIN_CMD && command.opcode == 2, "a Get Log Page");
  world::require(command.cdw10 == 0x007F0002 && command.data_len == sizeof(health),
                 "512 bytes of log 2");
  std::copy(std::begin(health), std::end(health), reinterpret_cast<std::uint8_t*>(command.addr));
  command.result = result;
  return status;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  world::Input input(data, size);
  status = static_cast<std::int8_t>(input.byte());
  result = input.byte();
  input.fill(health, sizeof(health));
  world::answerDrive(answer);
  const int openBefore = world::openDrives();
  SsdValues values;
  values.percentageUsed = 42;
  const bool expected = status == 0 && result == 0;
  world::require(SmartIo::nvme_read_smart_log(world::kDrive, values) == expected,
                 "status 0 and result 0 are success, all else is not");
  world::require(values.percentageUsed == (expected ? health[5] : 42), "byte 5, or untouched");
  world::require(values.poweredOnHours == (expected ? bytes::littleEndian(health, 128, 8) : 0),
                 "bytes 128 to 135, or untouched");
  world::require(world::openDrives() == openBefore + (expected ? 0 : 1),
                 "the node is closed on success alone");
  return 0;
}
