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

/// All polling threads are asked before the first one is waited for: together they take one tick.
void SsdDeviceList::clear() {
  for (SsdDevice* device : _devices) {
    device->askToStop();
  }
  for (SsdDevice* device : _devices) {
    delete device;
  }
}
