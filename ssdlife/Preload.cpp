#include "ssdlife/Preload.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

#include "ssdlife/Failure.h"
#include "ssdlife/LibraryPath.h"

namespace ssdlife {
namespace {

constexpr const char* kPreloadVariable = "LD_PRELOAD";

bool isLoaded(const std::string& library) {
  void* const handle = dlopen(library.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle != nullptr) {
    dlclose(handle);
  }
  return handle != nullptr;
}

// A name in the loader's list, which blanks and colons part.
bool isListed(const std::string& list, const std::string& path) {
  for (std::size_t start = 0; start < list.size();) {
    const std::size_t end = std::min(list.find_first_of(" :", start), list.size());
    if (list.compare(start, end - start, path) == 0) {
      return true;
    }
    start = end + 1;
  }
  return false;
}

}  // namespace

Preload::Preload(const std::string& what, const std::string& name, const std::string& provider)
    : what_(what) {
  const std::vector<std::string> candidates = preloadCandidates(name, provider);
  const auto found = std::find_if(
      candidates.begin(), candidates.end(),
      [](const std::string& candidate) { return access(candidate.c_str(), R_OK) == 0; });
  if (found == candidates.end()) {
    std::string tried;
    for (const std::string& candidate : candidates) {
      tried += (tried.empty() ? "" : ", ") + candidate;
    }
    throw Failure(ExitCode::kMachine, "the " + what_ + " is not there; looked for " + tried);
  }
  std::error_code ignored;
  path_ = std::filesystem::canonical(*found, ignored).string();
  if (path_.find_first_of(" :") != std::string::npos) {
    throw Failure(ExitCode::kMachine, "the " + what_ +
                                          " can't be preloaded from a path with blanks or "
                                          "colons: " +
                                          path_);
  }
}

bool Preload::isThere() const {
  if (!isListed(environment(kPreloadVariable), path_)) {
    return false;
  }
  if (!isLoaded(path_)) {
    throw Failure(ExitCode::kMachine, "the " + what_ + " could not be preloaded: " + path_);
  }
  return true;
}

void* Preload::symbol(const char* name) const {
  void* const library = dlopen(path_.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    throw Failure(ExitCode::kMachine,
                  "the " + what_ + " could not be preloaded: " + std::string(dlerror()));
  }
  return dlsym(library, name);
}

void Preload::startAnew(char** argv) const {
  const std::string others = environment(kPreloadVariable);
  setenv(kPreloadVariable, (others.empty() ? path_ : path_ + ':' + others).c_str(), 1);
  execv("/proc/self/exe", argv);
  throw Failure(ExitCode::kMachine, "ssdlife can't be started with the " + what_ + ": " +
                                        std::generic_category().message(errno));
}

std::string environment(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

}  // namespace ssdlife
