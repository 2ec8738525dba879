#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "simulator/AtaDevice.h"
#include "simulator/Drive.h"
#include "simulator/Fault.h"
#include "simulator/NvmeDrive.h"
#include "simulator/RecordedDrive.h"
#include "simulator/VirtualFiles.h"

namespace simulator {

struct ScsiDescription {
  std::string node;
};

using AnyDrive =
    std::variant<AtaDescription, NvmeDescription, ScsiDescription, RecordedDescription>;

// A file of the machine: its content, or the errno with which every access to it fails.
using FileContent = std::variant<std::string, int>;

struct DriveDescription {
  AnyDrive drive;
  std::optional<FileContent> removable;  // /sys/block/NODE/removable; none for NVMe controllers
};

// A whole machine, as a machine file describes it.
struct MachineDescription {
  std::string name;
  FileContent bios = std::string("1.00\n");
  std::optional<std::string> config;     // /etc/ssddrv/ssddrv.ini
  std::optional<std::string> logConfig;  // /etc/ssddrv/log.conf
  std::string logDirectory;              // real directory for /var/log/ssddrv
  double timeScale = 1;
  std::vector<std::string> scaledCalls{"usleep"};
  bool privileged = true;
  std::vector<DriveDescription> drives;
  bool hasBlockDirectory = true;
  std::optional<std::vector<std::string>>
      blockOrder;  // names in /sys/block, if not as drives stand
  std::vector<FaultDescription> faults;
};

const std::string& nodeOf(const AnyDrive& drive);

// A machine that runs: its files, and drives that answer. Any number of threads may use it at once.
class Machine {
 public:
  // directories override what the description says.
  explicit Machine(MachineDescription description, Directories directories = {});

  [[nodiscard]] const std::string& name() const { return name_; }
  [[nodiscard]] double timeScale() const { return timeScale_; }
  [[nodiscard]] bool scales(std::string_view call) const;

  VirtualFiles& files() { return files_; }
  Faults& faults() { return faults_; }

  // The drive with this node, or null.
  [[nodiscard]] Drive* drive(std::string_view node) const;

  // One ioctl on a drive's node at a simulated time, faults included.
  Reply ioctl(Drive& drive, const DriveRequest& request, double seconds);

 private:
  Drive* addDrive(std::unique_ptr<Drive> drive);
  void addDrive(const DriveDescription& description);
  void addBlockEntry(const std::string& name, const FileContent& removable);
  void addFiles(const MachineDescription& description);

  const std::string name_;
  const double timeScale_;
  const std::vector<std::string> scaledCalls_;
  const bool privileged_;
  std::vector<std::unique_ptr<Drive>> drives_;
  std::vector<std::string> blockNames_;
  VirtualFiles files_;
  Faults faults_;
};

}  // namespace simulator
