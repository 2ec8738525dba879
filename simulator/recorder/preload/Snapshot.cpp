#include "simulator/recorder/preload/Snapshot.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>

#include "simulator/preload/Real.h"
#include "simulator/recorder/NodeName.h"

namespace simulator {

namespace {

constexpr const char* kBios = "/sys/devices/virtual/dmi/id/bios_version";
constexpr const char* kBlock = "/sys/block";
constexpr const char* kSettings = "/etc/ssddrv/ssddrv.ini";
constexpr const char* kLogSettings = "/etc/ssddrv/log.conf";

FileContent contentOf(const std::string& path) {
  std::FILE* const file = real().fopen(path.c_str(), "r");
  if (file == nullptr) {
    return errno;
  }
  std::string content;
  std::array<char, 4096> piece{};
  while (const std::size_t length = std::fread(piece.data(), 1, piece.size(), file)) {
    content.append(piece.data(), length);
  }
  real().fclose(file);
  return content;
}

std::optional<std::string> settingsIn(const char* path) {
  const FileContent content = contentOf(path);
  const auto* text = std::get_if<std::string>(&content);
  return text != nullptr ? std::optional(*text) : std::nullopt;
}

FileContent removableOf(const std::string& disk) {
  const std::string path = std::string(kBlock) + '/' + disk + "/removable";
  return real().access(path.c_str(), R_OK) == 0 ? contentOf(path) : FileContent(errno);
}

// Only its absence has a form of its own in a machine file; another error is a fault.
void readBlockDirectory(MachineDescription& machine) {
  DIR* const directory = real().opendir(kBlock);
  if (directory == nullptr) {
    const int error = errno;
    machine.hasBlockDirectory = false;
    if (error != ENOENT) {
      FaultDescription fault;
      fault.pattern.call = "opendir";
      fault.pattern.path = kBlock;
      fault.outcome.error = error;
      machine.faults.push_back(fault);
    }
    return;
  }
  machine.blockOrder.emplace();
  while (const dirent* const entry = real().readdir(directory)) {
    const std::string name = static_cast<const char*>(entry->d_name);
    if (name != "." && name != "..") {
      machine.blockOrder->push_back(name);
    }
  }
  real().closedir(directory);
}

// First the disks in the order of /sys/block, asked or not; then what else was asked.
void addDrives(std::vector<RecordedDescription> asked, MachineDescription& machine) {
  const auto add = [&machine](RecordedDescription drive) {
    const bool disk = isDiskName(drive.node);
    const std::optional<FileContent> removable =
        disk ? std::optional(removableOf(drive.node)) : std::nullopt;
    machine.drives.push_back({std::move(drive), removable});
  };
  for (const std::string& name : machine.blockOrder.value_or(std::vector<std::string>{})) {
    if (!isDiskName(name)) {
      continue;
    }
    const auto found =
        std::find_if(asked.begin(), asked.end(),
                     [&name](const RecordedDescription& drive) { return drive.node == name; });
    if (found == asked.end()) {
      add({name, {}});
    } else {
      add(std::move(*found));
      asked.erase(found);
    }
  }
  for (RecordedDescription& drive : asked) {
    add(std::move(drive));
  }
}

}  // namespace

MachineDescription describeMachine(const std::string& name, const Recording& recording) {
  MachineDescription machine;
  machine.name = name;
  machine.bios = contentOf(kBios);
  machine.config = settingsIn(kSettings);
  machine.logConfig = settingsIn(kLogSettings);
  readBlockDirectory(machine);
  addDrives(recording.drives(), machine);
  for (FaultDescription& fault : recording.faults()) {
    machine.faults.push_back(std::move(fault));
  }
  return machine;
}

}  // namespace simulator
