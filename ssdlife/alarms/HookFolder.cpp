#include "ssdlife/alarms/HookFolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace ssdlife {
namespace {

bool isLeftover(std::string_view name) {
  constexpr std::array<std::string_view, 5> kParts = {".bak", ".dpkg-", ".rpmnew", ".rpmsave",
                                                      ".rpmorig"};
  return name.front() == '.' || name.back() == '~' ||
         std::any_of(kParts.begin(), kParts.end(), [name](std::string_view part) {
           return name.find(part) != std::string_view::npos;
         });
}

bool isOurs(const struct stat& status) {
  constexpr mode_t kOthersWrite = S_IWGRP | S_IWOTH;
  return (status.st_uid == 0 || status.st_uid == geteuid()) && (status.st_mode & kOthersWrite) == 0;
}

}  // namespace

std::vector<std::string> hooksIn(const std::string& folder) {
  namespace fs = std::filesystem;
  std::vector<std::string> names;
  std::error_code none;
  for (fs::directory_iterator entry(folder, none), end; !none && entry != end;
       entry.increment(none)) {
    const std::string name = entry->path().filename().string();
    std::error_code broken;
    if (!isLeftover(name) && !entry->is_directory(broken)) {
      names.push_back(name);
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string refusalOf(const std::string& folder, const std::string& hook) {
  const std::string path = folder + '/' + hook;
  struct stat ofFolder = {};
  struct stat ofFile = {};
  if (stat(folder.c_str(), &ofFolder) != 0 || stat(path.c_str(), &ofFile) != 0) {
    return std::generic_category().message(errno);
  }
  if (!S_ISREG(ofFile.st_mode)) {
    return "it is no file";
  }
  if (!isOurs(ofFile)) {
    return "it can be written by others than root";
  }
  if (!isOurs(ofFolder)) {
    return "its folder can be written by others than root";
  }
  constexpr mode_t kExecutable = S_IXUSR | S_IXGRP | S_IXOTH;
  return (ofFile.st_mode & kExecutable) == 0 ? "it is not executable" : "";
}

}  // namespace ssdlife
