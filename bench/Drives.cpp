#include "bench/Drives.h"

#include <cstdlib>
#include <string>

#include "bench/Machine.h"

const bench::Kind bench::kNvme = {"/dev/nvme0",       "Vantor NV900",
                                  IDENTIFIED_BY_NVME, {kNvmePercentage, kPowerOnHours},
                                  kNvmeRequests,      readNvmeBare};
const bench::Kind bench::kSanDisk = {"/dev/sda",        "SanDisk SSD P4 64GB",
                                     IDENTIFIED_BY_ATA, {kSanDiskPercentage, kPowerOnHours},
                                     kSanDiskRequests,  readSanDiskBare};
const bench::Kind bench::kStatistics = {"/dev/sda",          kModel,
                                        IDENTIFIED_BY_ATA,   {kStatisticsPercentage, kPowerOnHours},
                                        kStatisticsRequests, readStatisticsBare};

SsdDevice& bench::makeDevice(const Kind& kind) {
  IdentifyData identify;
  identify.model = kind.model;
  identify.serialNumber = kSerialNumber;
  identify.identifySource = kind.source;
  auto* device = new SsdDevice;
  if (!device->initialise(identify, std::string(kind.node).substr(5), kind.node, nullptr)) {
    std::abort();
  }
  return *device;
}
