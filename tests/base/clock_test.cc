#include "base/clock.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "base/deadline_timer.h"
#include "base/hooks.h"
#include "base/stopwatch.h"

namespace {

TEST(ClockTest, ConvertsTicksBothWays) {
  const struct {
    uint32_t ticks;
    uint64_t micros;
  } kRows[] = {{0, 0}, {1, 16666}, {3, 50000}, {60, 1000000}, {0xFFFFFFFF, 71582788250000}};
  for (const auto& row : kRows) {
    EXPECT_EQ(qv::MicrosecondsFromTicks(row.ticks), row.micros) << row.ticks;
  }
  EXPECT_EQ(qv::TicksFromMicroseconds(16666), 0u);
  EXPECT_EQ(qv::TicksFromMicroseconds(16667), 1u);
  // A product of 64 bits would wrap here.
  EXPECT_EQ(qv::TicksFromMicroseconds(UINT64_MAX), 1106804644422573u);
}

TEST(ClockTest, ThreadsNeverSeeItGoBack) {
  qv::ResetClockForTest();
  std::vector<std::thread> threads;
  std::vector<int> failures(4);
  for (int& failed : failures) {
    threads.emplace_back([&failed] {
      uint64_t last = 0;
      for (int i = 0; i < 20000; ++i) {
        const uint64_t now = ZRMicroseconds(true);
        failed += now < last;
        last = now;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, std::vector<int>(4));
}

TEST(ClockTest, StartsAtASecondOrLess) {
  qv::ResetClockForTest();
  EXPECT_LE(ZRMicroseconds(true), 1100000u);
}

TEST(DeadlineTimerTest, KnowsTheExpiredAndTheEndless) {
  qv::DeadlineTimer expired;
  EXPECT_TRUE(expired.Expired());
  EXPECT_TRUE(qv::DeadlineTimer::AfterTicks(0).Expired());
  EXPECT_TRUE(qv::DeadlineTimer::AfterTicks(-5).Expired());
  EXPECT_EQ(expired.MicrosecondsLeft(), 0u);
  EXPECT_FALSE(qv::DeadlineTimer::Never().Expired());
  EXPECT_EQ(qv::DeadlineTimer::Never().MicrosecondsLeft(), qv::DeadlineTimer::kNever);
  EXPECT_TRUE(qv::DeadlineTimer::AfterWallSeconds(0).Expired());
  const auto wall = qv::DeadlineTimer::AfterWallSeconds(1000);
  EXPECT_FALSE(wall.Expired());
  EXPECT_EQ(wall.MicrosecondsLeft() % 1000000, 0u);
  EXPECT_GE(wall.MicrosecondsLeft(), 900000000u);
}

}  // namespace
