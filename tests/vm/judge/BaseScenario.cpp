#include <string>
#include <utility>

#include "tests/vm/judge/PeerComparison.h"
#include "tests/vm/judge/Scenarios.h"
#include "tests/vm/judge/Step.h"

namespace vm {

void judgeBase(const std::filesystem::path& results, Report& report) {
  const Step all(results / "all");
  report.check(all.text("list.exit") == "0", "ssdlife list succeeds", all.text("list.stderr"));
  report.check(all.drives().size() == 3, "the SATA SSD and the two NVMe drives are listed",
               std::to_string(all.drives().size()) + " drives are listed");
  // QEMU's disks have no device statistics; its NVMe drives are as new.
  const std::pair<const char*, Wear> listed[] = {{"VM-QEMU-SSD", Wear::kUnknown},
                                                 {"VM-QEMU-NVME-A", Wear::kSame},
                                                 {"VM-QEMU-NVME-B", Wear::kSame}};
  for (const auto& [serial, wear] : listed) {
    const ListedDrive* drive = all.find(serial);
    report.check(drive != nullptr, std::string(serial) + " is listed");
    if (drive != nullptr) {
      comparePeers(*drive, all, wear, report);
    }
  }
  for (const char* serial : {"VM-QEMU-HDD", "VM-QEMU-STICK", "VM-QEMU-SCSI"}) {
    report.check(all.find(serial) == nullptr, std::string(serial) + " is not listed");
    report.check(all.text("present").find(serial) != std::string::npos,
                 std::string(serial) + " is there");
  }
}

}  // namespace vm
