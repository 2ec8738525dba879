#include "base/Mutex.h"

#include <atomic>
#include <cerrno>
#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "tests/support/FakeThreads.h"

using testkit::FakeThreads;

namespace {

class Locks : public testing::Test {
 protected:
  Mutex mutex_;
  SharedMutex shared_;
};

using LocksDeath = Locks;

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

// Going on without a lock would be worse for the process than its end.

TEST_F(LocksDeath, ARefusedMutexEndsTheProcess) {
  const auto meetRefusal = [this]() VEKSSD_NO_THREAD_SAFETY_ANALYSIS {
    FakeThreads::refuseNextLock(EAGAIN);
    mutex_.lock();
  };
  EXPECT_DEATH(meetRefusal(), "base/Mutex\\.h:[0-9]+: lock: Assertion `pthread_mutex_lock' failed");
}

TEST_F(LocksDeath, AWriterThatWaitsForItselfEndsTheProcess) {
  const auto writeTwice = [this]() VEKSSD_NO_THREAD_SAFETY_ANALYSIS {
    shared_.lock();
    shared_.lock();
  };
  const auto writeAndRead = [this]() VEKSSD_NO_THREAD_SAFETY_ANALYSIS {
    shared_.lock();
    shared_.lockShared();
  };
  EXPECT_DEATH(writeTwice(), "lock: Assertion `pthread_rwlock_wrlock' failed");
  EXPECT_DEATH(writeAndRead(), "lockShared: Assertion `pthread_rwlock_rdlock' failed");
}
