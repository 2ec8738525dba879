// Sense data of any form: bytes 11 and 21 alone decide.

#include <algorithm>

#include <scsi/sg.h>

#include "device/SmartIo.h"
#include "tests/fuzz/World.h"

namespace {

std::uint8_t sense[32];
std::uint8_t page[512];

int answer(unsigned long request, void* argument) {
  world::require(request == SG_IO, "log pages go through SCSI generic");
  const auto& header = *static_cast<sg_io_hdr*>(argument);
  std::copy(std::begin(sense), std::end(sense), header.sbp);
  std::copy(std::begin(page), std::end(page), static_cast<std::uint8_t*>(header.dxferp));
  return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  world::Input input(data, size);
  input.fill(sense, sizeof(sense));
  input.fill(page, sizeof(page));
  world::answerDrive(answer);
  std::uint8_t buffer[512] = {};
  const bool good = sense[11] == 0 && sense[21] == 0x50;
  world::require(SmartIo::getSmartLogDataSpt(world::kDrive, 4, buffer, 7) == good,
                 "error 0 and status 0x50 are success, all else is not");
  world::require(!good || std::equal(std::begin(page), std::end(page), buffer),
                 "the page is whole");
  world::require(good || std::count(buffer, buffer + 512, 0) == 512, "a failure copies nothing");
  world::require(world::openDrives() == 0, "the node is closed");
  return 0;
}
