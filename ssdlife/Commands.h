#pragma once

#include <string>

#include "ssdlife/ExitCode.h"
#include "ssdlife/HealthCheck.h"
#include "ssdlife/Options.h"
#include "ssdlife/OwnOutput.h"

// One function for each command, each in a file of its own. They throw Failure.
namespace ssdlife {

ExitCode list(const Options& options, const std::string& library, const OwnOutput& output);
ExitCode names(const Options& options, const std::string& library, const OwnOutput& output);
ExitCode get(const Options& options, const std::string& library, const OwnOutput& output);
ExitCode watch(const Options& options, const std::string& library, const OwnOutput& output);
ExitCode roads(const Options& options, const std::string& library, const OwnOutput& output);
ExitCode models(const Options& options, const std::string& library, const OwnOutput& output);
ExitCode record(const Options& options, const std::string& library, const OwnOutput& output);
ExitCode sample(const Options& options, const std::string& library, const OwnOutput& output);
ExitCode history(const Options& options, const OwnOutput& output);
ExitCode forecast(const Options& options, const OwnOutput& output);
ExitCode report(const Options& options, const OwnOutput& output);
ExitCode alarms(const Options& options, const OwnOutput& output);
Health check(const Options& options, const std::string& library, const OwnOutput& output);

}  // namespace ssdlife
