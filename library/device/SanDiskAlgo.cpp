#include "device/SanDiskAlgo.h"

#include "device/AtaFormat.h"
#include "device/SmartIo.h"
#include "device/WearAttribute.h"
#include "log/Log.h"

namespace {

/// Media wear-out indicator of SanDisk's client SSDs: its normalised value counts up.
constexpr std::uint8_t kMediaWear = 230;

}  // namespace

bool SanDiskAlgo::getSsdValues(const std::string& path, SsdValues& values) {
  if (!SmartIo::getSsdSmartValues(path, values)) {
    LogQuick(LOG_LEVEL_ERROR,
             "SanDiskAlgo::getSsdSmartValues - failed to get data from SMART Values sector");
    return false;
  }
  if (const SsdAttr* hours = findAttribute(values, ata::smart::kPowerOnHours)) {
    values.poweredOnHours = hours->raw;
  }
  const SsdAttr* wear = findAttribute(values, kMediaWear);
  values.percentageUsed = wear != nullptr ? wear->current : kPercentageUnknown;
  return true;
}
