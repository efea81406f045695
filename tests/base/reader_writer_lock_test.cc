#include "base/reader_writer_lock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "base/stopwatch.h"

namespace qv {
namespace {

constexpr ReaderWriterLock::EventUse kEventUses[] = {ReaderWriterLock::kWithEvent,
                                                     ReaderWriterLock::kWithoutEvent};

template <typename Function>
auto OnOtherThread(Function function) {
  decltype(function()) result{};
  std::thread([&] { result = function(); }).join();
  return result;
}

bool OtherCanRead(ReaderWriterLock& lock) {
  return OnOtherThread([&lock] {
    const bool had = ZRLockTryRead(lock);
    if (had) ZRLockUnlockRead(lock);
    return had;
  });
}

bool OtherCanWrite(ReaderWriterLock& lock) {
  return OnOtherThread([&lock] {
    const bool had = ZRLockTryWrite(lock);
    if (had) ZRLockUnlockWrite(lock);
    return had;
  });
}

// One letter per call on this thread: r read, R try to read, w write, W try to write, u upgrade;
// s unlock reading, x unlock writing. Gives a digit for each call with an answer.
std::string Perform(ReaderWriterLock& lock, const char* calls) {
  std::string answers;
  for (; *calls != '\0'; ++calls) {
    if (*calls == 'r') ZRLockRead(lock);
    if (*calls == 'w') ZRLockWrite(lock);
    if (*calls == 's') ZRLockUnlockRead(lock);
    if (*calls == 'x') ZRLockUnlockWrite(lock);
    if (*calls == 'R') answers += ZRLockTryRead(lock) ? '1' : '0';
    if (*calls == 'W') answers += ZRLockTryWrite(lock) ? '1' : '0';
    if (*calls == 'u') answers += ZRLockUpgrade(lock) ? '1' : '0';
  }
  return answers;
}

TEST(ReaderWriterLockTest, KeepsOutWhomItMust) {
  const struct {
    const char* name;
    const char* calls;
    const char* answers;
    bool other_reads, other_writes;
    const char* end;  // calls that free the lock
  } kRows[] = {
      {"unused", "", "", true, true, ""},
      {"reading", "r", "", true, false, "s"},
      {"reading by try", "R", "1", true, false, "s"},
      {"reading twice, unlocked once", "rRs", "1", true, false, "s"},
      {"read and unlocked", "rs", "", true, true, ""},
      {"writing", "w", "", false, false, "x"},
      {"writing by try", "W", "1", false, false, "x"},
      {"no try beside an own reader", "rW", "0", true, false, "s"},
      {"upgraded", "ru", "1", false, false, "x"},
      {"upgraded and unlocked", "rux", "1", true, true, ""},
      {"the writer writes again", "wWwxx", "1", false, false, "x"},
      {"the writer reads too", "wrRs", "1", false, false, "sx"},
      {"the writer reads, upgrades, unlocks once", "wrux", "1", false, false, "x"},
      {"the writer becomes a reader", "wrx", "", true, false, "s"},
      {"unlocked without a reader", "rsss", "", true, true, ""},
      {"the same while writing", "ws", "", false, false, "x"},
  };
  for (auto event_use : kEventUses) {
    for (const auto& row : kRows) {
      SCOPED_TRACE(row.name);
      ReaderWriterLock lock(event_use);
      EXPECT_EQ(Perform(lock, row.calls), row.answers);
      EXPECT_EQ(OtherCanRead(lock), row.other_reads);
      EXPECT_EQ(OtherCanWrite(lock), row.other_writes);
      Perform(lock, row.end);
      EXPECT_TRUE(OtherCanWrite(lock));
    }
  }
}

TEST(ReaderWriterLockTest, CountsItsUses) {
  ReaderWriterLock lock;
  Perform(lock,
          "rRrsss"
          "wx"
          "Wx"
          "rux"
          "rWs"
          "ss");
  LockStatistics figures;
  std::memset(&figures, 0xEE, sizeof figures);
  ZRLockStatistics(lock, &figures);
  const uint32_t expected[7] = {5, 2, 1, 3, 0, 0, 0};  // in the order of the record
  EXPECT_EQ(std::memcmp(&figures, expected, sizeof expected), 0)
      << figures.read_locks << ' ' << figures.write_locks << ' ' << figures.upgraded_locks << ' '
      << figures.maximum_readers;
}

// A waiting writer or upgrader holds new readers off; so does it show that it waits.
void AwaitWriter(ReaderWriterLock& lock) {
  constexpr double kPatience = 20;  // seconds
  const Stopwatch waiting;
  while (ZRLockTryRead(lock)) {
    ZRLockUnlockRead(lock);
    std::this_thread::yield();
    ASSERT_LT(waiting.Seconds(), kPatience) << "nobody waits for us";
  }
}

TEST(ReaderWriterLockTest, AnUpgradeWaitsForTheOtherReaders) {
  for (auto event_use : kEventUses) {
    ReaderWriterLock lock(event_use);
    std::atomic<bool> upgraded{false};
    ZRLockRead(lock);
    std::thread other([&] {
      ZRLockRead(lock);
      EXPECT_TRUE(ZRLockUpgrade(lock));
      upgraded = true;
      ZRLockUnlockWrite(lock);
    });
    AwaitWriter(lock);
    EXPECT_FALSE(ZRLockUpgrade(lock)) << "the second one, at once";
    EXPECT_FALSE(upgraded);
    ZRLockUnlockRead(lock);
    other.join();
    EXPECT_TRUE(OtherCanWrite(lock));
  }
}

TEST(ReaderWriterLockTest, AWaitingWriterGoesBeforeLaterReaders) {
  for (auto event_use : kEventUses) {
    ReaderWriterLock lock(event_use);
    bool written = false;  // under the lock
    ZRLockRead(lock);
    std::thread writer([&] {
      ZRLockWrite(lock);
      written = true;
      ZRLockUnlockWrite(lock);
    });
    AwaitWriter(lock);
    std::thread reader([&] {
      ZRLockRead(lock);
      EXPECT_TRUE(written);
      ZRLockUnlockRead(lock);
    });
    for (int i = 0; i < 100; ++i) std::this_thread::yield();
    ZRLockUnlockRead(lock);
    writer.join();
    reader.join();
  }
}

TEST(ReaderWriterLockTest, TheHolderChangesLocksAndModes) {
  ReaderWriterLock first, second;
  {
    LockHolder hold(&first);
    EXPECT_FALSE(OtherCanWrite(first));
    hold.Set(&second);
    EXPECT_TRUE(OtherCanWrite(first));
    EXPECT_FALSE(hold.Change(&second, false)) << "held that way already";
    EXPECT_EQ(hold.lock(), &second);
    EXPECT_TRUE(hold.Change(&second, true));
    EXPECT_FALSE(OtherCanRead(second));
    EXPECT_FALSE(hold.Change(&second, true));
    EXPECT_FALSE(hold.Upgrade()) << "nothing to do";
    ZRLockRead(first);
    EXPECT_FALSE(hold.Change(&first, true)) << "busy";
    EXPECT_EQ(hold.lock(), nullptr);
    EXPECT_TRUE(OtherCanWrite(second));
    ZRLockUnlockRead(first);
    EXPECT_FALSE(hold.Upgrade()) << "nothing held";
    EXPECT_TRUE(hold.Change(&first, false));
    EXPECT_FALSE(hold.Upgrade()) << "without a release";
    EXPECT_TRUE(hold.for_writing());
    EXPECT_FALSE(OtherCanRead(first));
    EXPECT_FALSE(hold.Change(nullptr, false));
    EXPECT_TRUE(OtherCanWrite(first));
    hold.Set(&first);
    EXPECT_FALSE(hold.for_writing());
  }
  EXPECT_TRUE(OtherCanWrite(first));
  EXPECT_TRUE(OtherCanWrite(second));
}

// The other upgrader waits for us: our holder must let go, and says so.
TEST(ReaderWriterLockTest, TheHoldersUpgradeTellsOfARelease) {
  ReaderWriterLock lock;
  int writes = 0;  // under the lock
  LockHolder hold(&lock);
  std::thread other([&] {
    LockHolder other_hold(&lock);
    EXPECT_FALSE(other_hold.Upgrade());
    ++writes;
  });
  AwaitWriter(lock);
  EXPECT_EQ(writes, 0);
  EXPECT_TRUE(hold.Upgrade());
  EXPECT_EQ(writes, 1);
  hold.Release();
  other.join();
}

// Two locks; part 9 has none. Counts who was given one and gave it back.
class TwoParts : public Lockable {
 public:
  ReaderWriterLock* GetLock(uintptr_t part) override {
    if (part == 9) return nullptr;
    ++given_[part & 1];
    return &locks[part & 1];
  }
  void ReturnLock(uintptr_t part) override { --given_[part & 1]; }
  std::string Given() const { return std::to_string(given_[0]) + std::to_string(given_[1]); }

  ReaderWriterLock locks[2];

 private:
  int given_[2] = {};
};

TEST(ReaderWriterLockTest, TheLockableHolderAsksTheObject) {
  TwoParts object;
  {
    LockableHolder hold(&object, 0);
    EXPECT_EQ(hold.lock(), &object.locks[0]);
    EXPECT_EQ(object.Given(), "10");
    EXPECT_FALSE(hold.Change(&object, 2, false)) << "another part, the same lock";
    EXPECT_EQ(object.Given(), "10");
    EXPECT_TRUE(hold.Change(&object, 1, true));
    EXPECT_EQ(object.Given(), "01");
    EXPECT_FALSE(OtherCanRead(object.locks[1]));
    ZRLockWrite(object.locks[0]);
    EXPECT_TRUE(OnOtherThread([&object] {
      LockableHolder other;
      return !other.Change(&object, 0, false) && other.lock() == nullptr;
    }));
    ZRLockUnlockWrite(object.locks[0]);
    EXPECT_FALSE(hold.Change(&object, 9, false));
    EXPECT_EQ(object.Given(), "00");
    hold.Set(&object, 1);
    EXPECT_FALSE(hold.Upgrade());
    EXPECT_TRUE(hold.for_writing());
    hold.Set(nullptr, 0);
    EXPECT_EQ(object.Given(), "00");
    hold.Set(&object, 1);
  }
  EXPECT_EQ(object.Given(), "00");
  EXPECT_TRUE(OtherCanWrite(object.locks[0]));
  EXPECT_TRUE(OtherCanWrite(object.locks[1]));
}

// A pointer to a virtual function holds its place in the table, counted in bytes, plus 1.
TEST(ReaderWriterLockTest, TheLockGetterIsTheFourthVirtualFunction) {
  auto getter = &Lockable::GetLock;
  uintptr_t place;
  std::memcpy(&place, &getter, sizeof place);
  EXPECT_EQ(place, 1 + 3 * sizeof(void*));
}

// Two words that agree whenever the lock is honoured, and what each thread did with them.
struct Guarded {
  uint64_t first = 0, second = 0;

  // The pause lets another thread in between the two, if anything does.
  void Write(bool pause) {
    ++first;
    if (pause) std::this_thread::yield();
    ++second;
  }
  uint64_t Read(bool pause) const {
    const uint64_t seen = first;
    if (pause) std::this_thread::yield();
    EXPECT_EQ(second, seen);
    EXPECT_EQ(first, seen);
    return seen;
  }
};

struct Totals {
  std::atomic<uint32_t> reads{0}, writes{0}, upgrades{0};
};

void ReadAndTry(ReaderWriterLock& lock, Guarded& words, Totals& totals, int round) {
  if (round % 4 == 0) {
    if (!ZRLockTryRead(lock)) return;
  } else {
    ZRLockRead(lock);
  }
  ++totals.reads;
  words.Read(round % 32 == 0);
  ZRLockUnlockRead(lock);
}

void WriteAndTry(ReaderWriterLock& lock, Guarded& words, Totals& totals, int round) {
  if (round % 4 == 0) {
    if (!ZRLockTryWrite(lock)) return;
  } else {
    ZRLockWrite(lock);
  }
  ++totals.writes;
  words.Write(round % 32 == 0);
  ZRLockUnlockWrite(lock);
}

void ReadAndUpgrade(ReaderWriterLock& lock, Guarded& words, Totals& totals, int round) {
  LockHolder hold(&lock);
  ++totals.reads;
  const uint64_t seen = words.Read(round % 32 == 0);
  const bool was_released = hold.Upgrade();
  EXPECT_TRUE(was_released || words.first == seen) << "somebody wrote during the upgrade";
  ++(was_released ? totals.writes : totals.upgrades);
  words.Write(round % 32 == 0);
}

TEST(ReaderWriterLockTest, ReadersWritersAndUpgradersLoseNothing) {
  constexpr int kRounds = 1500, kThreadsOfAKind = 2;
  for (auto event_use : kEventUses) {
    ReaderWriterLock lock(event_use);
    Guarded words;
    Totals totals;
    std::vector<std::thread> threads;
    for (auto* job : {ReadAndTry, WriteAndTry, ReadAndUpgrade}) {
      for (int i = 0; i < kThreadsOfAKind; ++i) {
        threads.emplace_back([&, job] {
          for (int round = 0; round < kRounds; ++round) job(lock, words, totals, round);
        });
      }
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(words.first, uint64_t{totals.writes} + totals.upgrades);
    EXPECT_EQ(words.second, words.first);
    const LockStatistics figures = lock.Statistics();
    EXPECT_EQ(figures.read_locks, totals.reads);
    EXPECT_EQ(figures.write_locks, totals.writes);
    EXPECT_EQ(figures.upgraded_locks, totals.upgrades);
    EXPECT_GE(figures.maximum_readers, 1u);
    EXPECT_LE(figures.maximum_readers, 6u);
    EXPECT_TRUE(OtherCanWrite(lock));
  }
}

}  // namespace
}  // namespace qv
