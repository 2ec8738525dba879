// The log directory and page 7 of the Device Statistics log, on both roads.

#include <algorithm>
#include <cerrno>

#include <linux/hdreg.h>
#include <scsi/sg.h>

#include "device/SmartIo.h"
#include "tests/fuzz/World.h"

namespace {

std::uint8_t directory[512];
std::uint8_t statistics[8 * 512];
bool refuseStatistics = false;

int answerDriveCommand(std::uint8_t* block) {
  const bool isDirectory = block[1] == 0;
  world::require(block[0] == 0xB0 && block[2] == 0xD5, "SMART READ LOG");
  world::require(isDirectory || (block[1] == 4 && block[3] == 8), "eight pages of log 4");
  if (!isDirectory && refuseStatistics) {
    errno = EIO;
    return -1;
  }
  const std::uint8_t* from = isDirectory ? directory : statistics;
  std::copy(from, from + block[3] * 512, block + 4);
  return 0;
}

int answerSg(const sg_io_hdr& request) {
  const bool isDirectory = request.cmdp[8] == 0;
  world::require(isDirectory || (request.cmdp[8] == 4 && request.cmdp[10] == 7), "page 7 of log 4");
  world::require(request.dxfer_len == 512 && request.mx_sb_len == 32, "one page, room for sense");
  const std::uint8_t* from = isDirectory ? directory : statistics + 7 * 512;
  std::copy(from, from + 512, static_cast<std::uint8_t*>(request.dxferp));
  request.sbp[21] = !isDirectory && refuseStatistics ? 0x51 : 0x50;
  return 0;
}

int answer(unsigned long request, void* argument) {
  return request == HDIO_DRIVE_CMD ? answerDriveCommand(static_cast<std::uint8_t*>(argument))
                                   : answerSg(*static_cast<sg_io_hdr*>(argument));
}

void read(bool (*road)(const std::string&, SsdValues&)) {
  SsdValues values;
  values.percentageUsed = 42;
  const bool expected = directory[8] >= 8 && !refuseStatistics && statistics[7 * 512 + 2] == 7;
  world::require(road(world::kDrive, values) == expected, "eight pages and page 7 make a reading");
  world::require(values.percentageUsed == (expected ? statistics[7 * 512 + 8] : 42),
                 "the percentage is byte 8, or untouched");
  world::require(world::openDrives() == 0, "the node is closed");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  world::Input input(data, size);
  refuseStatistics = input.byte() == 0xFF;
  input.fill(directory, 16);
  input.fill(statistics + 7 * 512, 16);  // before the rest, so that short inputs reach it
  input.fill(directory + 16, sizeof(directory) - 16);
  input.fill(statistics, 7 * 512);
  world::answerDrive(answer);
  read(SmartIo::getSsdDeviceStatisticsLogDataAtaSmart);
  read(SmartIo::getSsdDeviceStatisticsLogDataSpt);
  return 0;
}
