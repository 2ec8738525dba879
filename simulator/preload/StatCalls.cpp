#include <fcntl.h>
#include <sys/sysmacros.h>

#include "simulator/preload/Calls.h"

// stat and its kin: on paths, on descriptors, and the names that older programs were linked to.
namespace simulator {

namespace {

// Device numbers, Documentation/admin-guide/devices.txt: disks are blocks of major 8. NVMe takes
// what the kernel has left; so does the simulator.
constexpr unsigned kDiskMajor = 8;
constexpr unsigned kNvmeMajor = 242;

bool isController(const std::string& node) {
  return node.compare(0, 4, "nvme") == 0 && node.find('n', 4) == std::string::npos;
}

void fill(const VirtualFile& file, struct stat* status) {
  *status = {};
  status->st_nlink = 1;
  status->st_blksize = 4096;
  switch (file.kind) {
    case VirtualFile::Kind::device: {
      const std::string& node = file.drive->node();
      const unsigned majorNumber = node.compare(0, 2, "sd") == 0 ? kDiskMajor : kNvmeMajor;
      status->st_mode = isController(node) ? S_IFCHR | 0600U : S_IFBLK | 0660U;
      status->st_rdev = makedev(majorNumber, 0);
      break;
    }
    case VirtualFile::Kind::directory:
      status->st_mode = S_IFDIR | 0755U;
      break;
    default:
      status->st_mode = S_IFREG | 0444U;
      status->st_size = static_cast<off_t>(file.content.size());
      break;
  }
}

// A null fault: the call isn't made to fail.
int fstatDescriptor(int fd, const VirtualFile& file, struct stat* status) {
  Session* current = session();
  const FaultOutcome* fault = current->meetFault("fstat", file.path);
  int result = 0;
  if (fault != nullptr) {
    errno = *fault->error;
    result = -1;
  } else if (file.kind == VirtualFile::Kind::elsewhere) {
    result = real().fstat(fd, status);
  } else {
    fill(file, status);
  }
  if (current->journal().wanted()) {
    auto entry = entryOf("fstat", file.path, result, result != 0);
    entry["fd"] = fd;
    current->journal().write(std::move(entry));
  }
  return result;
}

int statPath(const char* path, bool follow, struct stat* status) {
  const VirtualFile* file = fileAt(session(), path);
  if (file == nullptr) {
    return follow ? real().stat(path, status) : real().lstat(path, status);
  }
  return statFile(*file, follow, status);
}

int statDescriptor(int fd, struct stat* status) {
  const VirtualFile* file = descriptors().at(fd);
  return file == nullptr ? real().fstat(fd, status) : fstatDescriptor(fd, *file, status);
}

int statFrom(int directory, const char* path, struct stat* status, int flags) {
  const VirtualFile* file = fileAt(session(), path);
  return file == nullptr ? real().fstatat(directory, path, status, flags)
                         : statFile(*file, (flags & AT_SYMLINK_NOFOLLOW) == 0, status);
}

int extendedFrom(int directory, const char* path, int flags, unsigned mask, struct statx* status) {
  const VirtualFile* file = fileAt(session(), path);
  if (file == nullptr) {
    return real().statx(directory, path, flags, mask, status);
  }
  if (file->kind == VirtualFile::Kind::elsewhere) {
    return real().statx(directory, file->realPath.c_str(), flags, mask, status);
  }
  struct stat plain {};
  if (statFile(*file, true, &plain) != 0) {
    return -1;
  }
  *status = {};
  status->stx_mask = STATX_BASIC_STATS;
  status->stx_nlink = 1;
  status->stx_blksize = static_cast<std::uint32_t>(plain.st_blksize);
  status->stx_mode = static_cast<std::uint16_t>(plain.st_mode);
  status->stx_size = static_cast<std::uint64_t>(plain.st_size);
  status->stx_rdev_major = major(plain.st_rdev);
  status->stx_rdev_minor = minor(plain.st_rdev);
  return 0;
}

// The two structures are one on this architecture.
static_assert(sizeof(struct stat) == sizeof(struct stat64));
struct stat* same(struct stat64* status) {
  return reinterpret_cast<struct stat*>(status);
}

}  // namespace

int statFile(const VirtualFile& file, bool follow, struct stat* status) {
  if (file.kind == VirtualFile::Kind::missing) {
    errno = file.error;
    return -1;
  }
  if (file.kind == VirtualFile::Kind::elsewhere) {
    return follow ? real().stat(file.realPath.c_str(), status)
                  : real().lstat(file.realPath.c_str(), status);
  }
  fill(file, status);
  return 0;
}

}  // namespace simulator

using namespace simulator;

VEKSSD_INTERPOSED int stat(const char* path, struct stat* status) noexcept {
  return statPath(path, true, status);
}

VEKSSD_INTERPOSED int stat64(const char* path, struct stat64* status) noexcept {
  return statPath(path, true, same(status));
}

VEKSSD_INTERPOSED int lstat(const char* path, struct stat* status) noexcept {
  return statPath(path, false, status);
}

VEKSSD_INTERPOSED int lstat64(const char* path, struct stat64* status) noexcept {
  return statPath(path, false, same(status));
}

VEKSSD_INTERPOSED int fstat(int fd, struct stat* status) noexcept {
  return statDescriptor(fd, status);
}

VEKSSD_INTERPOSED int fstat64(int fd, struct stat64* status) noexcept {
  return statDescriptor(fd, same(status));
}

VEKSSD_INTERPOSED int fstatat(int directory, const char* path, struct stat* status,
                              int flags) noexcept {
  return statFrom(directory, path, status, flags);
}

VEKSSD_INTERPOSED int fstatat64(int directory, const char* path, struct stat64* status,
                                int flags) noexcept {
  return statFrom(directory, path, same(status), flags);
}

VEKSSD_INTERPOSED int statx(int directory, const char* path, int flags, unsigned mask,
                            struct statx* status) noexcept {
  return extendedFrom(directory, path, flags, mask, status);
}

// Programs linked before C library 2.33 call these.
VEKSSD_INTERPOSED int __xstat(int version, const char* path, struct stat* status);
VEKSSD_INTERPOSED int __xstat(int /*version*/, const char* path, struct stat* status) {
  return statPath(path, true, status);
}

VEKSSD_INTERPOSED int __xstat64(int version, const char* path, struct stat64* status);
VEKSSD_INTERPOSED int __xstat64(int /*version*/, const char* path, struct stat64* status) {
  return statPath(path, true, same(status));
}

VEKSSD_INTERPOSED int __fxstat(int version, int fd, struct stat* status);
VEKSSD_INTERPOSED int __fxstat(int /*version*/, int fd, struct stat* status) {
  return statDescriptor(fd, status);
}

VEKSSD_INTERPOSED int __fxstat64(int version, int fd, struct stat64* status);
VEKSSD_INTERPOSED int __fxstat64(int /*version*/, int fd, struct stat64* status) {
  return statDescriptor(fd, same(status));
}
