// The SMART data sector and its attributes, traced and untraced, and what the vendor attribute
// says.

#include <algorithm>

#include <linux/hdreg.h>

#include "device/SanDiskAlgo.h"
#include "device/SmartIo.h"
#include "tests/fuzz/World.h"

namespace {

std::uint8_t sector[512];

int answer(unsigned long request, void* argument) {
  world::require(request == HDIO_DRIVE_CMD, "SMART goes by drive command");
  std::copy(std::begin(sector), std::end(sector), static_cast<std::uint8_t*>(argument) + 4);
  return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  world::Input input(data, size);
  SsdValues values;
  values.traceAttributes = (input.byte() & 1) != 0;
  input.fill(sector, sizeof(sector));
  world::answerDrive(answer);
  world::require(SmartIo::getSsdSmartValues(world::kDrive, values), "an answer is enough");
  world::require(values.attributes.size() <= 30, "the table has 30 entries");
  for (const SsdAttr& attribute : values.attributes) {
    world::require(attribute.index != 0, "empty slots are passed over");
    world::require(attribute.raw >> 48 == 0, "a raw value has 48 bits");
  }
  SsdValues wear;
  world::require(SanDiskAlgo().getSsdValues(world::kDrive, wear), "an answer is enough");
  world::require(wear.poweredOnHours >> 48 == 0, "hours are a raw value");
  world::require(!values.attributes.empty() || wear.percentageUsed == kPercentageUnknown,
                 "no attribute, no percentage");
  world::require(world::openDrives() == 0, "the node is closed");
  return 0;
}
