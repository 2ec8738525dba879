#include "tests/vm/judge/PeerComparison.h"
#include "tests/vm/judge/Scenarios.h"
#include "tests/vm/judge/Step.h"

namespace vm {
namespace {

// The probe's lines: "agrees  NAME" or "differs NAME", the latter with indented reasons below.
void judgeCases(const Step& agreement, const std::string& user, Report& report) {
  std::size_t cases = 0;
  const auto lines = splitLines(agreement.text(user));
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const bool agrees = lines[i].rfind("agrees", 0) == 0;
    if (!agrees && lines[i].rfind("differs", 0) != 0) {
      continue;
    }
    ++cases;
    std::string reasons;
    for (std::size_t j = i + 1; !agrees && j < lines.size() && lines[j][0] == ' '; ++j) {
      reasons +=
          (reasons.empty() ? "" : "\n     ") + lines[j].substr(lines[j].find_first_not_of(' '));
    }
    report.check(agrees, "the kernel answers as listed: " + lines[i].substr(8), reasons);
  }
  report.check(cases > 0, "the ioctl cases of " + user + " were made", agreement.text(user));
}

}  // namespace

void judgeAnswers(const std::filesystem::path& results, Report& report) {
  const Step agreement(results / "agreement");
  judgeCases(agreement, "root", report);
  judgeCases(agreement, "nobody", report);

  report.section("answers: a drive that never answers");
  const Step silent(results / "hanging");
  const Step healed(results / "healed");
  report.check(silent.text("list.exit") == "0", "ssdlife list outlasts it",
               silent.text("list.stderr"));
  const ListedDrive* before = silent.find("VM-HANGING");
  const ListedDrive* after = healed.find("VM-HANGING");
  report.check(before != nullptr, "it is listed although its statistics never came");
  report.check(after != nullptr, "it is listed when it answers again");
  if (before != nullptr && after != nullptr) {
    comparePeers(*before, healed, Wear::kUnanswered, report);
    comparePeers(*after, healed, Wear::kSame, report);
  }
}

}  // namespace vm
