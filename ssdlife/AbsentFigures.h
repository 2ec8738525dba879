#pragma once

#include "ssdlife/Drive.h"

namespace ssdlife {

// The provider publishes an NVMe drive whose health log can't be read as one of 0 % and 0 hours.
// Asks a drive with such figures for its health log and notes why it can't be read, if it can't.
void noteReadError(Drive& drive);

}  // namespace ssdlife
