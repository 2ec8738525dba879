#pragma once

#include <string>

#include <sys/types.h>

namespace testkit {

/// A directory of its own, removed with all that it holds when the object goes in the process that
/// made it.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
  pid_t maker_;
};

}  // namespace testkit
