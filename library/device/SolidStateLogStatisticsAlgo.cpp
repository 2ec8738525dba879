#include "device/SolidStateLogStatisticsAlgo.h"

#include "config/Config.h"
#include "device/SmartIo.h"
#include "log/Log.h"

namespace {

SsdValues freshValues() {
  SsdValues values;
  values.traceAttributes = Config::GetInstance()->getDebugTraceAttributes() != 0;
  return values;
}

}  // namespace

bool SolidStateLogStatisticsAlgo::getSsdValues(const std::string& path, SsdValues& values) {
  SsdValues statistics = freshValues();
  if (!SmartIo::getSsdDeviceStatisticsLogData(path, statistics)) {
    LogQuick(LOG_LEVEL_ERROR,
             "SolidStateLogStatisticsAlgo::getSsdSmartValues - failed to get data from SSD Device "
             "Statistics log");
    statistics.percentageUsed = kPercentageUnknown;
  }
  SsdValues smart = freshValues();
  if (!SmartIo::getSsdSmartValues(path, smart)) {
    LogQuick(
        LOG_LEVEL_ERROR,
        "SolidStateLogStatisticsAlgo::getSsdSmartValues - failed to get data from SMART Values "
        "sector");
    return false;
  }
  values.percentageUsed = statistics.percentageUsed;
  values.poweredOnHours = smart.poweredOnHours;
  return true;
}
