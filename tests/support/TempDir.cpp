#include "tests/support/TempDir.h"

#include <cstdlib>

#include <filesystem>
#include <stdexcept>

#include <unistd.h>

namespace testkit {

TempDir::TempDir()
    : path_(std::filesystem::temp_directory_path() / "vekssd-test-XXXXXX"), maker_(getpid()) {
  if (mkdtemp(path_.data()) == nullptr) {
    throw std::runtime_error("no temporary directory: " + path_);
  }
}

TempDir::~TempDir() {
  if (getpid() == maker_) {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
}

}  // namespace testkit
