#pragma once

#include <atomic>
#include <mutex>
#include <set>
#include <string>

#include "simulator/recorder/Recording.h"

namespace simulator {

// The recorder of this process: what it has heard, where that goes, and which descriptors are
// drives. Lives until the process ends. Any number of threads may use it at once.
class Recorder {
 public:
  Recorder(std::string file, bool anonymous);

  Recording& recording() { return recording_; }

  // The node that a descriptor stands for, or null.
  [[nodiscard]] const std::string* nodeAt(int fd) const;
  // Null: the descriptor stands for no drive, any more.
  void setNode(int fd, const std::string* node);
  // A name that lives as long as the recorder.
  const std::string* keep(const std::string& node);

  // Writes the machine file. Empty if that worked, else what went wrong.
  std::string save();

  // What happens when the process ends: saves what was heard, unless that has been done.
  void saveAtEnd();

 private:
  static constexpr int kLimit = 65536;

  const std::string file_;
  const bool anonymous_;
  Recording recording_;
  std::atomic<const std::string*> nodes_[kLimit]{};
  std::mutex namesMutex_;
  std::set<std::string> names_;
  std::atomic<bool> saved_{false};
};

// The recorder of this process; null when VEKSSD_RECORD isn't set, and while it is being made.
Recorder* recorder();

}  // namespace simulator
