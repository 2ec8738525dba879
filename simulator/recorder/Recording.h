#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "simulator/DriveRequest.h"
#include "simulator/Machine.h"
#include "simulator/RecordedDrive.h"

namespace simulator {

// The answer that an ioctl has left in its argument, as a machine file keeps it. The request was
// decoded before the call, the argument is read after it.
RecordedAnswer answerTo(const DriveRequest& request, int result, int error);

// What a process asked its drives and what they said. Any number of threads may add to it at once.
class Recording {
 public:
  // A node (below /dev) was opened, or could not be: error is the errno then, else 0.
  void opened(const std::string& node, int error);

  // Requests that a machine file has no name for are left out.
  void answered(const std::string& node, const DriveRequest& request, RecordedAnswer answer);

  [[nodiscard]] bool empty() const;

  // The drives that were asked, in the order in which they were first opened. Of answers that
  // repeat the last one only the first is there: the last one stays.
  [[nodiscard]] std::vector<RecordedDescription> drives() const;

  // The openings that failed.
  [[nodiscard]] std::vector<FaultDescription> faults() const;

 private:
  struct Node {
    RecordedDescription drive;
    std::vector<int> openings;  // the errno of each, 0 for one that went well
    std::map<std::pair<RequestKind, Bytes>, std::size_t> places;  // in drive.requests
  };

  Node& at(const std::string& node);

  mutable std::mutex mutex_;
  std::vector<Node> nodes_;
};

}  // namespace simulator
