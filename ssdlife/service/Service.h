#pragma once

#include <string>

#include "ssdlife/ExitCode.h"
#include "ssdlife/Options.h"
#include "ssdlife/OwnOutput.h"

namespace ssdlife {

// "watch --service": reads the drives, keeps their history, raises alarms and delivers them, until
// a signal ends it. Tells systemd when it is ready and that it is alive. Throws Failure.
ExitCode serve(const Options& options, const std::string& library, const OwnOutput& output);

}  // namespace ssdlife
