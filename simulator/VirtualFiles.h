#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/Drive.h"

namespace simulator {

// What stands at one path of the simulated machine. Never changes and lives as long as the machine.
struct VirtualFile {
  enum class Kind {
    missing,    // not there, or out of reach: every call fails with error
    text,       // a file with content
    directory,  // names, in the order in which readdir yields them
    device,     // a drive's node
    elsewhere,  // the real file at realPath stands in for it
  };

  std::string path;
  Kind kind = Kind::missing;
  int error = 0;
  std::string content;
  std::vector<std::string> names;
  Drive* drive = nullptr;
  std::string realPath;

  VirtualFile* next = nullptr;  // of VirtualFiles' own list
};

// Where the machine keeps what is not its own.
struct Directories {
  std::string etc;  // real directory that stands for /etc/ssddrv; empty: the machine's own files
  std::string log;  // real directory that stands for /var/log/ssddrv; empty: there is none
};

// The paths of a simulated machine: a few trees that belong to it wholly ("/sys/block", the DMI
// directories, "/etc/ssddrv", "/var/log/ssddrv", "/dev/sd...", "/dev/nvme..."), and single others
// that the faults name. Any number of threads may look paths up at once.
class VirtualFiles {
 public:
  explicit VirtualFiles(Directories directories);
  ~VirtualFiles();
  VirtualFiles(const VirtualFiles&) = delete;
  VirtualFiles& operator=(const VirtualFiles&) = delete;

  // Ignored for a file in a tree that a real directory stands for.
  void addText(std::string path, std::string content);
  void addDirectory(std::string path, std::vector<std::string> names);
  void addDevice(std::string path, Drive* drive);
  void addMissing(std::string path, int error);
  // A real path that stays what it is, but whose calls are looked at.
  void addWatched(const std::string& path);

  // What stands at path, or null where the machine has no say.
  const VirtualFile* find(std::string_view path);

  // All paths below directory that exist, in the order in which they were added (for glob).
  [[nodiscard]] std::vector<std::string> namesBelow(std::string_view directory) const;

  [[nodiscard]] static bool owns(std::string_view path);

 private:
  VirtualFile* add(VirtualFile file);
  const VirtualFile* findAdded(std::string_view path) const;
  const VirtualFile* findRedirected(const std::string& path);

  const Directories directories_;
  VirtualFile nothing_;  // stands at every path of the machine's own where nothing was added
  std::atomic<VirtualFile*> first_{nullptr};
};

// "/sys//block/" is "/sys/block"; "." and ".." are not resolved.
std::string tidyPath(std::string_view path);

}  // namespace simulator
