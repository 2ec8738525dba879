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
      reasons += (reasons.empty() ? "" : "\n     ") + lines[j].substr(lines[j].find_first_not_of(' '));
    }
    report.check(agrees, "the kernel answers as listed: " + lines[i].substr(8), reasons);
  }
  report.check(cases > 0, "the ioctl cases of " + user + " were made",
               agreement.text(user));
}

}  // namespace

void judgeAnswers(const std::filesystem::path& results, Report& report) {
  const Step agreement(results / "agreement");
  judgeCases(agreement, "root", report);
  judgeCases(agreement, "nobody", report);

  const Step hang(results / "hanging");
  report.check(hang.text("list.exit") == "0", "ssdlife list outlasts a drive that never answers",
               hang.text("list.stderr"));
  const ListedDrive* drive = hang.find("VM-HANGING");
  report.check(drive != nullptr, "the drive whose statistics never come is listed");
  if (drive != nullptr) {
    comparePeers(*drive, hang, Wear::kUnknown, report);
  }
}

}  // namespace vm
