// What each scenario must have shown. One function for each script in tests/vm/guest.
#pragma once

#include <filesystem>

#include "tests/vm/judge/Report.h"

namespace vm {

// results: the folder of the scenario.
void judgeBase(const std::filesystem::path& results, Report& report);
void judgeWear(const std::filesystem::path& results, Report& report);
void judgeAnswers(const std::filesystem::path& results, Report& report);

}  // namespace vm
