#include "device/SolidStateLogStatisticsNVMeAlgo.h"

#include "device/SmartIo.h"
#include "log/Log.h"

bool SolidStateLogStatisticsNVMeAlgo::getSsdValues(const std::string& path, SsdValues& values) {
  if (!SmartIo::nvme_read_smart_log(path, values)) {
    LogQuick(LOG_LEVEL_ERROR,
             "SolidStateLogStatisticsNVMeAlgo::getSsdSmartValues - failed to get data from SSD "
             "Device Statistics log");
  }
  return true;
}
