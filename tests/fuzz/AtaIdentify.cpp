// IDENTIFY DEVICE data: texts come out trimmed, and word 217 alone makes an SSD.

#include <algorithm>

#include <linux/hdreg.h>

#include "device/SmartIo.h"
#include "tests/fuzz/World.h"

namespace {

std::uint8_t sector[512];

int answer(unsigned long request, void* argument) {
  world::require(request == HDIO_GET_IDENTITY, "identify asks for the identity");
  std::copy(std::begin(sector), std::end(sector), static_cast<std::uint8_t*>(argument));
  return 0;
}

bool isTrimmed(const std::string& text, std::size_t width) {
  return text.size() <= width && (text.empty() || (text.front() != ' ' && text.back() != ' '));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  world::Input(data, size).fill(sector, sizeof(sector));
  world::answerDrive(answer);
  IdentifyData identify;
  world::require(SmartIo::getIdentifyData(world::kDrive, identify), "an answer is enough");
  world::require(isTrimmed(identify.model, 40) && isTrimmed(identify.serialNumber, 20) &&
                     isTrimmed(identify.firmwareVersion, 8),
                 "texts are trimmed");
  world::require(identify.nonRotating == (sector[434] == 1 && sector[435] == 0),
                 "word 217 decides");
  world::require(world::openDrives() == 0, "the node is closed");
  return 0;
}
