#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "base/reader_writer_lock.h"
#include "base/stopwatch.h"
#include "platform/host/control.h"

namespace qv {
namespace {

constexpr uint64_t kStart = 5000000;

// With a clock that only the test and the lock's own sleeps move on.
class ReaderWriterLockHostTest : public testing::Test {
 protected:
  ReaderWriterLockHostTest() {
    host::ResetState();
    host::FreezeMicroseconds(kStart);
    ResetClockForTest();
    ZRMicroseconds(true);
  }
  ~ReaderWriterLockHostTest() override {
    host::ResetState();
    ResetClockForTest();
  }

  static void AwaitCalls(const char* function, uint32_t count) {
    while (host::CallsMade(function) < count) std::this_thread::yield();
  }
};

TEST_F(ReaderWriterLockHostTest, AWriterSleeps1024TimesThenWaitsForTheEvent) {
  ReaderWriterLock lock;
  host::ResetCallCounts();
  ZRLockRead(lock);
  std::thread writer([&] {
    ZRLockWrite(lock);
    ZRLockUnlockWrite(lock);
  });
  AwaitCalls("WaitForSingleObject", 1);
  EXPECT_EQ(host::CallsMade("SleepEx"), 1024u);
  EXPECT_EQ(host::CallsMade("SetEvent"), 0u);
  host::AdvanceMicroseconds(7999);
  ZRLockUnlockRead(lock);
  writer.join();
  EXPECT_EQ(host::CallsMade("SetEvent"), 1u);
  EXPECT_EQ(host::CallsMade("WaitForSingleObject"), 1u);
  EXPECT_EQ(host::CallsMade("SleepEx"), 1024u);
  EXPECT_EQ(host::CallsMade("Sleep"), 0u);
  EXPECT_EQ(lock.Statistics().longest_write_wait, 7u);
}

// No event, either because none was made or because waiting for it fails: sleeps of 0, 0, 1, 1, 2,
// 2, ... and at most 5 ms, which the frozen clock adds up.
TEST_F(ReaderWriterLockHostTest, WithoutAnEventAWriterSleepsLongerAndLonger) {
  const struct {
    const char* name;
    ReaderWriterLock::EventUse event_use;
    const char* failing;
  } kRows[] = {
      {"none wanted", ReaderWriterLock::kWithoutEvent, nullptr},
      {"none to be had", ReaderWriterLock::kWithEvent, "CreateEventA"},
      {"waiting fails", ReaderWriterLock::kWithEvent, "WaitForSingleObject"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    host::ClearFaults();
    if (row.failing) host::FailCall(row.failing, 1, ERROR_NOT_ENOUGH_MEMORY, true);
    ReaderWriterLock lock(row.event_use);
    host::ResetCallCounts();
    const Stopwatch passed;
    ZRLockRead(lock);
    std::thread writer([&] {
      ZRLockWrite(lock);
      ZRLockUnlockWrite(lock);
    });
    AwaitCalls("Sleep", 20);
    ZRLockUnlockRead(lock);
    writer.join();
    EXPECT_EQ(host::CallsMade("SleepEx"), 1024u);
    uint32_t expected = 0;
    for (uint32_t n = 0; n < host::CallsMade("Sleep"); ++n) expected += std::min(n / 2, 5u);
    EXPECT_EQ(passed.Milliseconds(), expected);
    EXPECT_EQ(lock.Statistics().longest_write_wait, expected);
    EXPECT_EQ(host::FaultsStruck() > 0, row.failing != nullptr);
  }
}

TEST_F(ReaderWriterLockHostTest, AnUpgradeWaitsInTheSameWay) {
  ReaderWriterLock lock;
  host::ResetCallCounts();
  ZRLockRead(lock);
  std::thread upgrader([&] {
    ZRLockRead(lock);
    EXPECT_TRUE(ZRLockUpgrade(lock));
    ZRLockUnlockWrite(lock);
  });
  AwaitCalls("WaitForSingleObject", 1);
  EXPECT_EQ(host::CallsMade("SleepEx"), 1024u);
  host::AdvanceMicroseconds(3000);
  ZRLockUnlockRead(lock);
  upgrader.join();
  const LockStatistics figures = lock.Statistics();
  EXPECT_EQ(figures.longest_upgrade_wait, 3u);
  EXPECT_EQ(figures.longest_write_wait, 0u);
  EXPECT_EQ(figures.maximum_readers, 2u);
}

// Each reading moves the clock on by a microsecond: returns when somebody else has read it.
void AwaitOtherReading(std::atomic<bool>& go) {
  uint64_t expected = ZRMicroseconds(true);
  go = true;
  while (ZRMicroseconds(true) == ++expected) std::this_thread::yield();
}

// The reader's wait is as long as the writer lets the clock run. The longest one is kept.
TEST_F(ReaderWriterLockHostTest, AReaderWaitsForTheWriter) {
  host::FreezeMicroseconds(kStart, 1);
  ReaderWriterLock lock;
  for (uint32_t milliseconds : {2u, 9u, 4u}) {
    ZRLockWrite(lock);
    std::atomic<bool> go{false};
    std::thread reader([&] {
      while (!go) std::this_thread::yield();
      ZRLockRead(lock);
      ZRLockUnlockRead(lock);
    });
    AwaitOtherReading(go);
    host::AdvanceMicroseconds(milliseconds * 1000);
    ZRLockUnlockWrite(lock);
    reader.join();
  }
  EXPECT_EQ(lock.Statistics().longest_read_wait, 9u);
}

// A step of the frozen clock shows every reading.
TEST_F(ReaderWriterLockHostTest, LocksHadAtOnceNeverReadTheClock) {
  host::FreezeMicroseconds(kStart, 1000);
  const uint64_t before = ZRMicroseconds(true);
  ReaderWriterLock lock;
  ZRLockRead(lock);
  EXPECT_TRUE(ZRLockUpgrade(lock));
  ZRLockUnlockWrite(lock);
  ZRLockWrite(lock);
  ZRLockUnlockWrite(lock);
  EXPECT_EQ(ZRMicroseconds(true), before + 1000);
}

TEST_F(ReaderWriterLockHostTest, GivesItsEventBack) {
  const uint32_t handles = host::OpenHandles();
  {
    ReaderWriterLock lock;
    EXPECT_EQ(host::OpenHandles(), handles + 1);
    ReaderWriterLock other(ReaderWriterLock::kWithoutEvent);
    EXPECT_EQ(host::OpenHandles(), handles + 1);
  }
  EXPECT_EQ(host::OpenHandles(), handles);
}

}  // namespace
}  // namespace qv
