#include "bench/Machine.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <glob.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "bench/DriveAnswers.h"

namespace {

namespace fs = std::filesystem;

void writeFile(const fs::path& path, const std::string& text) {
  fs::create_directories(path.parent_path());
  std::ofstream(path) << text;
}

fs::path makeRoot() {
  std::string name = fs::temp_directory_path() / "vekssd-bench-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) {
    std::perror("bench: no temporary directory");
    std::abort();
  }
  return name;
}

const char* environmentOr(const char* name, const char* otherwise) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : otherwise;
}

/// The files of the machine, below a directory of their own.
struct Files {
  Files() : drives(static_cast<unsigned>(std::stoul(environmentOr("VEKSSD_BENCH_DRIVES", "1")))) {
    // No limit that a benchmark could reach; the level is the one that tills run at.
    writeFile(root / "etc/ssddrv/log.conf",
              "Level=2\nMaxLength=1000000000000\nFileName=" + logPath + "\n");
    writeFile(root / "etc/ssddrv/ssddrv.ini",
              std::string("PollRate=") + environmentOr("VEKSSD_BENCH_POLL_RATE", "1000000") + "\n");
    writeFile(root / "sys/devices/virtual/dmi/id/bios_version", "1.02.3\n");
    fs::create_directories(root / "sys/block");
    for (unsigned i = 0; i < drives; ++i) {
      writeFile(root / "sys/block" / bench::driveName(i) / "removable", "0\n");
    }
  }

  const fs::path root = makeRoot();
  const std::string logPath = root / "ssddrv.log";
  const unsigned drives;
};

/// Never destroyed: the library logs until the very end of the process. Made on first use, which is
/// the library's own, before main.
Files& files() {
  static Files* made = new Files;
  return *made;
}

thread_local std::uint64_t answered = 0;

bool startsWith(const char* text, const char* beginning) {
  return std::strncmp(text, beginning, std::strlen(beginning)) == 0;
}

bool isDriveNode(const char* path) {
  return startsWith(path, "/dev/sd") || startsWith(path, "/dev/nvme");
}

/// Where the file is that the machine has under this path.
std::string moved(const char* path) {
  if (startsWith(path, "/etc/ssddrv/") || startsWith(path, "/sys/block/") ||
      startsWith(path, "/sys/devices/virtual/dmi/")) {
    return files().root.string() + path;
  }
  return path;
}

template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

unsigned bench::driveCount() { return files().drives; }

std::string bench::driveName(unsigned index) {
  std::string letters;
  for (unsigned rest = index + 1; rest > 0; rest = (rest - 1) / 26) {
    letters.insert(letters.begin(), static_cast<char>('a' + (rest - 1) % 26));
  }
  return "sd" + letters;
}

std::uint64_t bench::answeredRequests() { return answered; }

const std::string& bench::logPath() { return files().logPath; }

void bench::leave(int exitCode) {
  std::error_code ignored;
  fs::remove_all(files().root, ignored);
  std::fflush(nullptr);
  _exit(exitCode);
}

// The calls by which the machine is seen. They are found before the C library's own, by the library
// under measurement and by the bare calls that it is compared with.

#define BENCH_CALL extern "C" __attribute__((visibility("default")))

BENCH_CALL int open(const char* path, int flags, ...) {
  mode_t mode = 0;
  if ((flags & O_CREAT) != 0) {
    va_list arguments;
    va_start(arguments, flags);
    mode = va_arg(arguments, mode_t);
    va_end(arguments);
  }
  return static_cast<int>(
      syscall(SYS_openat, AT_FDCWD, isDriveNode(path) ? "/dev/null" : path, flags, mode));
}

BENCH_CALL int ioctl(int fd, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  const int result = static_cast<int>(syscall(SYS_ioctl, fd, request, argument));
  if (!bench::answer(request, argument)) {
    return result;
  }
  ++answered;
  return 0;
}

BENCH_CALL FILE* fopen(const char* path, const char* mode) {
  static auto* const real = next<FILE*(const char*, const char*)>("fopen");
  return real(moved(path).c_str(), mode);
}

BENCH_CALL int access(const char* path, int mode) noexcept {
  return static_cast<int>(syscall(SYS_access, moved(path).c_str(), mode));
}

BENCH_CALL DIR* opendir(const char* path) {
  static auto* const real = next<DIR*(const char*)>("opendir");
  return real(moved(path).c_str());
}

/// No NVMe controller is found by a scan: there can be ten at most, too few for the larger
/// machines.
BENCH_CALL int glob(const char*, int, int (*)(const char*, int), glob_t* found) noexcept {
  found->gl_pathc = 0;
  found->gl_pathv = nullptr;
  return GLOB_NOMATCH;
}

BENCH_CALL void globfree(glob_t*) noexcept {}
