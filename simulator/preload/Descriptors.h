#pragma once

#include <dirent.h>

#include <atomic>
#include <cstddef>

#include "simulator/VirtualFiles.h"

namespace simulator {

// Where a stream over a directory of the machine stands.
struct DirectoryCursor {
  std::size_t next = 0;
  dirent entry{};
};

// Which of the process's descriptors stand for something of the machine. A plain table of atomics:
// it may be asked before its time and after it, from any thread, in a signal handler and in the
// child of a fork, and a descriptor that is none of ours costs one load.
class Descriptors {
 public:
  static constexpr int kLimit = 65536;

  [[nodiscard]] const VirtualFile* at(int fd) const {
    return fd >= 0 && fd < kLimit ? files_[fd].load(std::memory_order_acquire) : nullptr;
  }
  [[nodiscard]] DirectoryCursor* cursor(int fd) const {
    return fd >= 0 && fd < kLimit ? cursors_[fd].load(std::memory_order_acquire) : nullptr;
  }

  void set(int fd, const VirtualFile* file) {
    if (fd >= 0 && fd < kLimit) {
      files_[fd].store(file, std::memory_order_release);
    }
  }
  void setCursor(int fd, DirectoryCursor* cursor) {
    if (fd >= 0 && fd < kLimit) {
      delete cursors_[fd].exchange(cursor, std::memory_order_acq_rel);
    }
  }
  void clear(int fd) {
    if (at(fd) != nullptr) {
      set(fd, nullptr);
      setCursor(fd, nullptr);
    }
  }

 private:
  std::atomic<const VirtualFile*> files_[kLimit];
  std::atomic<DirectoryCursor*> cursors_[kLimit];
};

// The one table of the process, all empty from the start.
Descriptors& descriptors();

}  // namespace simulator
