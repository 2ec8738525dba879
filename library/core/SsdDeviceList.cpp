#include "core/SsdDeviceList.h"

#include "base/WideView.h"
#include "core/SsdDevice.h"
#include "log/Log.h"

SsdDeviceList::SsdDeviceList() { LogQuick(LOG_LEVEL_DEBUG, "SsdDeviceList constructed"); }

SsdDeviceList::~SsdDeviceList() {
  clear();
  LogQuick(LOG_LEVEL_DEBUG, "SsdDeviceList destroyed");
}

void SsdDeviceList::reserveOneMore() { _devices.reserve(_devices.size() + 1); }

void SsdDeviceList::add(SsdDevice* device) {
  WLog(LOG_LEVEL_DEBUG, L"SsdDeviceList::add - adding SSD device - serial=[%ls] - to list",
       WideView(device->serialNumber()).text());
  _devices.push_back(device);
}

int SsdDeviceList::getNumSsdDevices() const { return static_cast<int>(_devices.size()); }

SsdDevice* SsdDeviceList::getSsdDeviceAt(int index) const {
  if (index >= getNumSsdDevices()) {
    return nullptr;
  }
  return _devices.at(static_cast<std::size_t>(index));
}

/// All polling threads are asked to stop before the first one is waited for, so that together they
/// take one tick. The first is asked by its own device, a moment later.
void SsdDeviceList::clear() {
  for (std::size_t i = 1; i < _devices.size(); ++i) {
    _devices[i]->askToStop();
  }
  for (SsdDevice* device : _devices) {
    delete device;
  }
}
