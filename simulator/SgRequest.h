#pragma once

#include <scsi/sg.h>

#include <cstdint>
#include <string_view>

#include "simulator/Bytes.h"
#include "simulator/DriveRequest.h"

namespace simulator {

// One SG_IO call on a disk: the checks that the kernel makes before anything is sent, and the ways
// in which every disk can answer. Looks into the caller's memory; lives for one call.
class SgRequest {
 public:
  explicit SgRequest(const DriveRequest& request);

  // Whether the kernel takes the call; if not, error() is the errno.
  [[nodiscard]] bool valid() const { return error_ == 0; }
  [[nodiscard]] int error() const { return error_; }

  [[nodiscard]] sg_io_hdr_t& header() const { return *header_; }
  [[nodiscard]] const std::uint8_t* block() const { return header_->cmdp; }
  [[nodiscard]] std::uint8_t operationCode() const { return block()[0]; }

  // Copies data into the caller's buffer, as much as it takes.
  void putData(const Bytes& data) const;

  // CHECK CONDITION with sense key and code.
  void refuse(std::uint8_t key, std::uint8_t code) const;

  // TEST UNIT READY and INQUIRY answered, everything else refused as unknown.
  void answerAsDisk(std::string_view vendor) const;

 private:
  sg_io_hdr_t* header_ = nullptr;
  int error_ = 0;
};

}  // namespace simulator
