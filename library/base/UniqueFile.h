#pragma once

#include <cstdio>
#include <memory>

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

/// The owner of one open stream; closes it when it goes.
using UniqueFile = std::unique_ptr<std::FILE, FileCloser>;
