#pragma once

#include <string>

#include "base/UniqueFd.h"

namespace ssdlife {

// Held by the one process that watches. The kernel lets go of it when that process ends, however it
// ends; it needs no file, so it works on a read-only disk too.
class FolderLock {
 public:
  // Takes it if nobody else has it. Without the folder there is nothing to keep apart.
  explicit FolderLock(const std::string& folder);

  [[nodiscard]] bool isOurs() const { return ours_; }

 private:
  UniqueFd folder_;
  bool ours_ = true;
};

}  // namespace ssdlife
