#include "tests/support/CapturedStream.h"

#include <array>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

namespace testkit {

CapturedStream::CapturedStream(std::FILE* stream)
    : stream_(stream),
      original_(dup(fileno(stream))),
      caught_(memfd_create("captured stream", MFD_CLOEXEC)) {
  std::fflush(stream_);
  dup2(caught_, fileno(stream_));
}

CapturedStream::~CapturedStream() {
  const std::string caught = text();
  dup2(original_, fileno(stream_));
  close(original_);
  close(caught_);
  if (testing::Test::HasFailure()) {
    std::fputs(caught.c_str(), stream_);
  }
}

std::string CapturedStream::text() const {
  std::fflush(stream_);
  std::string text;
  std::array<char, 4096> piece;
  for (;;) {
    const ssize_t length =
        pread(caught_, piece.data(), piece.size(), static_cast<off_t>(text.size()));
    if (length <= 0) {
      return text;
    }
    text.append(piece.data(), static_cast<std::size_t>(length));
  }
}

}  // namespace testkit
