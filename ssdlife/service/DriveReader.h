#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "ssdlife/SsdClient.h"

namespace ssdlife {

// Reads the drives of this machine over a long time, through the provider library, which looks for
// drives only when it is loaded: it is loaded anew when drives come or go. For one thread.
class DriveReader {
 public:
  // `event` is called, on any thread, when the library sees a drive pass the threshold.
  DriveReader(std::string library, std::string like, std::function<void()> event);
  ~DriveReader();
  DriveReader(const DriveReader&) = delete;
  DriveReader& operator=(const DriveReader&) = delete;

  // All drives, each read now; none is an answer too. Throws Failure when the library has none.
  std::vector<Drive> read();

 private:
  void load(std::set<std::string> nodes);
  std::vector<Drive> ask();

  const std::string library_;
  const std::string like_;
  const std::function<void()> event_;
  std::unique_ptr<SsdClient> client_;
  std::set<std::string> nodes_;  // of the machine, when the library was loaded
  std::size_t drives_ = 0;       // that it told at the last reading
};

}  // namespace ssdlife
