#pragma once

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace simulator::test {

// What a program left behind.
struct ProbeResult {
  int status = -1;
  std::vector<std::string> lines;  // of its standard output
  std::string errors;              // its standard error
};

// One of the builds of the probe.
struct ProbeProgram {
  const char* name;
  const char* path;
};
constexpr ProbeProgram kPlainProbe{"plain", VEKSSD_PROBE};
constexpr ProbeProgram kFortifiedProbe{"fortified", VEKSSD_PROBE_FORTIFIED};
void PrintTo(const ProbeProgram& program, std::ostream* out);
std::string programName(const testing::TestParamInfo<ProbeProgram>& info);

// A private directory for one test, removed at its end.
class ScratchDirectory {
 public:
  ScratchDirectory();
  ~ScratchDirectory();
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  [[nodiscard]] std::string file(const std::string& name) const { return path_ + "/" + name; }
  [[nodiscard]] const std::string& path() const { return path_; }
  // Writes a file into it and returns its path.
  std::string write(const std::string& name, const std::string& content) const;
  [[nodiscard]] std::string read(const std::string& name) const;

 private:
  std::string path_;
};

// Runs the probe, or another program, under the preloaded simulator.
class ProbeRun {
 public:
  // machine: the text of a machine file; empty for none.
  explicit ProbeRun(const std::string& machine);

  ProbeRun& environment(std::string name, std::string value);
  ProbeRun& program(std::string path);

  ProbeResult run(const std::vector<std::string>& arguments);

  // The journal of all runs so far; entries of one call only, if one is named.
  [[nodiscard]] std::vector<nlohmann::json> journal(const std::string& call = "") const;

  [[nodiscard]] const ScratchDirectory& directory() const { return directory_; }

 private:
  ScratchDirectory directory_;
  std::string program_;
  std::vector<std::pair<std::string, std::string>> environment_;
};

}  // namespace simulator::test
