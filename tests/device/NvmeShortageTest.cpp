#include <new>

#include "device/SmartIo.h"
#include "tests/device/DeviceTest.h"
#include "tests/support/Allocations.h"

using namespace testkit;

namespace {

class NvmeShortage : public DeviceTest {};

}  // namespace

// A node stays open where its drive fails; here it is the host process that has failed.
TEST_F(NvmeShortage, ClosesTheNodeOfADriveThatHasAnswered) {
  constexpr std::size_t kMoreThanItTakes = 40;
  unsigned shortages = 0;
  for (std::size_t skipped = 0; skipped < kMoreThanItTakes; ++skipped) {
    willIdentifyNvme("/dev/nvme0", {});  // which ends in a close
    IdentifyData data;
    allocations::refuseAfter(skipped);
    try {
      (void)SmartIo::getIdentifyNVMeData("/dev/nvme0", data);
    } catch (const std::bad_alloc&) {
      ++shortages;
    }
    allocations::refuseNone();
    kernel().verify();
  }
  EXPECT_GE(shortages, 2U);
}
