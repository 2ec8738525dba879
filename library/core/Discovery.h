#pragma once

#include <functional>
#include <string>

/// Where a machine's drives are looked for. What is found is handed over one by one, while the
/// search goes on; a drive for which there is no memory is left out.
namespace discovery {

using Found = std::function<void(const std::string& name)>;

/// The kernel's names of the fixed SCSI disks ("sda"), in the order of "/sys/block/". False if that
/// can't be opened.
[[nodiscard]] bool forEachFixedDisk(const Found& found);

/// The nodes of the first ten NVMe controllers ("/dev/nvme0"), sorted.
void forEachNvmeController(const Found& found);

}  // namespace discovery
