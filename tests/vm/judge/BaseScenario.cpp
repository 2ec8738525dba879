#include "tests/vm/judge/PeerComparison.h"
#include "tests/vm/judge/Scenarios.h"
#include "tests/vm/judge/Step.h"

namespace vm {

void judgeBase(const std::filesystem::path& results, Report& report) {
  const Step all(results / "all");
  report.check(all.text("list.exit") == "0", "ssdlife list succeeds", all.text("list.stderr"));
  report.check(all.drives().size() == 3, "the SATA SSD and the two NVMe drives are listed",
               std::to_string(all.drives().size()) + " drives are listed");
  for (const char* serial : {"VM-QEMU-SSD", "VM-QEMU-NVME-A", "VM-QEMU-NVME-B"}) {
    const ListedDrive* drive = all.find(serial);
    report.check(drive != nullptr, std::string(serial) + " is listed");
    if (drive != nullptr) {
      // QEMU's disks have no device statistics.
      comparePeers(*drive, all, Wear::kUnknown, report);
    }
  }
  for (const char* serial : {"VM-QEMU-HDD", "VM-QEMU-STICK", "VM-QEMU-SCSI"}) {
    report.check(all.find(serial) == nullptr, std::string(serial) + " is not listed");
    report.check(all.text("present-serials").find(serial) != std::string::npos,
                 std::string(serial) + " is there");
  }
}

}  // namespace vm
