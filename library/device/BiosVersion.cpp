#include "device/BiosVersion.h"

#include <array>
#include <cerrno>
#include <cstdio>

#include "base/UniqueFile.h"
#include "log/Log.h"

namespace {

constexpr char kBiosVersionPath[] = "/sys/devices/virtual/dmi/id/bios_version";

}  // namespace

bool BiosVersion::getBiosVersion(std::string& version) {
  LogQuick(LOG_LEVEL_TRACE, "BiosVersion::getBiosVersion");
  UniqueFile file(std::fopen(kBiosVersionPath, "r"));
  if (file == nullptr) {
    Log(LOG_LEVEL_ERROR, "BiosVersion::getBiosVersion - open %s failed, errno=0x%08x",
        kBiosVersionPath, static_cast<unsigned>(errno));
    return false;
  }
  std::array<char, 64> line{};
  const bool read = std::fgets(line.data(), static_cast<int>(line.size()), file.get()) != nullptr;
  file.reset();
  version = line.data();
  Log(LOG_LEVEL_DEBUG, "BiosVersion::getBiosVersion - returning %s", version.c_str());
  return read;
}
