#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "simulator/Bytes.h"
#include "simulator/DriveRequest.h"

namespace simulator {

// What an ioctl comes back with. error is the errno and counts only where result is -1.
struct Reply {
  int result = 0;
  int error = 0;
  std::chrono::microseconds delay{0};  // simulated time that the answer takes

  static Reply ok(int result = 0) { return {result, 0, {}}; }
  static Reply failed(int error) { return {-1, error, {}}; }
};

// What a fault makes a drive do instead of its own work.
struct DriveFault {
  struct AtaRegisters {
    std::uint8_t error = 0;
    std::uint8_t status = 0;
  };
  std::optional<AtaRegisters> ata;  // the drive ends the command with these registers
  bool hang = false;                // the drive never answers; the kernel gives up in the end
  Bytes data;                       // if not empty, stands at the start of the data that is read
  std::optional<std::uint32_t> nvmeResult;  // completion dword 0
};

// Where and when a drive is asked.
struct Circumstances {
  double seconds = 0;  // simulated time since the machine was switched on
  bool privileged = true;
  DriveFault fault;
};

// One drive behind its node, answering ioctls as the kernel's drivers do for such a drive. Any
// number of threads may ask at once.
class Drive {
 public:
  explicit Drive(std::string node) : node_(std::move(node)) {}
  virtual ~Drive() = default;
  Drive(const Drive&) = delete;
  Drive& operator=(const Drive&) = delete;

  // The name below /dev, for example sda or nvme0.
  [[nodiscard]] const std::string& node() const { return node_; }

  // Writes the answer into the request's argument and returns what the ioctl returns.
  virtual Reply answer(const DriveRequest& request, const Circumstances& circumstances) = 0;

 private:
  std::string node_;
};

}  // namespace simulator
