#pragma once

#include <string>

namespace ssdlife {

// A library that this process wants in front of its system calls: the machine simulator, the
// recorder. It has to be there from the start, so the process is started anew with it.
class Preload {
 public:
  // `name` is the library's file name, looked for beside `provider` and where a build and an
  // installation put it; `what` ("machine simulator") is how messages call it. Throws Failure.
  Preload(const std::string& what, const std::string& name, const std::string& provider);

  // Whether this process was started with it, and has it. Throws Failure if it was started so and
  // the library could not be loaded: going on would show the drives of another machine.
  [[nodiscard]] bool isThere() const;

  // A symbol of the library, which this loads if it is not there yet, but not in front of anything;
  // null if it has none of the name. Throws Failure.
  [[nodiscard]] void* symbol(const char* name) const;

  // Starts this process anew with the library in front of what is preloaded already. Throws
  // Failure.
  [[noreturn]] void startAnew(char** argv) const;

 private:
  const std::string what_;
  std::string path_;
};

// The value of an environment variable, empty without it.
std::string environment(const char* name);

}  // namespace ssdlife
