#include "tests/support/FakeRoot.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <fnmatch.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include "tests/support/RealCalls.h"
#include "tests/support/TempDir.h"

namespace testkit {

namespace {

constexpr char kBlockDevicesPath[] = "/sys/block/";

bool startsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

std::vector<std::string> taken(std::vector<std::string>& from) {
  std::vector<std::string> result;
  result.swap(from);
  return result;
}

}  // namespace

struct FakeRoot::Directory {
  std::vector<std::string> names;
  std::size_t next = 0;
  dirent entry{};
};

FakeRoot& FakeRoot::instance() {
  static auto* root = new FakeRoot;
  return *root;
}

FakeRoot::FakeRoot() {
  // Goes when the process ends, which may still write files of its own afterwards.
  static const TempDir directory;
  root_ = directory.path();
  write(kLogConf, "Level=4\n");
  std::filesystem::create_directories(place("/var/log/ssddrv"));
}

std::string FakeRoot::place(const std::string& path) const {
  for (const char* covered : {"/etc/ssddrv", "/var/log/ssddrv", "/sys/"}) {
    if (startsWith(path, covered)) {
      return root_ + path;
    }
  }
  return path;
}

void FakeRoot::write(const std::string& path, const std::string& text) {
  const std::filesystem::path real = place(path);
  std::filesystem::create_directories(real.parent_path());
  std::ofstream(real, std::ios::binary | std::ios::trunc) << text;
}

std::string FakeRoot::read(const std::string& path) const {
  std::ifstream file(place(path), std::ios::binary);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

bool FakeRoot::exists(const std::string& path) const {
  return std::filesystem::exists(place(path));
}

void FakeRoot::remove(const std::string& path) { std::filesystem::remove_all(place(path)); }

void FakeRoot::setBlockDevices(const std::vector<std::string>& names) {
  const std::lock_guard lock(mutex_);
  blockDevices_ = names;
  hasBlockDevices_ = true;
}

void FakeRoot::addFixedDisk(const std::string& name) {
  write(kBlockDevicesPath + name + "/removable", "0\n");
  const std::lock_guard lock(mutex_);
  blockDevices_.push_back(name);
  hasBlockDevices_ = true;
}

void FakeRoot::setNodes(const std::vector<std::string>& nodes) {
  const std::lock_guard lock(mutex_);
  nodes_ = nodes;
}

void FakeRoot::failGlob(int code) {
  const std::lock_guard lock(mutex_);
  globCode_ = code;
}

void FakeRoot::refuse(const std::string& call, const std::string& path, int error, int times) {
  const std::lock_guard lock(mutex_);
  refusals_[call + " " + path] = {error, times};
}

void FakeRoot::endThreadAt(const std::string& call, const std::string& path) {
  const std::lock_guard lock(mutex_);
  ends_.insert(call + " " + path);
}

bool FakeRoot::isRefused(const std::string& call, const std::string& path) {
  if (ends_.erase(call + " " + path) != 0) {
    pthread_exit(nullptr);
  }
  const auto refusal = refusals_.find(call + " " + path);
  if (refusal == refusals_.end() || refusal->second.second == 0) {
    return false;
  }
  --refusal->second.second;
  errno = refusal->second.first;
  return true;
}

void FakeRoot::record(const std::string& path, const std::string& call) {
  (startsWith(path, "/var/log/") ? logFileCalls_ : calls_).push_back(call);
}

std::string FakeRoot::openPath(std::FILE* file) const {
  const auto found = openFiles_.find(file);
  return found == openFiles_.end() ? std::string() : found->second;
}

std::vector<std::string> FakeRoot::takeCalls() {
  const std::lock_guard lock(mutex_);
  return taken(calls_);
}

std::vector<std::string> FakeRoot::takeLogFileCalls() {
  const std::lock_guard lock(mutex_);
  return taken(logFileCalls_);
}

void FakeRoot::verify() {
  const std::lock_guard lock(mutex_);
  for (const auto& [file, path] : openFiles_) {
    if (!startsWith(path, "/var/log/")) {
      ADD_FAILURE() << path << " was left open";
    }
  }
  if (!openDirectories_.empty()) {
    ADD_FAILURE() << "a directory was left open";
  }
}

std::FILE* FakeRoot::fopen(const char* path, const char* mode) {
  const std::lock_guard lock(mutex_);
  const std::string real = place(path);
  if (real == path) {
    return __real_fopen(path, mode);
  }
  record(path, std::string("fopen ") + path + " " + mode);
  if (isRefused("fopen", path)) {
    return nullptr;
  }
  std::FILE* file = __real_fopen(real.c_str(), mode);
  if (file != nullptr) {
    openFiles_[file] = path;
  }
  return file;
}

int FakeRoot::fclose(std::FILE* file) {
  const std::lock_guard lock(mutex_);
  if (const std::string path = openPath(file); !path.empty()) {
    record(path, "fclose " + path);
    openFiles_.erase(file);
  }
  return __real_fclose(file);
}

int FakeRoot::stat(const char* path, struct stat* status) {
  const std::lock_guard lock(mutex_);
  return isRefused("stat", path) ? -1 : __real_stat(place(path).c_str(), status);
}

int FakeRoot::fstat(int fd, struct stat* status) {
  const std::lock_guard lock(mutex_);
  for (const auto& [file, path] : openFiles_) {
    if (fileno(file) == fd) {
      record(path, "fstat");
      if (isRefused("fstat", path)) {
        return -1;
      }
    }
  }
  return __real_fstat(fd, status);
}

std::size_t FakeRoot::fwrite(const void* data, std::size_t size, std::size_t count,
                             std::FILE* file) {
  {
    const std::lock_guard lock(mutex_);
    if (const std::string path = openPath(file); !path.empty()) {
      record(path, "fwrite " + std::to_string(size * count));
      if (isRefused("fwrite", path)) {
        return 0;
      }
    }
  }
  return __real_fwrite(data, size, count, file);
}

int FakeRoot::access(const char* path, int mode) {
  const std::lock_guard lock(mutex_);
  record(path, std::string("access ") + path + (mode == R_OK ? " read" : " other"));
  if (isRefused("access", path)) {
    return -1;
  }
  return __real_access(place(path).c_str(), mode);
}

DIR* FakeRoot::opendir(const char* path) {
  const std::lock_guard lock(mutex_);
  record(path, std::string("opendir ") + path);
  if (isRefused("opendir", path)) {
    return nullptr;
  }
  if (path != std::string(kBlockDevicesPath) || !hasBlockDevices_) {
    errno = ENOENT;
    return nullptr;
  }
  auto* directory = new Directory;
  directory->names = blockDevices_;
  openDirectories_.insert(directory);
  return reinterpret_cast<DIR*>(directory);
}

dirent* FakeRoot::readdir(DIR* handle) {
  const std::lock_guard lock(mutex_);
  auto* directory = reinterpret_cast<Directory*>(handle);
  if (directory->next == directory->names.size()) {
    return nullptr;
  }
  const std::string& name = directory->names[directory->next++];
  std::memset(&directory->entry, 0, sizeof directory->entry);
  name.copy(directory->entry.d_name, sizeof directory->entry.d_name - 1);
  return &directory->entry;
}

int FakeRoot::closedir(DIR* handle) {
  const std::lock_guard lock(mutex_);
  auto* directory = reinterpret_cast<Directory*>(handle);
  record(kBlockDevicesPath, std::string("closedir ") + kBlockDevicesPath);
  openDirectories_.erase(directory);
  delete directory;
  return 0;
}

int FakeRoot::glob(const char* pattern, int flags, int (*onError)(const char*, int),
                   glob_t* result) {
  const std::lock_guard lock(mutex_);
  record("glob", std::string("glob ") + pattern + " " + std::to_string(flags) +
                     (onError == nullptr ? "" : " with a handler"));
  *result = {};
  std::vector<std::string> matches;
  for (const std::string& node : nodes_) {
    if (fnmatch(pattern, node.c_str(), FNM_PATHNAME) == 0) {
      matches.push_back(node);
    }
  }
  if (globCode_ != 0) {
    return globCode_;
  }
  if (matches.empty()) {
    return GLOB_NOMATCH;
  }
  if ((flags & GLOB_NOSORT) == 0) {
    std::sort(matches.begin(), matches.end());
  }
  result->gl_pathv = static_cast<char**>(std::calloc(matches.size() + 1, sizeof(char*)));
  for (const std::string& match : matches) {
    result->gl_pathv[result->gl_pathc++] = strdup(match.c_str());
  }
  return 0;
}

void FakeRoot::globfree(glob_t* result) {
  const std::lock_guard lock(mutex_);
  record("glob", "globfree");
  for (std::size_t i = 0; i < result->gl_pathc; ++i) {
    std::free(result->gl_pathv[i]);
  }
  std::free(result->gl_pathv);
  *result = {};
}

}  // namespace testkit
