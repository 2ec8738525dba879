#include "base/Mutex.h"

#include <atomic>
#include <cerrno>
#include <future>
#include <memory>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include "tests/support/FakeThreads.h"

using testkit::FakeThreads;

namespace {

class Locks : public testing::Test {
 protected:
  /// Whether `own` makes another thread wait that asks for the same.
  template <typename Guard, typename Lock>
  static bool keepsOthersOut(Lock& lock, std::unique_ptr<Guard> own) {
    FakeThreads::watchMutexes(&lock, sizeof lock);
    const std::size_t before = FakeThreads::contended();
    std::atomic<bool> entered{false};
    std::thread other([&] {
      const Guard guard(lock);
      entered = true;
    });
    while (FakeThreads::contended() == before && !entered) {
      std::this_thread::yield();
    }
    const bool kept = !entered;
    own.reset();
    other.join();
    return kept;
  }

  Mutex mutex_;
  SharedMutex shared_;
};

}  // namespace

TEST_F(Locks, OneThreadHoldsAMutexAtATime) {
  FakeThreads::watchMutexes(&mutex_, sizeof mutex_);
  std::atomic<bool> entered{false};
  std::thread other;
  {
    const MutexLock lock(mutex_);
    other = std::thread([&] {
      const MutexLock own(mutex_);
      entered = true;
    });
    while (FakeThreads::contended() == 0 && !entered) {
      std::this_thread::yield();
    }
    EXPECT_FALSE(entered);
  }
  other.join();
  EXPECT_TRUE(entered);
}

TEST_F(Locks, ManyReadersShareALock) {
  std::promise<void> inside;
  const ReaderLock own(shared_);
  std::thread other([&] {
    const ReaderLock lock(shared_);
    inside.set_value();
  });
  inside.get_future().wait();
  other.join();
}

TEST_F(Locks, AWriterWaitsForTheReaders) {
  std::atomic<bool> readerIsGone{false};
  std::promise<void> reading;
  std::promise<void> goOn;
  std::thread reader([&] {
    const ReaderLock lock(shared_);
    reading.set_value();
    goOn.get_future().wait();
    readerIsGone = true;
  });
  reading.get_future().wait();
  std::thread writer([&] {
    const WriterLock lock(shared_);
    EXPECT_TRUE(readerIsGone);
  });
  goOn.set_value();
  reader.join();
  writer.join();
}

TEST_F(Locks, AMutexThatWasRefusedIsNotGivenBack) {
  auto own = std::make_unique<MutexLock>(mutex_);
  FakeThreads::refuseNextLock(EAGAIN);
  { const MutexLock refused(mutex_); }
  EXPECT_TRUE(keepsOthersOut(mutex_, std::move(own)));
}

TEST_F(Locks, OneThatItsWriterIsRefusedAgainIsNotGivenBack) {
  auto own = std::make_unique<WriterLock>(shared_);
  { const WriterLock refused(shared_); }
  { const ReaderLock refused(shared_); }
  EXPECT_TRUE(keepsOthersOut(shared_, std::move(own)));
}
