#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ssdlife {

// The command's own standard output and error, apart from those of the library: the library writes
// fixed lines to both, which nobody who reads a table or JSON wants to see. For one thread.
class OwnOutput {
 public:
  // Created first of all: no other file may get the number of a stream that the caller has closed.
  OwnOutput();
  ~OwnOutput();
  OwnOutput(const OwnOutput&) = delete;
  OwnOutput& operator=(const OwnOutput&) = delete;

  // Throws Failure when the caller has closed standard output.
  void requireThere() const;

  // From now on what is written to the process's standard output and error goes nowhere. Called
  // before the library is loaded.
  void keepFromLibrary() const;

  // Undoes that for standard output; called when nobody else writes any more.
  void giveBackStandardOutput() const;

  // Throws Failure when the text can't be written.
  void out(std::string_view text) const;

  // The width of the terminal that standard output is, in characters; 0 when it is none.
  [[nodiscard]] std::size_t terminalWidth() const;

  // Whether it is a terminal that shows colours to somebody who wants them: https://no-color.org.
  [[nodiscard]] bool takesColours() const;

  // "ssdlife: <line>" to standard error; what can't be written there is lost.
  void error(const std::string& line) const;

 private:
  int out_;
  int error_;
};

}  // namespace ssdlife
