#include "device/WearAttributeAlgo.h"

#include "device/SmartIo.h"
#include "log/Log.h"

bool WearAttributeAlgo::getSsdValues(const std::string& path, SsdValues& values) {
  if (!SmartIo::getSsdSmartValues(path, values)) {
    LogQuick(LOG_LEVEL_ERROR,
             "WearAttributeAlgo::getSsdValues - failed to get data from SMART Values sector");
    return false;
  }
  const WearReading reading = readWear(wear_, values);
  values.percentageUsed = reading.percentageUsed;
  if (reading.outcome != WearReading::Outcome::kTold) {
    report(path, reading);
  }
  return true;
}

void WearAttributeAlgo::report(const std::string& path, const WearReading& reading) {
  const SsdAttr& attribute = reading.attribute;
  const auto raw = static_cast<unsigned long long>(attribute.raw);
  if (reading.outcome == WearReading::Outcome::kOutOfRange) {
    Log(LOG_LEVEL_DEBUG,
        "WearAttributeAlgo::getSsdValues - %s: attribute %d is out of range, normalised %d, raw "
        "%llu",
        path.c_str(), wear_.id, attribute.current, raw);
    return;
  }
  if (reported_) {
    return;
  }
  reported_ = true;
  if (reading.outcome == WearReading::Outcome::kMissing) {
    Log(LOG_LEVEL_INFO, "WearAttributeAlgo::getSsdValues - %s: no attribute %d, percentage unknown",
        path.c_str(), wear_.id);
    return;
  }
  Log(LOG_LEVEL_INFO,
      "WearAttributeAlgo::getSsdValues - %s: attribute %d disagrees with itself, normalised %d, "
      "raw "
      "%llu, percentage unknown",
      path.c_str(), wear_.id, attribute.current, raw);
}
