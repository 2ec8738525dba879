#pragma once

#include <string>

#include "simulator/Machine.h"

namespace simulator {

// The machine file that parseMachine reads as this machine. Only for machines as a recording makes
// them: recorded drives, and faults of calls that failed with an errno. Throws
// std::invalid_argument for another kind of drive.
std::string writeMachine(const MachineDescription& machine, const std::string& comment);

}  // namespace simulator
