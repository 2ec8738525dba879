#pragma once

#include <memory>

#include <dirent.h>

#include "base/NoCancellation.h"

struct DirectoryCloser {
  void operator()(DIR* directory) const noexcept {
    const NoCancellation untilClosed;
    closedir(directory);
  }
};

/// The owner of one open directory; closes it when it goes.
using UniqueDirectory = std::unique_ptr<DIR, DirectoryCloser>;
