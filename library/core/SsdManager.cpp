#include "core/SsdManager.h"

#include <array>
#include <cassert>
#include <cstdio>
#include <new>
#include <string_view>

#include <glob.h>
#include <unistd.h>

#include "base/UniqueDirectory.h"
#include "base/WideView.h"
#include "core/ModelsFile.h"
#include "core/SsdDevice.h"
#include "device/BiosVersion.h"
#include "device/SmartIo.h"
#include "log/Log.h"

namespace {

constexpr char kBlockDevicesPath[] = "/sys/block/";
constexpr char kDevicesPath[] = "/dev/";
/// Controllers 0 to 9, never their namespaces.
constexpr char kNvmeControllerPattern[] = "/dev/nvme[0-9]";

bool isDiskName(const std::string& name) { return name.compare(0, 2, "sd") == 0; }

/// Whether the kernel calls the block device fixed: the first character of its "removable" file,
/// which is all that is read, is "0".
bool isFixedDisk(const std::string& name) {
  const std::string path = kBlockDevicesPath + name + "/removable";
  if (access(path.c_str(), R_OK) != 0) {
    return false;
  }
  std::FILE* file = std::fopen(path.c_str(), "r");
  if (file == nullptr) {
    return false;
  }
  std::array<char, 16> line{};
  const bool read = std::fgets(line.data(), 2, file) != nullptr;
  std::fclose(file);
  return read && std::string_view(line.data()) == "0";
}

std::string baseName(const std::string& path) { return path.substr(path.find_last_of('/') + 1); }

void logShortage() {
  LogQuick(LOG_LEVEL_ERROR, "SsdManager::addSsdDevice - alloc new SsdDevice failed");
}

}  // namespace

SsdManager::SsdManager() { LogQuick(LOG_LEVEL_DEBUG, "SsdManager Constructed"); }

SsdManager::~SsdManager() { LogQuick(LOG_LEVEL_DEBUG, "SsdManager Destroyed"); }

SSD_CODE SsdManager::initialise() {
  // clang-format off
  assert(init==false);
  // clang-format on
  if (!BiosVersion::getBiosVersion(_biosVersion)) {
    return SSD_NO_BIOS_VERSION;
  }
  UniqueDirectory blockDevices(opendir(kBlockDevicesPath));
  if (blockDevices == nullptr) {
    return SSD_NO_SYSFS_BLOCK;
  }
  const ModelTable models = readModelsFile(_modelsFile);
  while (const dirent* entry = readdir(blockDevices.get())) {
    scanBlockDevice(entry->d_name, models);
  }
  blockDevices.reset();
  scanNVMeDevice();
  Log(LOG_LEVEL_DEBUG, "SsdManager::initialise - found %i SSD devices",
      _ssdDeviceList.getNumSsdDevices());
  init = true;
  return SSD_SUCCESS;
}

/// A drive for which there is no memory is left out.
void SsdManager::scanBlockDevice(const char* entryName, const ModelTable& models) try {
  const std::string name = entryName;
  if (!isDiskName(name) || !isFixedDisk(name)) {
    return;
  }
  Log(LOG_LEVEL_DEBUG, "SsdManager::initialise - Found fixed scsi disk %s", name.c_str());
  const std::string devPath = kDevicesPath + name;
  IdentifyData identify;
  if (!SmartIo::getIdentifyData(devPath, identify) || !identify.nonRotating) {
    return;
  }
  if (!addSsdDevice(identify, name, devPath, models)) {
    Log(LOG_LEVEL_ERROR, "SsdManager::initialise - failed to add SSD Device %s to list",
        name.c_str());
  }
} catch (const std::bad_alloc&) {
  logShortage();
}

void SsdManager::scanNVMeDevice() {
  glob_t found{};
  const int result = glob(kNvmeControllerPattern, GLOB_ERR, nullptr, &found);
  if (result != 0) {
    globfree(&found);
    if (result == GLOB_NOSPACE) {
      Log(LOG_LEVEL_ERROR, "SsdManager::scanNVMeDevice - GLOB_NOSPACE");
    }
    return;
  }
  for (std::size_t i = 0; i < found.gl_pathc; ++i) {
    scanNVMeController(found.gl_pathv[i]);
  }
  // The paths are kept for the life of the process: they are few, and the scan runs once.
}

/// A drive for which there is no memory is left out.
void SsdManager::scanNVMeController(const char* node) try {
  const std::string path = node;
  IdentifyData identify;
  if (SmartIo::getIdentifyNVMeData(path, identify)) {
    (void)addSsdDevice(identify, baseName(path), path);
    std::printf("Indentified: %s\n", path.c_str());  // so spelt: scripts look for it
  }
} catch (const std::bad_alloc&) {
  logShortage();
}

bool SsdManager::addSsdDevice(const IdentifyData& identify, const std::string& physicalDrive,
                              const std::string& devPath, const ModelTable& models) {
  // Before there is a device: one that couldn't be listed any more would be lost, and its thread
  // never joined.
  _ssdDeviceList.reserveOneMore();
  auto* device = new (std::nothrow) SsdDevice;
  if (device == nullptr) {
    logShortage();
    return false;
  }
  if (!device->initialise(identify, physicalDrive, devPath, this, models)) {
    return false;  // neither listed nor deleted: the listener may have heard of it
  }
  _ssdDeviceList.add(device);
  return true;
}

void SsdManager::registerSsdListener(ISsdListener* listener) {
  if (init) {
    const WriterLock lock(_listenerLock);
    _ssdListener = listener;
  }
}

void SsdManager::unregisterSsdListener() { registerSsdListener(nullptr); }

void SsdManager::withdrawSsdListener(const ISsdListener* listener) {
  const WriterLock lock(_listenerLock);
  if (_ssdListener == listener) {
    _ssdListener = nullptr;
  }
}

SSD_CODE SsdManager::getSsdInformationList(SsdInformationList& list) {
  if (!init) {
    return SSD_NOT_INITIALISED;
  }
  const int count = _ssdDeviceList.getNumSsdDevices();
  Log(LOG_LEVEL_DEBUG, "SsdManager::getSsdInformationList - found %i SSD devices", count);
  if (count < 1) {
    return SSD_SUCCESS;
  }
  copyDisplayInformation(list, count);
  return SSD_SUCCESS;
}

void SsdManager::copyDisplayInformation(SsdInformationList& list, int count) {
  for (int i = 0; i < count; ++i) {
    SsdDevice* device = _ssdDeviceList.getSsdDeviceAt(i);
    if (device == nullptr) {
      continue;
    }
    SsdInformation information;
    device->getSsdData();
    device->copySsdInformation(information);
    list.push_back(information);
  }
}

void SsdManager::SsdDeviceFailureImminent(SsdDevice& device) {
  const std::string& model = device.model();
  const std::string& serialNumber = device.serialNumber();
  const std::string& physicalDrive = device.physicalDrive();
  const std::uint8_t percentageUsed = device.percentageUsed();
  // "%used=%d" is "%u" and "sed=%d": the percentage serves both.
  Log(LOG_LEVEL_DEBUG,
      "SsdManager::SsdDeviceFailureImminent: Model=%ls, SerialNo=%ls, PhysicalDrive=%ls, %used=%d",
      WideView(model).text(), WideView(serialNumber).text(), WideView(physicalDrive).text(),
      percentageUsed, percentageUsed);

  const ReaderLock lock(_listenerLock);
  if (_ssdListener == nullptr) {
    LogQuick(LOG_LEVEL_DEBUG,
             "SsdManager::SsdDeviceFailureImminent - No registered ISsdListener - exiting");
    return;
  }
  _ssdListener->SsdFailureImminent(model, serialNumber, physicalDrive, percentageUsed);
}
