#include "simulator/SgRequest.h"

#include <cerrno>

#include <algorithm>
#include <cstddef>

#include "simulator/SatSense.h"

namespace simulator {

namespace {

constexpr std::uint8_t kTestUnitReady = 0x00;  // SPC-4 6.47
constexpr std::uint8_t kInquiry = 0x12;        // SPC-4 6.6
constexpr std::size_t kInquirySize = 36;
constexpr unsigned char kLongestBlock = 16;

int kernelChecks(const sg_io_hdr_t* header) {
  if (header == nullptr || header->cmdp == nullptr) {
    return EFAULT;
  }
  const bool wantsData = header->dxfer_len != 0 && header->dxfer_direction != SG_DXFER_NONE;
  if (header->interface_id != 'S' || header->cmd_len == 0 || header->cmd_len > kLongestBlock ||
      header->iovec_count != 0) {
    return EINVAL;
  }
  if (wantsData && header->dxfer_direction != SG_DXFER_FROM_DEV &&
      header->dxfer_direction != SG_DXFER_TO_DEV &&
      header->dxfer_direction != SG_DXFER_TO_FROM_DEV) {
    return EINVAL;
  }
  return wantsData && header->dxferp == nullptr ? EFAULT : 0;
}

}  // namespace

SgRequest::SgRequest(const DriveRequest& request)
    : header_(static_cast<sg_io_hdr_t*>(request.argument)), error_(kernelChecks(header_)) {}

void SgRequest::putData(const Bytes& data) const {
  const bool toCaller = header_->dxfer_direction == SG_DXFER_FROM_DEV ||
                        header_->dxfer_direction == SG_DXFER_TO_FROM_DEV;
  if (toCaller) {
    std::copy_n(data.begin(), std::min<std::size_t>(data.size(), header_->dxfer_len),
                static_cast<std::uint8_t*>(header_->dxferp));
  }
}

void SgRequest::refuse(std::uint8_t key, std::uint8_t code) const {
  completeWithSense(*header_, fixedSense(key, code, 0));
}

void SgRequest::answerAsDisk(std::string_view vendor) const {
  if (operationCode() == kTestUnitReady) {
    completeGood(*header_);
    return;
  }
  if (operationCode() != kInquiry) {
    refuse(kIllegalRequest, kInvalidOperationCode);
    return;
  }
  if ((block()[1] & 0x01) != 0) {  // a vital product data page
    refuse(kIllegalRequest, kInvalidField);
    return;
  }
  Bytes inquiry(kInquirySize, 0);
  inquiry[2] = 5;  // SPC-3
  inquiry[3] = 2;  // response data format
  inquiry[4] = kInquirySize - 5;
  putText(inquiry, 8, 8, vendor);
  putText(inquiry, 16, 16, "SIMULATED DISK");
  putText(inquiry, 32, 4, "1.0");
  putData(inquiry);
  completeGood(*header_);
}

}  // namespace simulator
