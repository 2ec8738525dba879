#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "simulator/Bytes.h"
#include "simulator/Drive.h"

namespace simulator {

// One answer as it was seen on a real machine.
struct RecordedAnswer {
  int result = 0;
  int error = 0;  // errno, where result is -1
  Bytes header;   // HDIO_DRIVE_CMD: the four registers after the call
  Bytes data;
  Bytes sense;  // SG_IO: as much of it as was written
  std::uint8_t status = 0;
  std::uint16_t hostStatus = 0;
  std::uint16_t driverStatus = 0;
  std::uint32_t nvmeResult = 0;
};

// A request, told from others by its kind and the bytes sent, and its answers in the order seen.
struct RecordedRequest {
  RequestKind kind = RequestKind::other;
  Bytes sent;
  std::vector<RecordedAnswer> answers;
};

struct RecordedDescription {
  std::string node;
  std::vector<RecordedRequest> requests;
};

// A drive that says again what another one said: the n-th equal request gets the n-th answer, and
// the last answer stays. A request that was never recorded is answered with ENOTTY.
class RecordedDrive : public Drive {
 public:
  explicit RecordedDrive(RecordedDescription description);

  Reply answer(const DriveRequest& request, const Circumstances& circumstances) override;

 private:
  const RecordedDescription description_;
  const std::unique_ptr<std::atomic<std::uint64_t>[]> asked_;  // one count a recorded request
};

}  // namespace simulator
