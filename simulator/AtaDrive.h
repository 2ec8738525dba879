#pragma once

#include "simulator/AtaDevice.h"
#include "simulator/Drive.h"

namespace simulator {

// A SATA drive behind the kernel's libata: HDIO_GET_IDENTITY, HDIO_DRIVE_CMD and SG_IO (INQUIRY and
// ATA PASS-THROUGH) answered as libata answers them.
class AtaDrive : public Drive {
 public:
  explicit AtaDrive(const AtaDescription& description);

  Reply answer(const DriveRequest& request, const Circumstances& circumstances) override;

  // The drive itself, without the kernel around it.
  AtaDevice& device() { return device_; }

 private:
  AtaAnswer execute(const AtaCommand& command, const Circumstances& circumstances);
  Reply getIdentity(const DriveRequest& request) const;
  Reply driveCmd(const DriveRequest& request, const Circumstances& circumstances);
  Reply sgIo(const DriveRequest& request, const Circumstances& circumstances);

  AtaDevice device_;
};

}  // namespace simulator
