// What was found out, a line each, counted.
#pragma once

#include <string>

namespace vm {

class Report {
 public:
  // A heading above what follows.
  void section(const std::string& title);

  // One rule that holds or does not; the detail is shown when it does not.
  void check(bool holds, const std::string& rule, const std::string& detail = "");

  // One field of one drive: what the library says against what another program says of it.
  void compare(const std::string& drive, const std::string& field, const std::string& ours,
               const std::string& peer, const std::string& theirs);

  // A field in which the library differs from the other program on purpose. Holds when both say
  // what they are meant to say.
  void compareDeliberate(const std::string& drive, const std::string& field, bool holds,
                         const std::string& ours, const std::string& peer,
                         const std::string& theirs, const std::string& reason);

  // The closing lines.
  void finish() const;

  [[nodiscard]] int failed() const { return failed_; }

 private:
  void count(bool holds);
  void row(bool holds, const std::string& drive, const std::string& field, const std::string& ours,
           const std::string& peer, const std::string& theirs, const std::string& remark);

  int passed_ = 0;
  int failed_ = 0;
  int compared_ = 0;
};

}  // namespace vm
