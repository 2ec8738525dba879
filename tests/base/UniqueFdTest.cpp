#include "base/UniqueFd.h"

#include <gtest/gtest.h>

#include "tests/support/FakeKernel.h"

using testkit::FakeKernel;

namespace {

class OwnedDescriptor : public testing::Test {
 protected:
  static UniqueFd opened(bool willClose) {
    const int fd = FakeKernel::instance().willOpen("/dev/sda", 0);
    EXPECT_EQ(FakeKernel::instance().open("/dev/sda", 0), fd);
    if (willClose) {
      FakeKernel::instance().willClose(fd);
    }
    return UniqueFd(fd);
  }
};

}  // namespace

TEST_F(OwnedDescriptor, IsClosedWithItsOwner) {
  const UniqueFd fd = opened(true);
  EXPECT_TRUE(fd.isOpen());
  EXPECT_TRUE(FakeKernel::instance().isOpen(fd.get()));
}

TEST_F(OwnedDescriptor, IsClosedOnceWhenResetBefore) {
  UniqueFd fd = opened(true);
  fd.reset();
  EXPECT_FALSE(fd.isOpen());
  EXPECT_EQ(fd.get(), -1);
  fd.reset();
}

TEST_F(OwnedDescriptor, LeavesTheErrorOfWhatFailedBefore) {
  UniqueFd fd = opened(true);
  errno = ENOSPC;
  fd.reset();
  EXPECT_EQ(errno, ENOSPC);
}

TEST_F(OwnedDescriptor, CanBeGivenUpUnclosed) {
  UniqueFd fd = opened(false);
  const int number = fd.release();
  EXPECT_FALSE(fd.isOpen());
  EXPECT_TRUE(FakeKernel::instance().isOpen(number));
  FakeKernel::instance().staysOpen(number);
}

TEST_F(OwnedDescriptor, MovesToAnotherOwner) {
  UniqueFd first = opened(true);
  const int number = first.get();
  UniqueFd second(std::move(first));
  EXPECT_EQ(second.get(), number);
  EXPECT_FALSE(first.isOpen());  // NOLINT: moved from, and known to be empty
}

TEST_F(OwnedDescriptor, IsSwappedByAssignment) {
  UniqueFd first = opened(false);
  UniqueFd second = opened(false);
  const int one = first.get();
  const int two = second.get();
  FakeKernel::instance().willClose(one);  // what the second holds goes first
  FakeKernel::instance().willClose(two);
  first = std::move(second);
  EXPECT_EQ(first.get(), two);
  EXPECT_EQ(second.get(), one);  // NOLINT: see above
}

TEST_F(OwnedDescriptor, ZeroIsADescriptorAndLessIsNone) {
  UniqueFd standardInput(0);
  EXPECT_TRUE(standardInput.isOpen());
  EXPECT_EQ(standardInput.release(), 0);
  EXPECT_FALSE(UniqueFd(-1).isOpen());
  EXPECT_FALSE(UniqueFd().isOpen());
}
