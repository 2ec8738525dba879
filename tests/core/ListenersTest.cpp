// The order of the listeners' operations, by which support finds its way in a core dump.

#include <gtest/gtest.h>

#include "core/ISsdDeviceListener.h"
#include "core/ISsdListener.h"
#include "tests/support/VirtualSlots.h"

using testkit::slotOf;

TEST(SsdListener, IsToldInItsFirstSlot) {
  EXPECT_EQ(slotOf(&ISsdListener::SsdFailureImminent), 0U);
}

TEST(SsdDeviceListener, IsToldBehindItsDestructor) {
  EXPECT_EQ(slotOf(&ISsdDeviceListener::SsdDeviceFailureImminent), 2U);
}
