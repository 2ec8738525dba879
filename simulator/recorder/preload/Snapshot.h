#pragma once

#include "simulator/Machine.h"
#include "simulator/recorder/Recording.h"

namespace simulator {

// The machine on which this process runs, as far as the provider sees it: BIOS version, settings,
// /sys/block, and the drives that were asked with all that they said. Files are read past the
// recorder.
MachineDescription describeMachine(const std::string& name, const Recording& recording);

}  // namespace simulator
