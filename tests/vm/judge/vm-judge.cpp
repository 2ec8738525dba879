// vm-judge RESULTS SCENARIO...: judges what the scenarios' boots have left below RESULTS. Prints
// every rule and every compared field, then "N passed, M failed"; exits 1 when any failed.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <map>
#include <string>

#include "tests/vm/judge/Report.h"
#include "tests/vm/judge/Scenarios.h"
#include "tests/vm/judge/Step.h"

namespace {

using Judge = void (*)(const std::filesystem::path&, vm::Report&);

const std::map<std::string, Judge> kJudges = {
    {"base", vm::judgeBase},
    {"wear", vm::judgeWear},
    {"answers", vm::judgeAnswers},
};

void judge(const std::filesystem::path& results, const std::string& scenario, vm::Report& report) {
  report.section(scenario);
  const vm::Step boot(results);
  report.check(boot.text("boot") == "finished", "the machine booted and came to its end",
               boot.text("boot"));
  report.check(boot.text("finished") == "0", "no step of the scenario failed",
               boot.text("transcript"));
  try {
    kJudges.at(scenario)(results, report);
  } catch (const std::exception& error) {
    report.check(false, "the results can be read", error.what());
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: vm-judge RESULTS SCENARIO...\n");
    return 2;
  }
  const std::filesystem::path results = argv[1];
  vm::Report report;
  for (int i = 2; i < argc; ++i) {
    if (kJudges.count(argv[i]) == 0) {
      std::fprintf(stderr, "vm-judge: no scenario \"%s\"\n", argv[i]);
      return 2;
    }
    judge(results / argv[i], argv[i], report);
  }
  report.finish();
  return report.failed() == 0 ? 0 : 1;
}
