#pragma once

#include <cstdio>
#include <string>

namespace testkit {

/// Catches what the process writes to standard output or standard error while the object lives. If
/// the test fails it is shown afterwards: the reason may be in it.
class CapturedStream {
 public:
  /// `stream` is stdout or stderr.
  explicit CapturedStream(std::FILE* stream);
  ~CapturedStream();
  CapturedStream(const CapturedStream&) = delete;
  CapturedStream& operator=(const CapturedStream&) = delete;

  /// What has been written so far.
  [[nodiscard]] std::string text() const;

 private:
  std::FILE* stream_;
  int original_;
  int caught_;
};

}  // namespace testkit
