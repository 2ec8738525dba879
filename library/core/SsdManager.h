#pragma once

#include <string>

#include "base/Mutex.h"
#include "core/ISsdDeviceListener.h"
#include "core/ISsdListener.h"
#include "core/ModelTable.h"
#include "core/SsdCode.h"
#include "core/SsdDeviceList.h"
#include "core/SsdInformation.h"
#include "device/IdentifyData.h"

/// Finds the SSDs of the machine once, keeps a device for each, and hands their events to the one
/// registered listener. Its destructor stops and joins the polling threads.
///
/// One thread at a time may initialise it, ask for the list or register; events come on the threads
/// that read the drives.
class SsdManager : public ISsdDeviceListener {
 public:
  SsdManager();
  ~SsdManager() override;
  SsdManager(const SsdManager&) = delete;
  SsdManager& operator=(const SsdManager&) = delete;

  /// Lets `initialise` read the models file at `path`; empty: none, as at first.
  void setModelsFile(const std::string& path) { _modelsFile = path; }

  /// Finds the SSDs. May be repeated after a failure; after success it ends the process on an
  /// assertion.
  [[nodiscard]] SSD_CODE initialise();

  /// Sets the listener, which replaces any other; nothing before `initialise` has succeeded. Waits
  /// until no event is being handed to the old one, so it must not be called from within an event.
  void registerSsdListener(ISsdListener* listener) VEKSSD_EXCLUDES(_listenerLock);
  /// Removes the listener in the same way.
  void unregisterSsdListener() VEKSSD_EXCLUDES(_listenerLock);
  /// Removes the listener in the same way if it is `listener`.
  void withdrawSsdListener(const ISsdListener* listener) VEKSSD_EXCLUDES(_listenerLock);

  /// Reads every drive on the calling thread, one after another, and appends a record for each.
  [[nodiscard]] SSD_CODE getSsdInformationList(SsdInformationList& list);

  void SsdDeviceFailureImminent(SsdDevice& device) override VEKSSD_EXCLUDES(_listenerLock);

 private:
  [[nodiscard]] bool addSsdDevice(const IdentifyData& identify, const std::string& physicalDrive,
                                  const std::string& devPath, const ModelTable& models = {});
  void addFixedDisk(const std::string& name, const ModelTable& models);
  void addNvmeController(const std::string& node);
  void copyDisplayInformation(SsdInformationList& list, int count);

  bool init = false;
  std::string _biosVersion;
  std::string _modelsFile;
  /// Read-held while an event is handed over, so that a listener is never called after it was
  /// replaced. Before the devices, whose threads use it until the last one has been joined.
  SharedMutex _listenerLock;
  SsdDeviceList _ssdDeviceList;
  ISsdListener* _ssdListener VEKSSD_GUARDED_BY(_listenerLock) = nullptr;
};
