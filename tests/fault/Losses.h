#pragma once

#include <map>
#include <string>
#include <vector>

namespace fault {

/// What a process has open and what the library holds, before and after a round.
class Losses {
 public:
  /// Starts the account. Forgets, and gives back, what was lost before.
  Losses();

  /// Ends it: to be asked once, when the library has left the process.
  void close();

  /// Descriptors that are open now and weren't then, by what they lead to.
  const std::vector<std::string>& descriptors() const { return descriptors_; }
  /// Streams that the library has not closed, by path.
  const std::vector<std::string>& streams() const { return streams_; }
  /// Scans of the NVMe controllers that were not released.
  int scans() const { return scans_; }
  /// Blocks of memory, by the function of the library that asked for them.
  const std::map<std::string, int>& blocks() const { return blocks_; }

 private:
  std::map<int, std::string> before_;
  std::vector<std::string> descriptors_;
  std::vector<std::string> streams_;
  int scans_ = 0;
  std::map<std::string, int> blocks_;
};

}  // namespace fault
