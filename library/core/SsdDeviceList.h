#pragma once

#include <vector>

class SsdDevice;

/// The devices of a machine, in the order of discovery; owns them. Filled by one thread, then only
/// read.
class SsdDeviceList {
 public:
  SsdDeviceList();
  ~SsdDeviceList();
  SsdDeviceList(const SsdDeviceList&) = delete;
  SsdDeviceList& operator=(const SsdDeviceList&) = delete;

  /// Makes sure that the next `add` needs no memory.
  void reserveOneMore();

  /// Takes ownership of `device`.
  void add(SsdDevice* device);

  [[nodiscard]] int getNumSsdDevices() const;

  /// The device at `index`, or null beyond the last one. Throws std::out_of_range below 0.
  [[nodiscard]] SsdDevice* getSsdDeviceAt(int index) const;

  /// Deletes the devices. For the destructor only: their pointers stay in the list.
  void clear();

 private:
  /// Plain pointers, because `clear` deletes the devices and keeps the list as long as it was.
  std::vector<SsdDevice*> _devices;
};
