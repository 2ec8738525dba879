#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/Bytes.h"
#include "simulator/Drive.h"
#include "simulator/DriveRequest.h"

namespace simulator {

// Which calls a fault concerns. An empty field concerns all.
struct FaultPattern {
  std::string call;  // ioctl, open, fopen, ...
  std::string path;  // /dev/sda, /sys/block, ...
  std::optional<RequestKind> request;
  std::optional<std::uint8_t> command;
  std::optional<std::uint8_t> feature;
  std::optional<std::uint8_t> log;
  std::optional<std::uint16_t> page;
  std::optional<std::uint8_t> cns;
};

// What happens then. Without error, result and sense the call goes its ordinary way, later by delay
// and with what drive says.
struct FaultOutcome {
  std::optional<int> error;   // the call fails with this errno
  std::optional<int> result;  // the call returns this without doing anything
  Bytes sense;                // SG_IO: CHECK CONDITION with these bytes
  DriveFault drive;
  std::chrono::microseconds delay{0};  // simulated time
};

struct FaultDescription {
  static constexpr std::uint64_t kForever = std::numeric_limits<std::uint64_t>::max();

  FaultPattern pattern;
  FaultOutcome outcome;
  std::uint64_t nth = 1;           // the first matching call to meet the fault
  std::uint64_t count = kForever;  // how many do
};

// The faults of a machine. Every one counts the calls that match its pattern; a call meets the
// first fault whose turn it is. Any number of threads may ask at once.
class Faults {
 public:
  explicit Faults(std::vector<FaultDescription> descriptions);

  // The fault that a call on path meets, or null. request: for ioctl only.
  const FaultOutcome* meet(std::string_view call, std::string_view path,
                           const DriveRequest* request = nullptr);

  // Whether any fault names this path or call, so that calls on it must be looked at.
  [[nodiscard]] bool concernPath(std::string_view path) const;
  [[nodiscard]] bool concernCall(std::string_view call) const;

 private:
  const std::vector<FaultDescription> descriptions_;
  const std::unique_ptr<std::atomic<std::uint64_t>[]> seen_;
};

}  // namespace simulator
