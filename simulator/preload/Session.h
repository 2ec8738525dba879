#pragma once

#include <atomic>
#include <chrono>
#include <string>
#include <string_view>

#include "simulator/Machine.h"
#include "simulator/preload/Journal.h"

namespace simulator {

// The simulation that this process takes part in: the machine that VEKSSD_MACHINE names, its clock
// and the journal. Lives until the process ends. Any number of threads may use it at once.
class Session {
 public:
  Session(MachineDescription description, Directories directories, std::string journal);

  Machine& machine() { return machine_; }
  [[nodiscard]] const Journal& journal() const { return journal_; }

  // Simulated time since the session began.
  [[nodiscard]] double seconds() const;

  // Simulated time that passes without anybody waiting for it.
  void skip(double seconds);

  // Lets a simulated duration pass. Leaves errno as it was.
  void pass(std::chrono::microseconds duration) const;

  // A fault that the call meets, its delay already passed; null if it meets none.
  const FaultOutcome* meetFault(std::string_view call, std::string_view path);

 private:
  Machine machine_;
  const Journal journal_;
  const std::chrono::steady_clock::time_point start_;
  std::atomic<double> skipped_{0};
};

// The session of this process; null when VEKSSD_MACHINE isn't set, and while the machine is being
// read. Ends the process with status 78 and a message if the machine file is of no use.
Session* session();

}  // namespace simulator
