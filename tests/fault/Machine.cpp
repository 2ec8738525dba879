#include "tests/fault/Machine.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace fault {

namespace {

std::atomic<Machine*> theMachine{nullptr};

bool startsWith(const std::string& text, const char* beginning) {
  return text.rfind(beginning, 0) == 0;
}

/// The files that the library knows; all others are the system's.
bool isOfMachine(const std::string& path) {
  for (const char* beginning : {"/etc/ssddrv/", "/var/log/ssddrv/", "/sys/block/",
                                "/sys/devices/virtual/dmi/", "/dev/sd", "/dev/nvme"}) {
    if (startsWith(path, beginning)) {
      return true;
    }
  }
  return false;
}

}  // namespace

Machine::Machine() : root_(folder_.path()) {
  for (const char* folder : {"/etc/ssddrv", "/var/log/ssddrv", "/sys/block/loop0",
                             "/sys/devices/virtual/dmi/id", "/dev"}) {
    std::filesystem::create_directories(root_ + folder);
  }
  write("/sys/devices/virtual/dmi/id/bios_version", "1.02.3\n");
  theMachine = this;
}

Machine::~Machine() { theMachine = nullptr; }

Machine* Machine::current() { return theMachine.load(std::memory_order_relaxed); }

Drive& Machine::add(Drive::Kind kind, const std::string& name, const std::string& model,
                    const std::string& serialNumber) {
  Drive& drive = *drives_.emplace_back(std::make_unique<Drive>());
  drive.kind = kind;
  drive.name = name;
  drive.model = model;
  drive.serialNumber = serialNumber;
  write(drive.node(), "");
  if (kind != Drive::kNvme) {
    std::filesystem::create_directories(root_ + "/sys/block/" + name);
    write("/sys/block/" + name + "/removable", "0\n");
  }
  return drive;
}

Drive& Machine::drive(const std::string& name) const {
  if (Drive* found = driveAt("/dev/" + name)) {
    return *found;
  }
  throw std::out_of_range("the machine has no drive " + name);
}

Drive* Machine::driveAt(const std::string& node) const {
  for (const auto& drive : drives_) {
    if (drive->node() == node) {
      return drive.get();
    }
  }
  return nullptr;
}

void Machine::write(const std::string& path, const std::string& content) const {
  std::ofstream(root_ + path, std::ios::binary) << content;
}

std::string Machine::read(const std::string& path) const {
  std::ifstream file(root_ + path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string Machine::real(const std::string& path) const {
  return isOfMachine(path) ? root_ + path : path;
}

}  // namespace fault
