#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

/// A private directory, removed at its end.
class ScratchDirectory {
 public:
  ScratchDirectory();
  ~ScratchDirectory();
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  [[nodiscard]] std::string file(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

/// A setting that no test lives to see polled by, so that only requests read the drives.
constexpr char kNoPolls[] = "PollRate=1000000";

/// One line of the library's log.
struct LogLine {
  unsigned long thread;  ///< the low 32 bits of its pthread_t
  std::string text;      ///< "Debug SsdManager Constructed"; further lines of a message follow it
};

/// What one step of a run came to, and what was written during it.
struct Step {
  std::string step;
  nlohmann::json result;
  std::string out;
  std::string err;
  std::vector<LogLine> log;
};

/// A run of an object manager with the built library on a simulated till. Everything is private to
/// the run.
class TillRun {
 public:
  /// `machine`: a file below machines/ without its ending, or the text of a machine file.
  explicit TillRun(const std::string& machine);

  /// A line of ssddrv.ini.
  TillRun& setting(const std::string& line);
  /// A line of log.conf. The level is 4 unless one is given.
  TillRun& logSetting(const std::string& line);
  TillRun& environment(const std::string& name, const std::string& value);

  /// Does the steps; fails the test unless the run ends by itself with status 0.
  TillRun& run(const std::vector<std::string>& steps);

  /// The steps done, in order; those of one name.
  [[nodiscard]] const std::vector<Step>& steps() const { return steps_; }
  [[nodiscard]] const Step& step(const std::string& name, std::size_t nth = 0) const;

  // All that was written, also after the last step.
  [[nodiscard]] const std::string& out() const { return out_; }
  [[nodiscard]] const std::string& err() const { return err_; }
  [[nodiscard]] const std::vector<LogLine>& log() const { return log_; }
  /// The log as it stands in the file.
  [[nodiscard]] const std::string& logText() const { return logText_; }

  /// The calls that reached the simulated machine; those of one name, if one is given.
  [[nodiscard]] std::vector<nlohmann::json> journal(const std::string& call = "") const;

 private:
  void start(const std::vector<std::string>& steps);
  void readResults();

  ScratchDirectory directory_;
  std::vector<std::pair<std::string, std::string>> environment_;
  std::string settings_;
  std::string logSettings_;
  std::vector<Step> steps_;
  std::string out_;
  std::string err_;
  std::vector<LogLine> log_;
  std::string logText_;
};

/// The text of a machine with these drives, each the text of one; `more` is put before them.
std::string machineWith(const std::string& drives, const std::string& more = "");

/// A SATA SSD "TS64GHSD630" at `node` whose statistics say what `wear` says.
std::string sataDrive(const std::string& node, const std::string& serial, const std::string& wear);

/// Addresses and thread ids differ from run to run: "(ptr)" and "(id)" stand in their places.
std::string withoutAddresses(const std::string& text);

/// The texts of the lines that thread wrote (0: all of them), without addresses, a line each.
std::string textsOf(const std::vector<LogLine>& log, unsigned long thread = 0);

/// The threads that wrote, in the order of their first lines.
std::vector<unsigned long> threadsOf(const std::vector<LogLine>& log);

/// Each text with a line feed behind it.
std::string lines(const std::vector<std::string>& texts);

std::size_t countOf(const std::string& text, const std::string& part);
