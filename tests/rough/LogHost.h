#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <string_view>

#include <dlfcn.h>
#include <unistd.h>

#include "log/Log.h"

// What the hosts share that use the library for its log alone.
namespace rough {

/// Ends the program with a word about it unless `holds`.
inline void check(bool holds, std::string_view what) {
  if (!holds) {
    std::cerr << "FAILED: " << what << std::endl;
    std::_Exit(EXIT_FAILURE);
  }
}

/// A private directory, removed at its end.
class Scratch {
 public:
  Scratch() {
    path_ = (std::filesystem::temp_directory_path() / "rough-XXXXXX").string();
    check(mkdtemp(path_.data()) != nullptr, "a scratch directory");
  }
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  [[nodiscard]] std::string file(const std::string& name) const { return path_ + '/' + name; }

 private:
  std::string path_;
};

inline std::string contentOf(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The log.conf that the library finds, in the programs that link Files.cpp; none while it is
/// empty.
extern std::string logConf;

/// The built library, loaded for its log alone.
class Library {
 public:
  Library() : handle_(dlopen(VEKSSD_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
    check(handle_ != nullptr, "the library is loaded");
    logQuick_ = reinterpret_cast<decltype(&LogQuick)>(dlsym(handle_, "_Z8LogQuick9LOG_LEVELPKc"));
    check(logQuick_ != nullptr, "LogQuick is exported");
  }
  ~Library() { dlclose(handle_); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  void log(const std::string& text) const { logQuick_(LOG_LEVEL_INFO, text.c_str()); }

 private:
  void* handle_;
  decltype(&LogQuick) logQuick_;
};

}  // namespace rough
