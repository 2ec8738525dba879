#pragma once

#include <string>
#include <string_view>

namespace ssdlife {

// The command's own standard output and error, apart from those of the library: the library writes
// fixed lines to both, which nobody who reads a table or JSON wants to see. Created before the
// library is loaded; for one thread.
class OwnOutput {
 public:
  // With `showLibraryOutput` the library's lines go where they always go, else to nowhere.
  explicit OwnOutput(bool showLibraryOutput);
  ~OwnOutput();
  OwnOutput(const OwnOutput&) = delete;
  OwnOutput& operator=(const OwnOutput&) = delete;

  // Throws Failure when the text can't be written.
  void out(std::string_view text) const;

  // "ssdlife: <line>" to standard error; what can't be written there is lost.
  void error(const std::string& line) const;

 private:
  int out_;
  int error_;
};

}  // namespace ssdlife
