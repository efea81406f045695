#include "base/counter_lock.h"

#include <gtest/gtest.h>

#include <limits>
#include <thread>
#include <vector>

namespace qv {
namespace {

constexpr int64_t kLowest = std::numeric_limits<int64_t>::min();
constexpr int64_t kHighest = std::numeric_limits<int64_t>::max();

TEST(CounterLockTest, EachOperationLeavesAndReturnsTheNewValue) {
  constexpr auto kSet = &CounterLock::Set, kAdd = &CounterLock::Add;
  constexpr auto kSubtract = &CounterLock::Subtract, kMultiply = &CounterLock::Multiply;
  constexpr auto kDivide = &CounterLock::Divide, kModulo = &CounterLock::Modulo;
  const struct {
    const char* name;
    int64_t (CounterLock::*operation)(int64_t);
    int64_t before, operand, after;
  } kRows[] = {
      {"set", kSet, 5, -9, -9},
      {"add beyond 32 bits", kAdd, 0xFFFFFFFF, 1, 0x100000000},
      {"add wraps", kAdd, kHighest, 1, kLowest},
      {"subtract", kSubtract, 3, 10, -7},
      {"subtract wraps", kSubtract, kLowest, 1, kHighest},
      {"multiply", kMultiply, -3, 5000000000, -15000000000},
      {"multiply wraps", kMultiply, kHighest, 2, -2},
      {"divide toward 0", kDivide, -7, 2, -3},
      {"divide by 0", kDivide, -7, 0, -7},
      {"divide by -1", kDivide, 12, -1, -12},
      {"divide the lowest by -1", kDivide, kLowest, -1, kLowest},
      {"modulo has the sign of the value", kModulo, -7, 4, -3},
      {"modulo 0", kModulo, 7, 0, 7},
      {"modulo -1 of the lowest", kModulo, kLowest, -1, 0},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    CounterLock counter(row.before);
    EXPECT_EQ((counter.*row.operation)(row.operand), row.after);
    EXPECT_EQ(counter.Get(), row.after);
  }
  CounterLock counter;
  EXPECT_EQ(counter.Increment(), 1);
  EXPECT_EQ(counter.Decrement(), 0);
  EXPECT_EQ(counter.Decrement(), -1);
}

// A lost update shows in the sum, an operation past the lock in what a holder sees twice.
TEST(CounterLockTest, CountsExactlyFromManyThreads) {
  constexpr int kThreads = 4, kRounds = 2000;
  CounterLock counter;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&counter] {
      for (int round = 0; round < kRounds; ++round) {
        counter.Add(3);
        ScopedLock hold(counter);
        const int64_t seen = counter.Decrement();
        if (round % 64 == 0) std::this_thread::yield();
        EXPECT_EQ(counter.Get(), seen);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(counter.Get(), int64_t{kThreads} * kRounds * 2);
}

}  // namespace
}  // namespace qv
