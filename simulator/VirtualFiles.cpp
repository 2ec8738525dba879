#include "simulator/VirtualFiles.h"

#include <cerrno>

#include <algorithm>
#include <array>
#include <utility>

namespace simulator {

namespace {

constexpr std::string_view kEtc = "/etc/ssddrv";
constexpr std::string_view kLog = "/var/log/ssddrv";

// Directories that belong to the machine with all that is below them.
constexpr std::array<std::string_view, 5> kTrees{"/sys/block", "/sys/devices/virtual/dmi",
                                                 "/sys/class/dmi", kEtc, kLog};

// Nodes that belong to it, told by how they begin.
constexpr std::array<std::string_view, 2> kNodes{"/dev/sd", "/dev/nvme"};

bool startsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

bool isIn(std::string_view path, std::string_view tree) {
  return startsWith(path, tree) && (path.size() == tree.size() || path[tree.size()] == '/');
}

}  // namespace

std::string tidyPath(std::string_view path) {
  std::string tidy;
  tidy.reserve(path.size());
  for (const char c : path) {
    if (c != '/' || tidy.empty() || tidy.back() != '/') {
      tidy += c;
    }
  }
  if (tidy.size() > 1 && tidy.back() == '/') {
    tidy.pop_back();
  }
  return tidy;
}

VirtualFiles::VirtualFiles(Directories directories) : directories_(std::move(directories)) {
  nothing_.error = ENOENT;
  // The names that are sure to be asked for; others are added when they are.
  for (const char* path :
       {"/etc/ssddrv/log.conf", "/etc/ssddrv/ssddrv.ini", "/var/log/ssddrv/ssddrv.log"}) {
    findRedirected(path);
  }
}

VirtualFiles::~VirtualFiles() {
  for (VirtualFile* file = first_; file != nullptr;) {
    file = std::unique_ptr<VirtualFile>(file)->next;
  }
}

// A list that only grows, at its head: readers need no lock, and a process that forks in between
// finds it whole.
VirtualFile* VirtualFiles::add(VirtualFile file) {
  auto* added = std::make_unique<VirtualFile>(std::move(file)).release();
  added->next = first_.load();
  while (!first_.compare_exchange_weak(added->next, added)) {
  }
  return added;
}

void VirtualFiles::addText(std::string path, std::string content) {
  if (!directories_.etc.empty() && isIn(path, kEtc)) {
    return;
  }
  VirtualFile file;
  file.path = std::move(path);
  file.kind = VirtualFile::Kind::text;
  file.content = std::move(content);
  add(std::move(file));
}

void VirtualFiles::addDirectory(std::string path, std::vector<std::string> names) {
  VirtualFile file;
  file.path = std::move(path);
  file.kind = VirtualFile::Kind::directory;
  file.names = std::move(names);
  add(std::move(file));
}

void VirtualFiles::addDevice(std::string path, Drive* drive) {
  VirtualFile file;
  file.path = std::move(path);
  file.kind = VirtualFile::Kind::device;
  file.drive = drive;
  add(std::move(file));
}

void VirtualFiles::addMissing(std::string path, int error) {
  VirtualFile file;
  file.path = std::move(path);
  file.error = error;
  add(std::move(file));
}

void VirtualFiles::addWatched(const std::string& path) {
  if (owns(path) || findAdded(path) != nullptr) {
    return;
  }
  VirtualFile file;
  file.path = path;
  file.kind = VirtualFile::Kind::elsewhere;
  file.realPath = path;
  add(std::move(file));
}

bool VirtualFiles::owns(std::string_view path) {
  return std::any_of(kTrees.begin(), kTrees.end(),
                     [path](std::string_view tree) { return isIn(path, tree); }) ||
         std::any_of(kNodes.begin(), kNodes.end(),
                     [path](std::string_view node) { return startsWith(path, node); });
}

const VirtualFile* VirtualFiles::findAdded(std::string_view path) const {
  for (const VirtualFile* file = first_; file != nullptr; file = file->next) {
    if (file->path == path) {
      return file;
    }
  }
  return nullptr;
}

const VirtualFile* VirtualFiles::findRedirected(const std::string& path) {
  const bool inEtc = isIn(path, kEtc);
  const std::string& directory = inEtc ? directories_.etc : directories_.log;
  if (directory.empty() || (!inEtc && !isIn(path, kLog))) {
    return nullptr;
  }
  VirtualFile file;
  file.path = path;
  file.kind = VirtualFile::Kind::elsewhere;
  file.realPath = directory + path.substr(inEtc ? kEtc.size() : kLog.size());
  return add(std::move(file));
}

const VirtualFile* VirtualFiles::find(std::string_view path) {
  if (path.empty() || path.front() != '/') {
    return nullptr;
  }
  const std::string tidy = tidyPath(path);
  if (const VirtualFile* file = findAdded(tidy); file != nullptr) {
    return file;
  }
  if (!owns(tidy)) {
    return nullptr;
  }
  const VirtualFile* redirected = findRedirected(tidy);
  return redirected != nullptr ? redirected : &nothing_;
}

std::vector<std::string> VirtualFiles::namesBelow(std::string_view directory) const {
  std::vector<std::string> names;
  for (const VirtualFile* file = first_; file != nullptr; file = file->next) {
    const std::string_view path = file->path;
    if (file->kind != VirtualFile::Kind::missing && path.size() > directory.size() + 1 &&
        isIn(path, directory) && path.find('/', directory.size() + 1) == std::string_view::npos) {
      names.emplace_back(path.substr(directory.size() + 1));
    }
  }
  std::reverse(names.begin(), names.end());
  return names;
}

}  // namespace simulator
