#include "simulator/Machine.h"

#include <linux/nvme_ioctl.h>
#include <scsi/sg.h>

#include <cerrno>

#include <algorithm>

#include "simulator/AtaDrive.h"
#include "simulator/SatSense.h"
#include "simulator/ScsiDisk.h"

namespace simulator {

namespace {

constexpr const char* kBlock = "/sys/block";
constexpr const char* kBiosFiles[] = {"/sys/devices/virtual/dmi/id/bios_version",
                                      "/sys/class/dmi/id/bios_version"};

struct MakeDrive {
  std::unique_ptr<Drive> operator()(const AtaDescription& drive) const {
    return std::make_unique<AtaDrive>(drive);
  }
  std::unique_ptr<Drive> operator()(const NvmeDescription& drive) const {
    return std::make_unique<NvmeDrive>(drive);
  }
  std::unique_ptr<Drive> operator()(const ScsiDescription& drive) const {
    return std::make_unique<ScsiDisk>(drive.node);
  }
  std::unique_ptr<Drive> operator()(const RecordedDescription& drive) const {
    return std::make_unique<RecordedDrive>(drive);
  }
};

Directories chosen(const MachineDescription& description, Directories overrides) {
  if (overrides.log.empty()) {
    overrides.log = description.logDirectory;
  }
  return overrides;
}

void addFile(VirtualFiles& files, const std::string& path, const FileContent& content) {
  if (const int* error = std::get_if<int>(&content)) {
    files.addMissing(path, *error);
  } else {
    files.addText(path, std::get<std::string>(content));
  }
}

// A fault that replaces the answer: what the caller of the ioctl sees then.
Reply faultyReply(const FaultOutcome& outcome, const DriveRequest& request) {
  if (outcome.error) {
    return {-1, *outcome.error, outcome.delay};
  }
  if (!outcome.sense.empty() && request.kind == RequestKind::sgIo && request.argument != nullptr) {
    completeWithSense(*static_cast<sg_io_hdr_t*>(request.argument), outcome.sense);
    return {0, 0, outcome.delay};
  }
  // A positive status of an NVMe command comes back with the completion's result, here none.
  if (request.kind == RequestKind::nvmeAdmin && request.argument != nullptr) {
    static_cast<nvme_admin_cmd*>(request.argument)->result = 0;
  }
  return {outcome.result.value_or(0), 0, outcome.delay};
}

}  // namespace

const std::string& nodeOf(const AnyDrive& drive) {
  return std::visit([](const auto& description) -> const std::string& { return description.node; },
                    drive);
}

Machine::Machine(MachineDescription description, Directories directories)
    : name_(description.name),
      timeScale_(description.timeScale),
      scaledCalls_(description.scaledCalls),
      privileged_(description.privileged),
      files_(chosen(description, std::move(directories))),
      faults_(description.faults) {
  for (const DriveDescription& drive : description.drives) {
    addDrive(drive);
  }
  addFiles(description);
  for (const FaultDescription& fault : description.faults) {
    if (!fault.pattern.path.empty()) {
      files_.addWatched(fault.pattern.path);
    }
  }
}

Drive* Machine::addDrive(std::unique_ptr<Drive> drive) {
  drives_.push_back(std::move(drive));
  Drive* added = drives_.back().get();
  files_.addDevice("/dev/" + added->node(), added);
  return added;
}

void Machine::addDrive(const DriveDescription& description) {
  const Drive* drive = addDrive(std::visit(MakeDrive(), description.drive));
  if (description.removable) {
    addBlockEntry(drive->node(), *description.removable);
  }
  if (const auto* nvme = std::get_if<NvmeDescription>(&description.drive)) {
    auto& controller = static_cast<NvmeDrive&>(*drives_.back());
    for (const std::uint32_t id : nvme->activeNamespaces) {
      addBlockEntry(addDrive(std::make_unique<NvmeNamespace>(controller, id))->node(),
                    std::string("0\n"));
    }
  }
}

void Machine::addBlockEntry(const std::string& name, const FileContent& removable) {
  const std::string directory = std::string(kBlock) + "/" + name;
  blockNames_.push_back(name);
  files_.addDirectory(directory, {"removable"});
  addFile(files_, directory + "/removable", removable);
}

void Machine::addFiles(const MachineDescription& description) {
  if (description.hasBlockDirectory) {
    files_.addDirectory(kBlock, description.blockOrder.value_or(blockNames_));
  }
  for (const char* path : kBiosFiles) {
    addFile(files_, path, description.bios);
  }
  if (description.config) {
    files_.addText("/etc/ssddrv/ssddrv.ini", *description.config);
  }
  if (description.logConfig) {
    files_.addText("/etc/ssddrv/log.conf", *description.logConfig);
  }
}

bool Machine::scales(std::string_view call) const {
  return std::find(scaledCalls_.begin(), scaledCalls_.end(), call) != scaledCalls_.end();
}

Drive* Machine::drive(std::string_view node) const {
  for (const std::unique_ptr<Drive>& drive : drives_) {
    if (drive->node() == node) {
      return drive.get();
    }
  }
  return nullptr;
}

Reply Machine::ioctl(Drive& drive, const DriveRequest& request, double seconds) {
  Circumstances circumstances;
  circumstances.seconds = seconds;
  circumstances.privileged = privileged_;
  const FaultOutcome* fault = faults_.meet("ioctl", "/dev/" + drive.node(), &request);
  if (fault == nullptr) {
    return drive.answer(request, circumstances);
  }
  if (fault->error || fault->result || !fault->sense.empty()) {
    return faultyReply(*fault, request);
  }
  circumstances.fault = fault->drive;
  Reply reply = drive.answer(request, circumstances);
  reply.delay += fault->delay;
  return reply;
}

}  // namespace simulator
