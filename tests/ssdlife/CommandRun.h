#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

// A run of ssdlife as a user starts it: arguments, environment, what it wrote, how it ended.
class CommandRun {
 public:
  explicit CommandRun(std::vector<std::string> arguments);
  ~CommandRun();
  CommandRun(const CommandRun&) = delete;
  CommandRun& operator=(const CommandRun&) = delete;

  CommandRun& with(const std::string& variable, const std::string& value);

  // As the user "nobody" where the tests themselves run as root.
  CommandRun& withoutRoot();

  // With this file in the place of standard output.
  CommandRun& outputTo(const std::string& file);

  CommandRun& outputClosed();
  CommandRun& errorClosed();

  CommandRun& start();

  // Waits until the text has come on standard error.
  void waitForError(const std::string& text);

  void signal(int number) const;

  [[nodiscard]] pid_t process() const { return process_; }

  // Waits for the end; 1000 + the signal for a run that one killed.
  int exitStatus();

  // All that came until now; everything once exitStatus() has answered.
  const std::string& output() const { return output_; }
  const std::string& error() const { return error_; }

 private:
  [[noreturn]] void become(int output, int error);
  bool readMore();

  std::vector<std::string> arguments_;
  std::map<std::string, std::string> environment_;
  std::string outputFile_;
  bool withoutRoot_ = false;
  std::vector<int> closed_;
  pid_t process_ = -1;
  int outputPipe_ = -1;
  int errorPipe_ = -1;
  std::string output_;
  std::string error_;
};
