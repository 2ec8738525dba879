#include <fcntl.h>

#include <cstring>
#include <memory>
#include <vector>

#include "simulator/preload/Calls.h"

// Directory streams. The stream of a directory of the machine is a real one over "/", so that every
// other call on it is harmless and its descriptor counts like any other; only what is read from it
// comes from the machine.
namespace simulator {

namespace {

DIR* openDirectory(const std::string& path, const VirtualFile& file) {
  if (const FaultOutcome* fault = session()->meetFault("opendir", path)) {
    errno = *fault->error;
    return nullptr;
  }
  if (file.kind == VirtualFile::Kind::elsewhere) {
    return real().opendir(file.realPath.c_str());
  }
  if (file.kind != VirtualFile::Kind::directory) {
    errno = file.kind == VirtualFile::Kind::missing ? file.error : ENOTDIR;
    return nullptr;
  }
  DIR* stream = real().opendir("/");
  if (stream != nullptr) {
    const int fd = dirfd(stream);
    descriptors().clear(fd);
    descriptors().set(fd, &file);
    descriptors().setCursor(fd, new DirectoryCursor);
  }
  return stream;
}

unsigned char typeOf(const VirtualFile& directory, const std::string& name) {
  if (name == "." || name == "..") {
    return DT_DIR;
  }
  // In /sys/block stand links to the devices' directories.
  return directory.path == "/sys/block" ? DT_LNK : DT_REG;
}

dirent* nextEntry(const VirtualFile& directory, DirectoryCursor& cursor) {
  static constexpr std::size_t kDots = 2;
  if (cursor.next >= directory.names.size() + kDots) {
    return nullptr;
  }
  const std::size_t index = cursor.next++;
  const std::string name = index == 0 ? "." : index == 1 ? ".." : directory.names[index - kDots];
  cursor.entry = {};
  cursor.entry.d_ino = index + 1;
  cursor.entry.d_off = static_cast<off_t>(cursor.next);
  cursor.entry.d_reclen = sizeof cursor.entry;
  cursor.entry.d_type = typeOf(directory, name);
  std::strncpy(cursor.entry.d_name, name.c_str(), sizeof cursor.entry.d_name - 1);
  return &cursor.entry;
}

dirent* readEntry(DIR* stream) {
  const int fd = dirfd(stream);
  const VirtualFile* file = descriptors().at(fd);
  DirectoryCursor* cursor = file == nullptr ? nullptr : descriptors().cursor(fd);
  if (cursor == nullptr) {
    return real().readdir(stream);
  }
  Session* current = session();
  const FaultOutcome* fault = current->meetFault("readdir", file->path);
  dirent* entry = nullptr;
  if (fault != nullptr) {
    errno = *fault->error;
  } else {
    entry = nextEntry(*file, *cursor);
  }
  if (current->journal().wanted()) {
    auto line = entryOf("readdir", file->path, entry != nullptr ? 1 : 0, fault != nullptr);
    if (entry != nullptr) {
      line["name"] = entry->d_name;
    }
    current->journal().write(std::move(line));
  }
  return entry;
}

// The listing that the C library's glob walks while it expands a pattern for us.
struct Listing {
  std::vector<std::string> names;
  std::size_t next = 0;
  dirent entry{};
};

std::vector<std::string> realNames(const char* path) {
  std::vector<std::string> names;
  DIR* stream = real().opendir(path);
  if (stream == nullptr) {
    return names;
  }
  while (const dirent* entry = real().readdir(stream)) {
    names.emplace_back(entry->d_name);
  }
  real().closedir(stream);
  return names;
}

void* listingOpen(const char* path) {
  auto listing = std::make_unique<Listing>();
  VirtualFiles& files = session()->machine().files();
  const std::string tidy = tidyPath(path);
  const VirtualFile* file = files.find(tidy);
  if (file != nullptr && file->kind != VirtualFile::Kind::directory) {
    errno = file->kind == VirtualFile::Kind::missing ? file->error : ENOTDIR;
    return nullptr;
  }
  if (file != nullptr) {
    listing->names = file->names;
    return listing.release();
  }
  // A real directory: what is really there, but for the places that belong to the machine.
  for (std::string& name : realNames(path)) {
    if (!VirtualFiles::owns(tidy + "/" + name)) {
      listing->names.push_back(std::move(name));
    }
  }
  for (std::string& name : files.namesBelow(tidy)) {
    if (VirtualFiles::owns(tidy + "/" + name)) {
      listing->names.push_back(std::move(name));
    }
  }
  return listing.release();
}

dirent* listingRead(void* stream) {
  auto* listing = static_cast<Listing*>(stream);
  if (listing->next == listing->names.size()) {
    return nullptr;
  }
  listing->entry = {};
  listing->entry.d_ino = listing->next + 1;
  listing->entry.d_type = DT_UNKNOWN;
  std::strncpy(listing->entry.d_name, listing->names[listing->next++].c_str(),
               sizeof listing->entry.d_name - 1);
  return &listing->entry;
}

void listingClose(void* stream) { delete static_cast<Listing*>(stream); }

int listingStatus(const char* path, bool follow, struct stat* status) {
  const VirtualFile* file = fileAt(session(), path);
  if (file != nullptr) {
    return statFile(*file, follow, status);
  }
  return follow ? real().stat(path, status) : real().lstat(path, status);
}

int listingStat(const char* path, struct stat* status) { return listingStatus(path, true, status); }

int listingLstat(const char* path, struct stat* status) {
  return listingStatus(path, false, status);
}

// Expands with the C library's own glob, which sees the machine's directories through the functions
// above; afterwards the caller's structure is as if it had never heard of them.
int expand(const char* pattern, int flags, int (*onError)(const char*, int), glob_t* result) {
  const glob_t before = *result;
  result->gl_opendir = listingOpen;
  result->gl_readdir = listingRead;
  result->gl_closedir = listingClose;
  result->gl_stat = listingStat;
  result->gl_lstat = listingLstat;
  const int code = real().glob(pattern, flags | GLOB_ALTDIRFUNC, onError, result);
  result->gl_opendir = before.gl_opendir;
  result->gl_readdir = before.gl_readdir;
  result->gl_closedir = before.gl_closedir;
  result->gl_stat = before.gl_stat;
  result->gl_lstat = before.gl_lstat;
  result->gl_flags &= ~GLOB_ALTDIRFUNC;
  return code;
}

bool mayMatchMachine(std::string_view pattern) {
  const std::string literal(pattern.substr(0, pattern.find_first_of("*?[{\\~")));
  return VirtualFiles::owns(literal) || literal.rfind("/dev/", 0) == 0 ||
         literal.rfind("/sys/", 0) == 0;
}

int globPattern(const char* pattern, int flags, int (*onError)(const char*, int), glob_t* result) {
  Session* current = session();
  if (current == nullptr || !mayMatchMachine(pattern) || (flags & GLOB_ALTDIRFUNC) != 0) {
    return real().glob(pattern, flags, onError, result);
  }
  const FaultOutcome* fault = current->meetFault("glob", pattern);
  int code = 0;
  if (fault != nullptr) {
    // A glob that fails leaves an empty result, fit for globfree.
    result->gl_pathc = 0;
    result->gl_pathv = nullptr;
    code = fault->result.value_or(GLOB_ABORTED);
  } else {
    code = expand(pattern, flags, onError, result);
  }
  if (current->journal().wanted()) {
    auto entry = entryOf("glob", pattern, code, false);
    entry["paths"] = nlohmann::ordered_json::array();
    for (std::size_t i = 0; code == 0 && i < result->gl_pathc; ++i) {
      entry["paths"].push_back(result->gl_pathv[result->gl_offs + i]);
    }
    current->journal().write(std::move(entry));
  }
  return code;
}

}  // namespace

}  // namespace simulator

using namespace simulator;

VEKSSD_INTERPOSED DIR* opendir(const char* path) {
  Session* current = session();
  const VirtualFile* file = fileAt(current, path);
  if (file == nullptr) {
    DIR* stream = real().opendir(path);
    if (stream != nullptr) {
      descriptors().clear(dirfd(stream));
    }
    return stream;
  }
  const std::string tidy = tidyPath(path);
  DIR* stream = openDirectory(tidy, *file);
  if (current->journal().wanted()) {
    current->journal().write(
        entryOf("opendir", tidy, stream != nullptr ? dirfd(stream) : -1, stream == nullptr));
  }
  return stream;
}

VEKSSD_INTERPOSED dirent* readdir(DIR* stream) { return readEntry(stream); }

// The two structures are one on this architecture.
static_assert(sizeof(dirent) == sizeof(dirent64));
VEKSSD_INTERPOSED dirent64* readdir64(DIR* stream) {
  return reinterpret_cast<dirent64*>(readEntry(stream));
}

VEKSSD_INTERPOSED void rewinddir(DIR* stream) noexcept {
  if (DirectoryCursor* cursor = descriptors().cursor(dirfd(stream))) {
    cursor->next = 0;
    return;
  }
  real().rewinddir(stream);
}

VEKSSD_INTERPOSED int closedir(DIR* stream) {
  const int fd = dirfd(stream);
  const VirtualFile* file = descriptors().at(fd);
  descriptors().clear(fd);
  const int result = real().closedir(stream);
  if (file != nullptr && session()->journal().wanted()) {
    auto entry = entryOf("closedir", file->path, result, result != 0);
    entry["fd"] = fd;
    session()->journal().write(std::move(entry));
  }
  return result;
}

VEKSSD_INTERPOSED int glob(const char* pattern, int flags, int (*onError)(const char*, int),
                           glob_t* result) noexcept {
  return globPattern(pattern, flags, onError, result);
}

// The two structures are one on this architecture.
static_assert(sizeof(glob_t) == sizeof(glob64_t));
VEKSSD_INTERPOSED int glob64(const char* pattern, int flags, int (*onError)(const char*, int),
                             glob64_t* result) noexcept {
  return globPattern(pattern, flags, onError, reinterpret_cast<glob_t*>(result));
}
