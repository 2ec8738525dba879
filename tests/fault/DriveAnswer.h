#pragma once

#include <string>

#include "tests/fault/Machine.h"

namespace fault {

/// What an ioctl asks of a drive: "identity", "smart data", "health log".
std::string questionOf(unsigned long request, const void* argument);

/// Answers it as a healthy drive does. With `badResult` the command is carried out in vain: an NVMe
/// command gives a result other than 0, a SCSI command sense data that tell of an error; commands
/// that can't tell fail with EIO.
int answer(const Drive& drive, unsigned long request, void* argument, bool badResult);

}  // namespace fault
