#include "base/NoCancellation.h"

#include <gtest/gtest.h>

#include <pthread.h>

namespace {

struct Reached {
  bool behindFirst = false;
  bool behindInner = false;
  bool behindScope = false;
};

void* cancelItself(void* argument) {
  auto& reached = *static_cast<Reached*>(argument);
  {
    const NoCancellation outer;
    pthread_cancel(pthread_self());
    pthread_testcancel();
    reached.behindFirst = true;
    { const NoCancellation inner; }
    pthread_testcancel();
    reached.behindInner = true;
  }
  pthread_testcancel();
  reached.behindScope = true;
  return nullptr;
}

}  // namespace

TEST(NoCancellation, HoldsACancellationOffUntilTheOutermostScopeEnds) {
  Reached reached;
  pthread_t thread = 0;
  ASSERT_EQ(pthread_create(&thread, nullptr, cancelItself, &reached), 0);
  void* result = nullptr;
  ASSERT_EQ(pthread_join(thread, &result), 0);
  EXPECT_TRUE(reached.behindFirst);
  EXPECT_TRUE(reached.behindInner);
  EXPECT_FALSE(reached.behindScope);
  EXPECT_EQ(result, PTHREAD_CANCELED);
}
