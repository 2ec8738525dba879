#pragma once

#include "simulator/Drive.h"

namespace simulator {

// A disk that is no ATA drive to the kernel (on USB, behind a RAID controller, in a virtual
// machine): it has a node like every disk but knows neither identity nor drive commands nor
// pass-through.
class ScsiDisk : public Drive {
 public:
  using Drive::Drive;

  Reply answer(const DriveRequest& request, const Circumstances& circumstances) override;
};

}  // namespace simulator
