#include "tests/vm/judge/Report.h"

#include <cstdio>

namespace vm {

void Report::section(const std::string& title) { std::printf("\n== %s\n", title.c_str()); }

void Report::count(bool holds) { ++(holds ? passed_ : failed_); }

void Report::check(bool holds, const std::string& rule, const std::string& detail) {
  count(holds);
  std::printf("%s %s\n", holds ? "ok  " : "FAIL", rule.c_str());
  if (!holds && !detail.empty()) {
    std::printf("     %s\n", detail.c_str());
  }
}

void Report::row(bool holds, const std::string& drive, const std::string& field,
                 const std::string& ours, const std::string& peer, const std::string& theirs,
                 const std::string& remark) {
  count(holds);
  ++compared_;
  std::printf("%s %-18s %-10s %-22s %-20s %s%s\n", holds ? "ok  " : "FAIL", drive.c_str(),
              field.c_str(), ours.c_str(), peer.c_str(), theirs.c_str(),
              remark.empty() ? "" : ("  [" + remark + "]").c_str());
}

void Report::compare(const std::string& drive, const std::string& field, const std::string& ours,
                     const std::string& peer, const std::string& theirs) {
  row(ours == theirs, drive, field, ours, peer, theirs, "");
}

void Report::compareDeliberate(const std::string& drive, const std::string& field, bool holds,
                               const std::string& ours, const std::string& peer,
                               const std::string& theirs, const std::string& reason) {
  row(holds, drive, field, ours, peer, theirs, reason);
}

void Report::finish() const {
  std::printf("\n%d fields compared with smartctl and nvme\n%d passed, %d failed\n", compared_,
              passed_, failed_);
}

}  // namespace vm
