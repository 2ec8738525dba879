#pragma once

#include <cstdint>
#include <cstdio>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include <dirent.h>
#include <glob.h>
#include <sys/types.h>

namespace testkit {

/// The machine's files as the library sees them: "/etc/ssddrv/", "/var/log/ssddrv/" and "/sys/" lie
/// in a directory of this process, "/sys/block/" and the NVMe nodes are lists that the test gives.
///
/// At first it holds the two directories of the library and a log.conf that lets everything
/// through. Any call can be refused, and all are recorded. Any thread may use it.
class FakeRoot {
 public:
  /// The one of this process; never destroyed. Made by whoever comes first, which may be a static
  /// constructor of the library.
  static FakeRoot& instance();

  // Files

  /// Makes the file, with the directories above it.
  void write(const std::string& path, const std::string& text);
  [[nodiscard]] std::string read(const std::string& path) const;
  [[nodiscard]] bool exists(const std::string& path) const;
  void remove(const std::string& path);
  /// Where the file really lies.
  [[nodiscard]] std::string place(const std::string& path) const;

  /// Lets "/sys/block/" hold these names, in this order; `fixed` disks get a "removable" file of
  /// "0\n".
  void setBlockDevices(const std::vector<std::string>& names);
  void addFixedDisk(const std::string& name);

  /// Lets "/dev/" hold these nodes, as far as glob asks for them.
  void setNodes(const std::vector<std::string>& nodes);
  /// Lets glob fail with one of its codes.
  void failGlob(int code);

  /// Lets the next `times` calls of `call` ("fopen", "access", "opendir", "stat", "fstat",
  /// "fwrite") on `path` fail with `error`. fstat is known by "fstat" and the path that was opened.
  void refuse(const std::string& call, const std::string& path, int error, int times = 1);

  /// Ends the thread that calls `call` ("fopen", "opendir") on `path` next, as a host may end one
  /// of its own.
  void endThreadAt(const std::string& call, const std::string& path);

  /// What has been called since the last time, in order: "fopen PATH MODE", "fclose PATH",
  /// "access PATH", "opendir PATH", "closedir PATH", "glob PATTERN", "globfree". Calls on the log
  /// file are not among them: see `takeLogFileCalls`.
  std::vector<std::string> takeCalls();
  /// The same for the log file, with "fstat" and "fwrite LENGTH".
  std::vector<std::string> takeLogFileCalls();

  /// Fails the running test if a file, other than the log, or a directory is still open.
  void verify();

  FakeRoot(const FakeRoot&) = delete;
  FakeRoot& operator=(const FakeRoot&) = delete;

  // Called by the seam.
  std::FILE* fopen(const char* path, const char* mode);
  int fclose(std::FILE* file);
  int stat(const char* path, struct stat* status);
  int fstat(int fd, struct stat* status);
  std::size_t fwrite(const void* data, std::size_t size, std::size_t count, std::FILE* file);
  int access(const char* path, int mode);
  DIR* opendir(const char* path);
  dirent* readdir(DIR* directory);
  int closedir(DIR* directory);
  int glob(const char* pattern, int flags, int (*onError)(const char*, int), glob_t* result);
  void globfree(glob_t* result);

 private:
  struct Directory;

  FakeRoot();
  ~FakeRoot() = default;

  void record(const std::string& path, const std::string& call);
  bool isRefused(const std::string& call, const std::string& path);
  [[nodiscard]] std::string openPath(std::FILE* file) const;

  std::string root_;  ///< where all lies
  mutable std::mutex mutex_;
  std::map<std::string, std::pair<int, int>> refusals_;  ///< "call path" -> error, times
  std::set<std::string> ends_;                           ///< "call path"
  std::map<std::FILE*, std::string> openFiles_;
  std::set<Directory*> openDirectories_;
  std::vector<std::string> blockDevices_;
  bool hasBlockDevices_ = false;
  std::vector<std::string> nodes_;
  int globCode_ = 0;
  std::vector<std::string> calls_;
  std::vector<std::string> logFileCalls_;
};

constexpr char kLogConf[] = "/etc/ssddrv/log.conf";
constexpr char kSsddrvIni[] = "/etc/ssddrv/ssddrv.ini";
constexpr char kLogFile[] = "/var/log/ssddrv/ssddrv.log";
constexpr char kBiosVersion[] = "/sys/devices/virtual/dmi/id/bios_version";

}  // namespace testkit
