#include <gtest/gtest.h>
#include <time.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <optional>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include "platform/host/counter_clock.h"
#include "platform/interrupt_time.h"

namespace {

constexpr uint64_t kMillisecond = 1000000, kMicrosecond = 1000;  // nanoseconds

// A machine whose time passes when the test says so.
struct Machine {
  bool usable = true;
  double rate = 2.7;  // counts a nanosecond
  double counter = 1e12;
  uint64_t nanoseconds = 5000 * kMillisecond;
  int system_readings = 0;
  std::function<void()> at_system_reading = [] {};

  void Pass(uint64_t time) {
    nanoseconds += time;
    counter += static_cast<double>(time) * rate;
  }
};

Machine machine;

struct Source {
  static bool IsUsable() { return machine.usable; }
  static uint64_t Counter() { return static_cast<uint64_t>(machine.counter); }
  static uint64_t Nanoseconds() {
    ++machine.system_readings;
    machine.at_system_reading();
    return machine.nanoseconds;
  }
};

class CounterClockTest : public testing::Test {
 protected:
  CounterClockTest() { Begin(); }
  ~CounterClockTest() override { machine = {}; }

  void Begin() {
    machine = {};
    clock_.emplace();
    last_ = 0;
  }

  // Reads after each of many steps; says how often the system was asked.
  int ReadOften(uint64_t step, int times) {
    machine.system_readings = 0;
    for (int i = 0; i < times; ++i) {
      machine.Pass(step);
      Read();
    }
    return machine.system_readings;
  }

  void Read() {
    const uint64_t now = clock_->Nanoseconds();
    EXPECT_GE(now, last_) << "the clock went back";
    EXPECT_LE(now, std::max(machine.nanoseconds, last_)) << "ahead of the system";
    EXPECT_GE(now + 2 * kMicrosecond, machine.nanoseconds) << "too late";
    last_ = now;
  }

  std::optional<host::CounterClock<Source>> clock_;
  uint64_t last_ = 0;
};

TEST_F(CounterClockTest, AsksTheSystemOnceAMillisecond) {
  ReadOften(kMillisecond / 10, 50);
  EXPECT_LE(ReadOften(kMicrosecond, 10000), 10 * 3 + 3) << "ten milliseconds";
  EXPECT_LE(ReadOften(10000 * kMillisecond, 3), 3 * 3) << "a long rest is no reason to distrust it";
  EXPECT_LE(ReadOften(kMicrosecond, 900), 3);
}

TEST_F(CounterClockTest, FollowsTheSystemWhateverTheCounterDoes) {
  const struct {
    const char* name;
    void (*happens)();
  } kRows[] = {
      {"nothing", [] {}},
      {"runs faster", [] { machine.rate *= 1.1; }},
      {"runs slower", [] { machine.rate /= 1.1; }},
      {"jumps ahead", [] { machine.counter += 1e15; }},
      {"jumps ahead a little", [] { machine.counter += 2e6; }},
      {"goes back", [] { machine.counter -= 5e11; }},
      {"begins anew", [] { machine.counter = 0; }},
      {"the system jumps ahead", [] { machine.nanoseconds += 60000 * kMillisecond; }},
  };
  std::mt19937 random(7);
  std::uniform_int_distribution<uint64_t> step(1, kMillisecond / 2);
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    Begin();
    ReadOften(kMillisecond / 10, 50);
    row.happens();
    // For the rest of a millisecond the counter is believed.
    const uint64_t end = machine.nanoseconds + 2 * kMillisecond;
    while (machine.nanoseconds < end) {
      machine.Pass(step(random));
      const uint64_t now = clock_->Nanoseconds();
      EXPECT_GE(now, last_);
      last_ = now;
    }
    for (int i = 0; i < 1000; ++i) {
      machine.Pass(step(random));
      Read();
    }
    EXPECT_LT(ReadOften(kMicrosecond, 2000), 10) << "believed again";
  }
}

TEST_F(CounterClockTest, GivesUpACounterThatIsOfNoUse) {
  machine.usable = false;
  ReadOften(kMillisecond / 10, 50);
  EXPECT_EQ(ReadOften(kMicrosecond, 1000), 1000) << "never asked for";
}

TEST_F(CounterClockTest, GivesUpACounterThatNeverAgrees) {
  for (int i = 0; i < 200; ++i) {
    machine.rate = i % 2 == 0 ? 1 : 2;
    ReadOften(kMillisecond, 1);
  }
  EXPECT_EQ(ReadOften(kMicrosecond, 5000), 5000) << "even now that it runs at one rate";
}

// Whoever renews the anchor may be suspended over it for ever.
TEST_F(CounterClockTest, NobodyWaitsForAThreadThatStandsStillInIt) {
  ReadOften(kMillisecond / 10, 50);
  machine.Pass(5 * kMillisecond);
  bool stands_still = false;
  int readings = 0;
  machine.at_system_reading = [&] {
    if (std::exchange(stands_still, true)) return;
    for (; readings < 10; ++readings) {
      machine.Pass(kMicrosecond);
      Read();
    }
  };
  clock_->Nanoseconds();
  EXPECT_EQ(readings, 10);
  Read();
}

// The processor's own.
TEST(InterruptTimeHostTest, IsTheSystemsTimeAndNeverGoesBack) {
  constexpr uint64_t kUnit = 100, kApart = 5 * kMicrosecond;  // nanoseconds
  constexpr int kThreads = 3, kReadings = 200000;
  auto system = [] {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000 * kMillisecond +
           static_cast<uint64_t>(now.tv_nsec);
  };
  std::atomic<int> back{0}, early{0}, late{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      uint64_t last = 0;
      for (int reading = 0; reading < kReadings; ++reading) {
        const uint64_t before = system();
        const uint64_t now = platform::InterruptTime() * kUnit;
        const uint64_t after = system();
        if (now < last) ++back;
        if (now + kApart < before) ++early;
        if (now > after + kApart) ++late;
        last = now;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(back, 0);
  EXPECT_EQ(early, 0);
  EXPECT_EQ(late, 0);
}

}  // namespace
