#include "device/SanDiskAlgo.h"

#include <algorithm>

#include "device/AtaFormat.h"
#include "device/SmartIo.h"
#include "log/Log.h"

namespace {

/// Media wear-out indicator of SanDisk's client SSDs: its normalised value counts up.
constexpr std::uint8_t kMediaWear = 230;

const SsdAttr* findAttribute(const SsdValues& values, std::uint8_t id) {
  const auto found = std::find_if(values.attributes.begin(), values.attributes.end(),
                                  [id](const SsdAttr& attribute) { return attribute.index == id; });
  return found == values.attributes.end() ? nullptr : &*found;
}

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
