#include "base/event_lock.h"

#include <gtest/gtest.h>

#include <thread>

#include "base/stopwatch.h"

namespace qv {
namespace {

// An item changes hands only inside a wait, so a wait that kept the lock, or a signal that got
// lost, would stand still.
TEST(EventLockTest, HandsItemsOver) {
  constexpr int kItems = 500;
  EventLock to_consumer, to_producer;
  int stock = 0, consumed = 0;  // under to_consumer
  std::thread consumer([&] {
    ScopedLock hold(to_consumer);
    while (consumed < kItems) {
      while (stock == 0) to_consumer.Wait();
      --stock;
      ++consumed;
      to_producer.Signal();
    }
  });
  for (int i = 0; i < kItems; ++i) {
    {
      ScopedLock hold(to_consumer);
      ++stock;
      to_consumer.Signal();
    }
    ScopedLock hold(to_producer);
    to_producer.Wait();
  }
  consumer.join();
  EXPECT_EQ(consumed, kItems);
  EXPECT_EQ(stock, 0);
}

TEST(EventLockTest, OneSignalEndsOneWait) {
  EventLock lock;
  ScopedLock hold(lock);
  EXPECT_FALSE(lock.WaitMicros(0)) << "unsignalled at first";
  lock.Signal();
  lock.Signal();
  EXPECT_TRUE(lock.WaitMicros(0));
  EXPECT_FALSE(lock.WaitMicros(999)) << "two signals count as one";
  const Stopwatch waiting;
  EXPECT_FALSE(lock.WaitMicros(20999));
  EXPECT_GE(waiting.Microseconds(), 19000u);
}

}  // namespace
}  // namespace qv
