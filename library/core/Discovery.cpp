#include "core/Discovery.h"

#include <array>
#include <cstdio>
#include <new>
#include <string_view>

#include <glob.h>
#include <unistd.h>

#include "base/UniqueDirectory.h"
#include "base/UniqueFile.h"
#include "log/Log.h"

namespace {

constexpr char kBlockDevicesPath[] = "/sys/block/";
/// Controllers 0 to 9, never their namespaces.
constexpr char kNvmeControllerPattern[] = "/dev/nvme[0-9]";

bool isDiskName(std::string_view name) { return name.substr(0, 2) == "sd"; }

/// Whether the kernel calls the block device fixed: the first character of its "removable" file,
/// which is all that is read, is "0".
bool isFixedDisk(const std::string& name) {
  const std::string path = kBlockDevicesPath + name + "/removable";
  if (access(path.c_str(), R_OK) != 0) {
    return false;
  }
  const UniqueFile file(std::fopen(path.c_str(), "r"));
  if (file == nullptr) {
    return false;
  }
  std::array<char, 16> line{};
  const bool read = std::fgets(line.data(), 2, file.get()) != nullptr;
  return read && std::string_view(line.data()) == "0";
}

/// Does `step`; a drive for which it finds no memory is left out.
template <typename Step>
void withinMemory(Step step) {
  try {
    step();
  } catch (const std::bad_alloc&) {
    LogQuick(LOG_LEVEL_ERROR, "SsdManager::addSsdDevice - alloc new SsdDevice failed");
  }
}

}  // namespace

bool discovery::forEachFixedDisk(const Found& found) {
  const UniqueDirectory blockDevices(opendir(kBlockDevicesPath));
  if (blockDevices == nullptr) {
    return false;
  }
  while (const dirent* entry = readdir(blockDevices.get())) {
    withinMemory([&] {
      const std::string name = entry->d_name;
      if (!isDiskName(name) || !isFixedDisk(name)) {
        return;
      }
      Log(LOG_LEVEL_DEBUG, "SsdManager::initialise - Found fixed scsi disk %s", name.c_str());
      found(name);
    });
  }
  return true;
}

void discovery::forEachNvmeController(const Found& found) {
  glob_t nodes{};
  const int result = glob(kNvmeControllerPattern, GLOB_ERR, nullptr, &nodes);
  if (result != 0) {
    globfree(&nodes);
    if (result == GLOB_NOSPACE) {
      Log(LOG_LEVEL_ERROR, "SsdManager::scanNVMeDevice - GLOB_NOSPACE");
    }
    return;
  }
  for (std::size_t i = 0; i < nodes.gl_pathc; ++i) {
    withinMemory([&] { found(nodes.gl_pathv[i]); });
  }
  // kept: docs/compatibility.md: the paths that were found are not given back.
}
