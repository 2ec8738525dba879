#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "base/Mutex.h"
#include "core/ISsdDeviceListener.h"
#include "core/ModelTable.h"
#include "core/PollingThread.h"
#include "core/SsdInformation.h"
#include "core/SupportedModels.h"
#include "device/IdentifyData.h"

/// One monitored SSD: knows its identity, reads its wear on demand and on a polling thread of its
/// own, and reports once in its life that it is about to fail.
///
/// Set up by one thread with `initialise`, then used by any: its mutex lets one reading of the
/// drive run at a time. The identity never changes after `initialise`.
class SsdDevice {
 public:
  SsdDevice();
  ~SsdDevice();
  SsdDevice(const SsdDevice&) = delete;
  SsdDevice& operator=(const SsdDevice&) = delete;

  /// Takes over the drive's identity, enables SMART on an ATA drive, chooses the algorithm, reads
  /// the drive once on this thread (which may already report it) and starts the polling thread.
  /// `models` says where drives of further models keep their wear; it is not needed afterwards.
  /// `listener` must outlive the device. After false the device must not be deleted: the caller
  /// leaves it alone.
  [[nodiscard]] bool initialise(const IdentifyData& identify, const std::string& physicalDrive,
                                const std::string& devPath, ISsdDeviceListener* listener,
                                const ModelTable& models = {});

  /// Has the polling thread end with the tick in progress; the destructor waits for that.
  void askToStop() { _pollingThread.askToStop(); }

  /// Reads the drive once, keeps what it says and reports what has to be. A failed reading changes
  /// nothing.
  void getSsdData() VEKSSD_EXCLUDES(_mutex);

  /// Fills `information` from the last successful reading.
  void copySsdInformation(SsdInformation& information) VEKSSD_EXCLUDES(_mutex);

  /// Whether the percentage used is known and above the threshold. The name is kept for its
  /// callers.
  [[nodiscard]] bool isFalureImminent() const;

  /// Reports the failure to the listener unless that has been done; without a listener it stays to
  /// be done.
  void fireSsdDeviceFailureImminent();

  /// Reports the device to the listener for the sake of testing the way of an indication.
  void fireRmaDebugIndication();

  [[nodiscard]] const std::string& physicalDrive() const { return _physicalDrive; }
  [[nodiscard]] const std::string& model() const { return _model; }
  [[nodiscard]] const std::string& serialNumber() const { return _serialNumber; }
  [[nodiscard]] std::uint8_t percentageUsed() const { return _percentageUsed; }

 private:
  void chooseAlgorithm(std::uint32_t identifySource, const ModelTable& models);
  [[nodiscard]] bool chooseRow(const ModelTable& models);
  [[nodiscard]] bool hasStandardStatistic() const;
  [[nodiscard]] bool isFailing(std::uint8_t percentageUsed) const;

  bool _enabled = true;
  std::string _physicalDrive;
  std::string _devPath;
  std::string _model;
  std::string _serialNumber;
  std::string _firmwareVersion;
  std::uint64_t _poweredOnHours VEKSSD_GUARDED_BY(_mutex) = 0;
  std::atomic<std::uint8_t> _percentageUsed{0};  ///< written under _mutex, read by anyone
  std::uint8_t _percentageUsedSource = 0;
  std::int32_t _percentUsedThreshold = 95;
  std::atomic<bool> _failureImminentFired{false};  ///< the one report of its life
  SsdAlgorithm* _ssdAlgorithm = nullptr;           ///< of a row of the table below
  std::unique_ptr<SupportedModels> _supportedModels;
  PollingThread _pollingThread;
  Mutex _mutex;  ///< around each reading of the drive and its values
  ISsdDeviceListener* _ssdDeviceListener = nullptr;
  bool _debugIndications = false;
};
