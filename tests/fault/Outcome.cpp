#include "tests/fault/Outcome.h"

#include <algorithm>
#include <sstream>

namespace fault {

namespace {

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

/// "sda" of "/dev/sda #3 smart data" and of "/sys/block/sda/removable"; empty for anything else.
std::string driveIn(const std::string& what, const Machine& machine) {
  for (const auto& drive : machine.drives()) {
    if (contains(what, "/" + drive->name + " ") || contains(what, "/" + drive->name + "/")) {
      return drive->name;
    }
  }
  return {};
}

bool isAt(const Injector::Met& call, const char* path) { return call.what == path; }

/// Follows the commands that one reading sends to one drive.
class Reader {
 public:
  Reader(Drive::Kind kind, Reading before, Reading now)
      : kind_(kind), reading_(before), now_(now) {}

  void see(const Injector::Met& call) {
    switch (kind_) {
      case Drive::kAttribute:
        seeAttributes(call);
        break;
      case Drive::kStatistics:
        seeStatistics(call);
        break;
      case Drive::kNvme:
        seeNvme(call);
        break;
    }
  }

  Reading reading() const { return reading_; }

 private:
  /// A reading that fails leaves the last one standing.
  void seeAttributes(const Injector::Met& call) {
    if (call.call == Call::kIoctl && !call.failed) {
      reading_ = now_;
    }
  }

  /// Statistics that can't be read make the percentage unknown, whatever failed; the hours have to
  /// be there.
  void seeStatistics(const Injector::Met& call) {
    if (call.call != Call::kOpen && call.call != Call::kIoctl) {
      return;
    }
    const bool isSmart = next_ == Next::kSmart;
    if (call.failed) {
      unknown_ = !isSmart;
      next_ = isSmart ? Next::kDirectory : Next::kSmart;
    } else if (call.call == Call::kIoctl && isSmart) {
      reading_ = {unknown_ ? 255U : now_.percentage, now_.hours};
      unknown_ = false;
      next_ = Next::kDirectory;
    } else if (call.call == Call::kIoctl) {
      next_ = next_ == Next::kDirectory ? Next::kStatistics : Next::kSmart;
    }
  }

  /// An NVMe drive that can't be read shows nothing used and no hours.
  void seeNvme(const Injector::Met& call) {
    if (call.call != Call::kClose && call.failed) {
      reading_ = {0, 0};
    } else if (call.call == Call::kIoctl) {
      reading_ = now_;
    }
  }

  enum class Next { kDirectory, kStatistics, kSmart };
  Drive::Kind kind_;
  Reading reading_;
  Reading now_;
  Next next_ = Next::kDirectory;
  bool unknown_ = false;
};

}  // namespace

Readings present(const Machine& machine) {
  Readings readings;
  for (const auto& drive : machine.drives()) {
    readings[drive->name] = {drive->percentage, drive->hours};
  }
  return readings;
}

Readings shown(const cmpihost::Reply& reply) {
  Readings readings;
  for (const cmpihost::Instance& instance : reply.instances) {
    readings[instance.property("PhysicalDrive")->asText()] = {
        static_cast<unsigned>(instance.property("PercentageUsed")->asUnsigned()),
        instance.property("PoweredOnHours")->asUnsigned()};
  }
  return readings;
}

std::string text(const Readings& readings) {
  std::ostringstream text;
  for (const auto& [name, reading] : readings) {
    text << name << ' ' << reading.percentage << "% " << reading.hours << "h, ";
  }
  return text.str();
}

Start startAfter(const std::vector<Injector::Met>& calls, const Machine& machine) {
  Start start;
  std::set<std::string> seen;  // disks whose "removable" file was looked for
  std::string last;            // the drive that was spoken to last
  bool scanCutShort = false;
  for (const Injector::Met& call : calls) {
    const std::string drive = driveIn(call.what, machine);
    last = drive.empty() ? last : drive;
    if (call.call == Call::kAccess) {
      seen.insert(drive);
    }
    if (!call.failed || call.how == Failure::kShort) {  // half a BIOS version is one too
      continue;
    }
    const bool isFirst = contains(call.what, " #1");
    switch (call.call) {
      case Call::kFopen:
      case Call::kFgets:
        start.dead = start.dead || isAt(call, "/sys/devices/virtual/dmi/id/bios_version");
        if (contains(call.what, "/removable")) {
          start.missing.insert(drive);
        }
        break;
      case Call::kOpendir:
        start.dead = true;
        break;
      case Call::kReaddir:
        scanCutShort = true;
        break;
      case Call::kAccess:
        start.missing.insert(drive);
        break;
      case Call::kGlob:
        start.missing.insert("nvme0");
        break;
      case Call::kOpen:
      case Call::kFcntl:
      case Call::kIoctl: {
        const bool isNvme = machine.drive(drive).kind == Drive::kNvme;
        const bool isEnable = !isNvme && contains(call.what, " #2");
        const bool isHarmless = contains(call.what, "namespace");
        if ((isFirst && !isHarmless) || isEnable) {
          start.missing.insert(drive);
        }
        start.lostDevices += isEnable ? 1 : 0;
        break;
      }
      case Call::kThreadCreate:
        start.missing.insert(last);
        ++start.lostDevices;
        break;
      default:
        break;
    }
  }
  for (const auto& drive : machine.drives()) {
    if (scanCutShort && drive->kind != Drive::kNvme && seen.count(drive->name) == 0) {
      start.missing.insert(drive->name);
    }
  }
  return start;
}

Readings readingsAfter(const std::vector<Injector::Met>& calls, const Machine& machine,
                       const Readings& before, const Readings& now) {
  Readings readings = before;
  for (auto& [name, reading] : readings) {
    Reader reader(machine.drive(name).kind, reading, now.at(name));
    for (const Injector::Met& call : calls) {
      if (driveIn(call.what, machine) == name) {
        reader.see(call);
      }
    }
    reading = reader.reading();
  }
  return readings;
}

int nodesLostBy(const std::vector<Injector::Met>& calls) {
  // A node is lost once, whatever else fails on it.
  std::set<std::string> lost;
  for (const Injector::Met& call : calls) {
    const bool command = call.call == Call::kIoctl && !contains(call.what, "namespace");
    if (call.failed && contains(call.what, "/dev/nvme") && (command || call.call == Call::kFcntl)) {
      lost.insert(call.what.substr(0, call.what.find(' ', call.what.find('#'))));
    }
  }
  return static_cast<int>(lost.size());
}

}  // namespace fault
