#include "base/lock_object.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace qv {
namespace {

bool OtherThreadCanTake(LockObject& lock) {
  bool taken = false;
  std::thread([&] {
    taken = lock.TryLock();
    if (taken) lock.Unlock();
  }).join();
  return taken;
}

TEST(LockObjectTest, IsReentrantOnOneThreadAndExcludesOthers) {
  LockObject lock;
  EXPECT_TRUE(OtherThreadCanTake(lock)) << "a try may come first";
  {
    ScopedLock outer(lock);
    {
      ScopedLock inner(lock);
      EXPECT_FALSE(OtherThreadCanTake(lock));
    }
    EXPECT_FALSE(OtherThreadCanTake(lock));
    EXPECT_TRUE(lock.TryLock());
    lock.Unlock();
  }
  EXPECT_TRUE(OtherThreadCanTake(lock));
}

// Each round uses a fresh lock, so that its first use is contended.
TEST(LockObjectTest, InitialisesOnceUnderContention) {
  constexpr int kThreads = 4, kRounds = 200, kSteps = 50;
  for (int round = 0; round < kRounds; ++round) {
    LockObject lock;
    std::atomic<bool> go{false};
    int counter = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&] {
        while (!go) std::this_thread::yield();
        for (int step = 0; step < kSteps; ++step) {
          ScopedLock hold(lock);
          ++counter;
        }
      });
    }
    go = true;
    for (std::thread& thread : threads) thread.join();
    ASSERT_EQ(counter, kThreads * kSteps) << "round " << round;
  }
}

}  // namespace
}  // namespace qv
