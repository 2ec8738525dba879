// The library's list against smartctl and nvme, field by field.
#pragma once

#include "tests/vm/judge/Report.h"
#include "tests/vm/judge/Step.h"

namespace vm {

// How a percentage is expected to relate to what the other programs say.
enum class Wear {
  kSame,        // both tell it, and the same
  kUnknown,     // neither can; an NVMe drive's 255 counts as that
  kNotVouched,  // the drive holds a value without vouching for it: only the library tells it
  kUnanswered,  // the drive did not answer the library, but did answer the others later
};

// Compares every field of the drive with what smartctl (and for NVMe nvme) printed in the step
// peers, which may be another step of the same boot than the one that listed the drive.
void comparePeers(const ListedDrive& drive, const Step& peers, Wear wear, Report& report);

// The same for a drive whose wear the library could not read: it shows 0 hours and 0 percent,
// whatever the others make of the drive.
void compareUnread(const ListedDrive& drive, const Step& peers, Report& report);

}  // namespace vm
