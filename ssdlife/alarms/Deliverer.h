#pragma once

#include <chrono>
#include <string>

#include "ssdlife/alarms/Teller.h"
#include "ssdlife/history/StateFile.h"

namespace ssdlife {

// Brings alarms to where they are to go: the journal, then each hook of the folder. What is to be
// done is in the state file before it is done, and taken off it afterwards: what was interrupted is
// done again, and nothing else. For one thread.
class Deliverer {
 public:
  Deliverer(StateFile& state, const Teller& teller, std::string hookFolder,
            std::chrono::seconds limit);

  // Does the next thing that is due. False if there is none.
  bool step();

 private:
  void deliver(const Alarm& alarm, const Delivery& delivery);
  void run(const Alarm& alarm, const Delivery& delivery);

  StateFile& state_;
  const Teller& teller_;
  const std::string folder_;
  const std::chrono::seconds limit_;
};

}  // namespace ssdlife
