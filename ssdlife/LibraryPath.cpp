#include "ssdlife/LibraryPath.h"

#include <unistd.h>

#include <filesystem>
#include <system_error>

namespace ssdlife {
namespace {

constexpr const char* kProviderName = "libvekssdprov.so.0";

}  // namespace

std::string ownFolder() {
  std::error_code ignored;
  return std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path().string();
}

std::string providerLibrary(const std::string& asked) {
  if (!asked.empty()) {
    return asked;
  }
  const std::string beside = ownFolder() + "/../lib/" + kProviderName;
  return access(beside.c_str(), F_OK) == 0 ? beside : kProviderName;
}

std::vector<std::string> preloadCandidates(const std::string& name, const std::string& library) {
  std::vector<std::string> candidates;
  const std::string folder = std::filesystem::path(library).parent_path().string();
  if (!folder.empty()) {
    candidates.push_back(folder + '/' + name);
  }
  const std::string prefix = ownFolder() + "/../";
  for (const char* const place : {"lib/", SSDLIFE_LIBDIR "/ssddrv/", "lib/ssddrv/", "lib64/ssddrv/",
                                  "lib/" SSDLIFE_MULTIARCH "/ssddrv/"}) {
    candidates.push_back(prefix + place + name);
  }
  return candidates;
}

}  // namespace ssdlife
