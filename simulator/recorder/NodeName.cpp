#include "simulator/recorder/NodeName.h"

#include <algorithm>

#include "simulator/VirtualFiles.h"

namespace simulator {

namespace {

bool isNamed(std::string_view name, std::string_view start) {
  return name.size() > start.size() && name.substr(0, start.size()) == start &&
         std::all_of(name.begin(), name.end(),
                     [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); });
}

}  // namespace

std::string driveNode(const char* path) {
  constexpr std::string_view kDevices = "/dev/";
  const std::string tidy = path == nullptr ? "" : tidyPath(path);
  if (tidy.compare(0, kDevices.size(), kDevices) != 0) {
    return "";
  }
  const std::string name = tidy.substr(kDevices.size());
  return isDiskName(name) || isNamed(name, "nvme") ? name : "";
}

bool isDiskName(std::string_view name) { return isNamed(name, "sd"); }

}  // namespace simulator
