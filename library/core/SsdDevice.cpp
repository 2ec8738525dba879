#include "core/SsdDevice.h"

#include "base/WideView.h"
#include "config/Config.h"
#include "device/SmartIo.h"
#include "device/WearAttributeAlgo.h"
#include "log/Log.h"

SsdDevice::SsdDevice() {
  const Config* config = Config::GetInstance();
  _percentUsedThreshold = static_cast<std::int32_t>(config->getPercentUsedThreshold());
  _debugIndications = config->getDebugIndications() != 0;
  LogQuick(LOG_LEVEL_DEBUG, "SsdDevice constructed");
}

SsdDevice::~SsdDevice() {
  if (_pollingThread.isStarted()) {
    _pollingThread.terminate();
  }
  _supportedModels.reset();
  LogQuick(LOG_LEVEL_DEBUG, "SsdDevice destroyed");
}

bool SsdDevice::initialise(const IdentifyData& identify, const std::string& physicalDrive,
                           const std::string& devPath, ISsdDeviceListener* listener,
                           const ModelTable& models) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"  // "0x%08p". kept: docs/compatibility.md
  Log(LOG_LEVEL_TRACE, "SsdDevice::initialise - drive %s devPath %s, listener=0x%08p",
      physicalDrive.c_str(), devPath.c_str(), static_cast<void*>(listener));
#pragma GCC diagnostic pop
  _physicalDrive = physicalDrive;
  _devPath = devPath;
  _serialNumber = identify.serialNumber;
  _model = identify.model;
  _firmwareVersion = identify.firmwareVersion;
  _ssdDeviceListener = listener;

  if ((identify.identifySource & IDENTIFIED_BY_ATA) != 0 && !SmartIo::smartEnable(_devPath)) {
    Log(LOG_LEVEL_ERROR, "SsdDevice::initialise - smartEnable failed");
    return false;
  }
  _supportedModels = makeSupportedModels();
  chooseAlgorithm(identify.identifySource, models);
  getSsdData();
  if (!_pollingThread.initialise(this)) {
    LogQuick(LOG_LEVEL_ERROR, "SsdDevice::initialise - Polling Thread did not start");
    return false;
  }
  _enabled = true;
  return true;
}

void SsdDevice::chooseAlgorithm(std::uint32_t identifySource, const ModelTable& models) {
  _ssdAlgorithm = findAlgorithm(*_supportedModels, _model);
  if (_ssdAlgorithm != nullptr) {
    Log(LOG_LEVEL_DEBUG,
        "SsdDevice::initialise - found supported model %ls in supported models list",
        WideView(_model).text());
    _percentageUsedSource = _ssdAlgorithm->getPercentageUsedSource();
    return;
  }
  if ((identifySource & IDENTIFIED_BY_ATA) != 0 && chooseRow(models)) {
    return;
  }
  _percentageUsedSource = STANDARD_STATISTIC;
  // "defult". kept: docs/compatibility.md
  if ((identifySource & IDENTIFIED_BY_NVME) != 0) {
    _ssdAlgorithm = findAlgorithm(*_supportedModels, kDefaultNvmeModel);
    LogQuick(LOG_LEVEL_DEBUG, "using defult DEF_SSDNVME_LOG_ALGO Statistics Log algo");
    return;
  }
  Log(LOG_LEVEL_DEBUG, "SsdDevice::initialise - cannot find model %ls in supported models list",
      WideView(_model).text());
  _ssdAlgorithm = findAlgorithm(*_supportedModels, kDefaultAtaModel);
  LogQuick(LOG_LEVEL_DEBUG, "using defult ata spec SSD Statistics Log algo as backup");
}

/// Whether a row of the models file says how this drive is read, instead of the default row.
bool SsdDevice::chooseRow(const ModelTable& models) {
  const ModelRow* row = models.find(_model, _firmwareVersion);
  if (row == nullptr) {
    return false;
  }
  if (!row->wear.beforeStatistics && hasStandardStatistic()) {
    Log(LOG_LEVEL_DEBUG,
        "SsdDevice::initialise - line %u of the models file isn't needed: %s has statistics",
        row->line, _devPath.c_str());
    return false;
  }
  _supportedModels->push_back(std::make_unique<SsdModel>(
      SsdModel{row->model, std::make_unique<WearAttributeAlgo>(row->wear)}));
  _ssdAlgorithm = _supportedModels->back()->algorithm.get();
  _percentageUsedSource = _ssdAlgorithm->getPercentageUsedSource();
  Log(LOG_LEVEL_DEBUG, "SsdDevice::initialise - %s is read by line %u of the models file",
      _devPath.c_str(), row->line);
  return true;
}

bool SsdDevice::hasStandardStatistic() const {
  SsdValues values;
  return SmartIo::getSsdDeviceStatisticsLogData(_devPath, values) && values.isStandardStatistic;
}

void SsdDevice::getSsdData() {
  LogQuick(LOG_LEVEL_TRACE, "SsdDevice::getSsdData");
  if (_ssdAlgorithm == nullptr) {
    WLog(LOG_LEVEL_DEBUG,
         L"SsdDevice::getSsdData - internal error - no algo to read this device model %ls",
         WideView(_model).text());
    return;
  }
  SsdValues values;
  values.traceAttributes = Config::GetInstance()->getDebugTraceAttributes() != 0;
  {
    const MutexLock lock(_mutex);
    if (!_ssdAlgorithm->getSsdValues(_devPath, values)) {
      LogQuick(LOG_LEVEL_DEBUG, "SsdDevice::getSsdData - algo failed");
      return;
    }
    _percentageUsed = values.percentageUsed;
    _poweredOnHours = values.poweredOnHours;
  }
  // From here on the values of this very reading count: another thread may read the drive
  // meanwhile.
  Log(LOG_LEVEL_DEBUG, "SsdDevice::getSsdData - POH = %lu, Percentage Used = %d",
      static_cast<unsigned long>(values.poweredOnHours), values.percentageUsed);
  if (_debugIndications) {
    fireRmaDebugIndication();
  }
  if (isFailing(values.percentageUsed)) {
    fireSsdDeviceFailureImminent();
  }
}

void SsdDevice::copySsdInformation(SsdInformation& information) {
  const MutexLock lock(_mutex);
  information.firmwareVersion = _firmwareVersion;
  information.model = _model;
  information.serialNumber = _serialNumber;
  information.percentageUsed = _percentageUsed;
  information.percentageUsedSource = _percentageUsedSource;
  information.physicalDrive = _physicalDrive;
  information.poweredOnHours = _poweredOnHours;
  information.failureImminent = isFailing(information.percentageUsed);
}

bool SsdDevice::isFalureImminent() const { return isFailing(_percentageUsed); }

/// Compares as unsigned numbers: a negative threshold is never exceeded.
bool SsdDevice::isFailing(std::uint8_t percentageUsed) const {
  return percentageUsed != kPercentageUnknown &&
         percentageUsed > static_cast<std::uint32_t>(_percentUsedThreshold);
}

void SsdDevice::fireSsdDeviceFailureImminent() {
  if (_ssdDeviceListener == nullptr && !_failureImminentFired) {
    LogQuick(LOG_LEVEL_TRACE,
             "SsdDevice::fireSsdFailureImminent - no registered listeners - exiting");
    return;
  }
  if (_failureImminentFired.exchange(true)) {
    LogQuick(
        LOG_LEVEL_TRACE,
        "SsdDevice::fireSsdFailureImminent - already fired one Failure Imminent event - exiting");
    return;
  }
  try {
    _ssdDeviceListener->SsdDeviceFailureImminent(*this);
  } catch (...) {
    _failureImminentFired = false;
    throw;
  }
}

void SsdDevice::fireRmaDebugIndication() {
  LogQuick(LOG_LEVEL_TRACE, "SsdDevice::fireRmaDebugIndication");
  if (_ssdDeviceListener != nullptr) {
    _ssdDeviceListener->SsdDeviceFailureImminent(*this);
  }
}
