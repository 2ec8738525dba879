#include "tests/fault/Losses.h"

#include <filesystem>

#include <unistd.h>

#include "tests/fault/Memory.h"
#include "tests/fault/Streams.h"
#include "tests/fault/Till.h"

namespace fault {

namespace {

std::map<int, std::string> openDescriptors() {
  std::map<int, std::string> all;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;  // the one that this loop reads with
    const auto target = std::filesystem::read_symlink(entry.path(), gone);
    if (!gone && target.string().find("/proc/") == std::string::npos) {
      all[std::stoi(entry.path().filename())] = target;
    }
  }
  return all;
}

}  // namespace

Losses::Losses() : before_(openDescriptors()) { Memory::follow(); }

void Losses::close() {
  Memory::stopFollowing();
  blocks_ = Memory::held(Till::library());
  streams_ = openStreams();
  closeStreams();
  scans_ = releaseScans();
  for (const auto& [fd, target] : openDescriptors()) {
    if (before_.count(fd) == 0) {
      descriptors_.push_back(target);
      ::close(fd);
    }
  }
}

}  // namespace fault
