#pragma once

#include <optional>
#include <string>

namespace ssdlife {

enum class Format { kTable, kJson };
enum class Command { kList, kNames, kGet, kWatch };

// The command line, understood.
struct Options {
  Command command = Command::kList;
  Format format = Format::kTable;
  std::string library;         // empty: the one that belongs to this command
  std::string machine;         // empty: this machine
  std::string like = "plain";  // the object manager that is played
  bool showLibraryOutput = false;

  std::string deviceId;           // get
  std::optional<unsigned> count;  // watch: how many indications
  std::optional<double> seconds;  // watch: how long
};

// Reads the command line. Nothing when it asked for help or the version, which has been printed.
// Throws Failure.
std::optional<Options> readCommandLine(int argc, char** argv);

}  // namespace ssdlife
