#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "tests/vm/judge/PeerComparison.h"
#include "tests/vm/judge/Scenarios.h"
#include "tests/vm/judge/Step.h"

namespace vm {
namespace {

// The commands of the two drive logs, as softata and nvme-target write them. LBA: SMART signature
// and log address, or page and log address.
constexpr char kSmartEnable[] = "b0 d8 00 000000c24f01";
constexpr char kSmartData[] = "b0 d0 01 000000c24f00";
constexpr char kSmartDirectory[] = "b0 d5 01 000000c24f00";
constexpr char kSmartStatistics[] = "b0 d5 08 000000c24f04";
constexpr char kGpDirectory[] = "2f 00 01 000000000000";
constexpr char kGpStatistics7[] = "2f 00 01 000000000704";
constexpr char kIdentifyController[] = "06 00000000 00000001 00000000";
constexpr char kIdentifyNamespace1[] = "06 00000001 00000000 00000000";
constexpr char kHealthLog[] = "02 ffffffff 007f0002 00000000";

constexpr unsigned kThreshold = 95;

using Lines = std::vector<std::string>;

std::string joined(const Lines& lines) {
  std::string text;
  for (const std::string& line : lines) {
    text += (text.empty() ? "" : ", ") + line;
  }
  return text;
}

// Whether the drive got exactly: first once, then each once or more times over.
void checkCommands(const Step& step, const std::string& drive, const std::string& rule,
                   const Lines& first, const Lines& each, Report& report) {
  Lines commands = step.commands(drive);
  // The kernel's own part of an NVMe log: asynchronous events and keep-alive.
  commands.erase(std::remove_if(commands.begin(), commands.end(),
                                [](const std::string& line) {
                                  return line.rfind("0c ", 0) == 0 || line.rfind("18 ", 0) == 0;
                                }),
                 commands.end());
  bool holds = commands.size() >= first.size() + each.size() &&
               std::equal(first.begin(), first.end(), commands.begin());
  std::size_t at = first.size();
  while (holds && at < commands.size()) {
    holds =
        !each.empty() && commands.size() - at >= each.size() &&
        std::equal(each.begin(), each.end(), commands.begin() + static_cast<std::ptrdiff_t>(at));
    at += each.size();
  }
  report.check(holds, drive + ": " + rule, joined(commands));
}

struct Expected {
  std::string serial;
  Wear wear;
};

const std::vector<Expected> kListedSata = {
    {"VM-SANDISK-P4", Wear::kSame},      {"VM-SANDISK-NO-230", Wear::kUnknown},
    {"VM-STATISTICS", Wear::kSame},      {"VM-SEVEN-PAGES", Wear::kUnknown},
    {"VM-WRONG-PAGE", Wear::kUnknown},   {"VM-REFUSED", Wear::kUnknown},
    {"VM-NOT-VALID", Wear::kNotVouched}, {"VM-WEARING", Wear::kSame},
};
const std::vector<Expected> kListedNvme = {
    {"VM-NVME-PLAIN", Wear::kSame},  {"VM-NVME-THREE", Wear::kSame}, {"VM-NVME-OLD", Wear::kSame},
    {"VM-NVME-255", Wear::kUnknown}, {"VM-NVME-NO-NS", Wear::kSame},
};
const Lines kHiddenSata = {"VM-SMART-DISABLED", "VM-ROTATING", "VM-REMOVABLE"};

void checkListed(const Step& step, const Step& peers, const std::vector<Expected>& drives,
                 Report& report) {
  for (const auto& [serial, wear] : drives) {
    const ListedDrive* drive = step.find(serial);
    report.check(drive != nullptr, serial + " is listed");
    if (drive != nullptr) {
      comparePeers(*drive, peers, wear, report);
      report.check(drive->failing == (drive->percentage && *drive->percentage > kThreshold),
                   serial + " is failing if its percentage is known and beyond the threshold");
    }
  }
}

void checkHidden(const Step& step, const Step& peers, const Lines& serials, Report& report) {
  for (const std::string& serial : serials) {
    report.check(step.find(serial) == nullptr, serial + " is not listed");
    report.check(peers.text("present").find(serial) != std::string::npos, serial + " is there");
  }
}

// A drive that is listed although its wear could not be read keeps what it began with.
void checkUnread(const Step& step, const Step& peers, const std::string& serial, unsigned source,
                 Report& report) {
  const ListedDrive* drive = step.find(serial);
  report.check(drive != nullptr, serial + " is listed");
  if (drive == nullptr) {
    return;
  }
  report.check(drive->source == source, serial + " names its source",
               std::to_string(drive->source));
  compareUnread(*drive, peers, report);
}

void judgeScsiRoad(const Step& step, Report& report) {
  report.section("wear: statistics by SCSI pass-through");
  report.check(step.text("list.exit") == "0", "ssdlife list succeeds", step.text("list.stderr"));
  checkListed(step, step, kListedSata, report);
  checkListed(step, step, kListedNvme, report);
  checkHidden(step, step, kHiddenSata, report);

  const Lines reading = {kGpDirectory, kGpStatistics7, kSmartData};
  checkCommands(step, "sandisk-p4", "SMART is enabled, then only SMART data are read",
                {kSmartEnable}, {kSmartData}, report);
  for (const char* drive : {"statistics", "statistics-wrong-page", "statistics-refused",
                            "statistics-not-valid", "wearing"}) {
    checkCommands(step, drive, "a reading is the directory, page 7 and SMART data", {kSmartEnable},
                  reading, report);
  }
  checkCommands(step, "statistics-7-pages", "no page is read beyond the log's end", {kSmartEnable},
                {kGpDirectory, kSmartData}, report);
  // Sense in fixed format holds other things where the library looks for the registers.
  const std::string log = step.text("ssddrv.log");
  report.check(log.find("SmartIo::getSmartLogDataSpt - Warning: Bad magic") != std::string::npos &&
                   log.find("SAT Specific error=0x01, status=0x00") != std::string::npos,
               "an aborted page read is logged by the bytes where the registers would be");
  checkCommands(step, "smart-disabled", "nothing follows a refused SMART ENABLE", {kSmartEnable},
                {}, report);
  checkCommands(step, "rotating", "no command is sent to it", {}, {}, report);
  checkCommands(step, "removable", "no command is sent to it", {}, {}, report);
}

void judgeDriveCommandRoad(const Step& step, const Step& peers, Report& report) {
  report.section("wear: statistics by drive commands (SptLogAccess=0)");
  report.check(step.text("list.exit") == "0", "ssdlife list succeeds", step.text("list.stderr"));
  checkListed(step, peers, kListedSata, report);
  checkHidden(step, peers, kHiddenSata, report);

  const Lines reading = {kSmartDirectory, kSmartStatistics, kSmartData};
  for (const char* drive : {"statistics", "statistics-wrong-page", "statistics-refused",
                            "statistics-not-valid", "wearing"}) {
    checkCommands(step, drive, "a reading is the directory, eight pages at once and SMART data",
                  {kSmartEnable}, reading, report);
  }
  checkCommands(step, "statistics-7-pages", "no page is read beyond the log's end", {kSmartEnable},
                {kSmartDirectory, kSmartData}, report);
}

void judgeNvme(const Step& step, Report& report) {
  report.section("wear: NVMe controllers that refuse");
  checkUnread(step, step, "VM-NVME-NO-HEALTH", kSourceStatistic, report);
  checkUnread(step, step, "VM-NVME-RESULT", kSourceStatistic, report);
  checkUnread(step, step, "VM-NVME-SANDISK", kSourceVendorAttribute, report);
  checkHidden(step, step, {"VM-NVME-NO-ID", "VM-NVME-ODD-ID"}, report);

  checkCommands(step, "plain", "one namespace: it is identified with the controller",
                {kIdentifyController, kIdentifyNamespace1}, {kHealthLog}, report);
  checkCommands(step, "refuses-namespace", "a refused namespace does no harm",
                {kIdentifyController, kIdentifyNamespace1}, {kHealthLog}, report);
  checkCommands(step, "three-namespaces", "more than one namespace: none is identified",
                {kIdentifyController}, {kHealthLog}, report);
  checkCommands(step, "refuses-identify", "nothing follows refused identify data",
                {kIdentifyController}, {}, report);
  checkCommands(step, "identify-result", "nothing follows identify data with a result",
                {kIdentifyController}, {}, report);
}

void judgeEleven(const Step& step, Report& report) {
  report.section("wear: eleven NVMe controllers");
  const auto controllers =
      std::count_if(step.drives().begin(), step.drives().end(),
                    [](const ListedDrive& drive) { return drive.drive.rfind("nvme", 0) == 0; });
  report.check(controllers == 10, "ten controllers are found", std::to_string(controllers));
  checkHidden(step, step, {"VM-NVME-ELEVENTH"}, report);
  checkListed(step, step, kListedSata, report);
  checkListed(step, step, kListedNvme, report);
  checkListed(step, step,
              {{"VM-NVME-NO-HEALTH", Wear::kSame},
               {"VM-NVME-RESULT", Wear::kSame},
               {"VM-NVME-NO-ID", Wear::kSame},
               {"VM-NVME-ODD-ID", Wear::kSame}},
              report);
}

void judgeNobody(const Step& step, Report& report) {
  report.section("wear: without privilege");
  report.check(step.text("exit") == "4", "ssdlife ends with the status for missing privilege",
               step.text("exit"));
  const Lines lines = splitLines(step.text("stderr"));
  report.check(lines.size() == 1 && lines[0].find("root") != std::string::npos,
               "it says in one line that root is needed", joined(lines));
  report.check(step.text("stdout").empty(), "it lists nothing", step.text("stdout"));
}

void judgeWatch(const Step& watch, const Step& worn, Report& report) {
  report.section("wear: past the threshold while watched");
  report.check(watch.text("exit") == "0", "ssdlife watch succeeds", watch.text("stderr"));
  // How many indications there were after two readings of each percentage.
  report.check(watch.text("after-95") == "0", "at 95 percent no indication is sent",
               watch.text("after-95"));
  report.check(watch.text("after-97") == "2", "at 97 percent each of the two drives sends one",
               watch.text("after-97"));
  report.check(watch.text("after-98") == "2", "at 98 percent none sends a second",
               watch.text("after-98"));
  std::map<std::string, int> indications;
  const Lines lines = splitLines(watch.text("indications"));
  for (const std::string& line : lines) {
    const auto indication = nlohmann::json::parse(line);
    ++indications[indication.at("physicalDrive").get<std::string>()];
  }
  for (const char* serial : {"VM-WEARING", "VM-NVME-PLAIN"}) {
    const ListedDrive* drive = worn.find(serial);
    report.check(drive != nullptr, std::string(serial) + " is listed");
    if (drive != nullptr) {
      const int count = indications[drive->drive];
      report.check(count == 1, std::string(serial) + " has sent one indication, not a second",
                   std::to_string(count) + " indications");
      report.check(drive->failing, std::string(serial) + " is listed as failing");
      comparePeers(*drive, worn, Wear::kSame, report);
    }
  }
  report.check(lines.size() == 2, "no other drive has sent one", joined(lines));
  const ListedDrive* old = worn.find("VM-NVME-OLD");
  report.check(old != nullptr && old->failing,
               "a drive beyond the threshold from the start is listed as failing");
  const ListedDrive* unknown = worn.find("VM-NVME-255");
  report.check(unknown != nullptr && !unknown->failing, "one whose wear is unknown is not");
}

}  // namespace

void judgeWear(const std::filesystem::path& results, Report& report) {
  const Step scsiRoad(results / "scsi-road");
  judgeScsiRoad(scsiRoad, report);
  judgeDriveCommandRoad(Step(results / "drive-command-road"), scsiRoad, report);
  judgeNvme(scsiRoad, report);
  judgeEleven(Step(results / "eleven"), report);
  judgeNobody(Step(results / "nobody"), report);
  judgeWatch(Step(results / "watch"), Step(results / "worn"), report);
}

}  // namespace vm
