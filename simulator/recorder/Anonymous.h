#pragma once

#include "simulator/Machine.h"

namespace simulator {

// Replaces the serial numbers in what recorded drives said by made-up ones of the same length:
// "S123" becomes "XXX1", everywhere, and the next drive's "XXX2". Clears the worldwide names, which
// tell a drive apart as well, and sets checksums right that were right before.
void makeAnonymous(MachineDescription& machine);

}  // namespace simulator
