#include "ssdlife/service/DriveReader.h"

#include <dirent.h>
#include <glob.h>

#include <utility>

#include "device/AtaFormat.h"
#include "ssdlife/DriveNode.h"
#include "ssdlife/Failure.h"

namespace ssdlife {
namespace {

// Where the library looks for drives.
std::set<std::string> nodesOfMachine() {
  std::set<std::string> nodes;
  if (DIR* const folder = opendir("/sys/block/")) {
    while (const dirent* const entry = readdir(folder)) {
      const std::string name = entry->d_name;
      if (name.compare(0, 2, "sd") == 0) {
        nodes.insert(name);
      }
    }
    closedir(folder);
  }
  glob_t found{};
  if (glob("/dev/nvme[0-9]", 0, nullptr, &found) == 0) {
    nodes.insert(found.gl_pathv, found.gl_pathv + found.gl_pathc);
  }
  globfree(&found);
  return nodes;
}

// The library keeps the figures of the last good reading. So that a drive which answers nothing any
// more is noticed, it is asked once itself: for its health log, or its SMART data or statistics.
bool answers(const Drive& drive) {
  try {
    const DriveNode node("/dev/" + drive.physicalDrive);
    if (drive.physicalDrive.compare(0, 4, "nvme") == 0) {
      return node.nvmeHealthLog().done;
    }
    return node.smart(ata::kSmartReadData, 0, 1).done ||
           node.readLogExt(ata::kLogDeviceStatistics, ata::statistics::kSolidStatePage).done;
  } catch (const Failure&) {
    return false;
  }
}

}  // namespace

DriveReader::DriveReader(std::string library, std::string like, std::function<void()> event)
    : library_(std::move(library)), like_(std::move(like)), event_(std::move(event)) {
  load(nodesOfMachine());
}

DriveReader::~DriveReader() {
  try {
    client_->close();
  } catch (const std::exception&) {
    // It goes in any case.
  }
}

void DriveReader::load(std::set<std::string> nodes) {
  if (client_) {
    client_->unsubscribe();
    client_->close();
  }
  client_ = std::make_unique<SsdClient>(library_, like_);
  client_->subscribe([this](const FailureEvent&) { event_(); });
  nodes_ = std::move(nodes);
}

std::vector<Drive> DriveReader::ask() {
  try {
    std::vector<Drive> drives = client_->list();
    for (Drive& drive : drives) {
      if (!drive.readError && !answers(drive)) {
        drive.readError = "it answers nothing";
      }
    }
    return drives;
  } catch (const Failure& failure) {
    if (failure.exitCode() != ExitCode::kNothing) {
      throw;
    }
    return {};
  }
}

std::vector<Drive> DriveReader::read() {
  std::set<std::string> nodes = nodesOfMachine();
  const bool changed = nodes != nodes_;
  if (changed) {
    load(nodes);
  }
  std::vector<Drive> drives = ask();
  // Before a drive is believed to have gone, the library looks for it once more.
  if (!changed && drives.size() < drives_) {
    load(std::move(nodes));
    drives = ask();
  }
  drives_ = drives.size();
  return drives;
}

}  // namespace ssdlife
