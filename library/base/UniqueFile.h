#pragma once

#include <cstdio>
#include <memory>

#include "base/NoCancellation.h"

struct FileCloser {
  void operator()(std::FILE* file) const noexcept {
    const NoCancellation untilClosed;
    std::fclose(file);
  }
};

/// The owner of one open stream; closes it when it goes.
using UniqueFile = std::unique_ptr<std::FILE, FileCloser>;
