#include "ssdlife/service/FolderLock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <filesystem>
#include <system_error>

namespace ssdlife {

FolderLock::FolderLock(const std::string& folder) {
  std::error_code ignored;
  std::filesystem::create_directories(folder, ignored);
  folder_ = UniqueFd(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  ours_ = !folder_.isOpen() || flock(folder_.get(), LOCK_EX | LOCK_NB) == 0;
}

}  // namespace ssdlife
