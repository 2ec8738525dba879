#pragma once

#include <cerrno>
#include <utility>

#include <unistd.h>

#include "base/NoCancellation.h"

/// The owner of one file descriptor; closes it when it goes. `errno` is left as it was, so that the
/// cause of a failure survives the clean-up after it.
class UniqueFd {
 public:
  explicit UniqueFd(int fd = -1) noexcept : fd_(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~UniqueFd() { reset(); }

  [[nodiscard]] bool isOpen() const noexcept { return fd_ >= 0; }
  [[nodiscard]] int get() const noexcept { return fd_; }

  /// Gives the descriptor up unclosed.
  [[nodiscard]] int release() noexcept { return std::exchange(fd_, -1); }

  void reset() noexcept {
    if (isOpen()) {
      const NoCancellation untilClosed;
      const int error = errno;
      ::close(release());
      errno = error;
    }
  }

 private:
  int fd_;
};
