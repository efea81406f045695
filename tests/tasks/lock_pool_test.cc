#include "tasks/lock_pool.h"

#include <memory>
#include <thread>
#include <vector>

#include "tests/tasks/kernel_fixture.h"

namespace qv {
namespace {

class LockPoolTest : public test::KernelTest {
 protected:
  LockPoolTest() { test::CountAllocations(); }
};

TEST_F(LockPoolTest, ASlotIsBoundOnceAndClearedByTheLastRelease) {
  LockPool* pool = ZRLockPoolNew();
  ASSERT_NE(pool, nullptr);
  PooledLock *slot = nullptr, *other = nullptr;
  PooledLock* lock = ZRLockPoolAcquire(pool, &slot);
  EXPECT_EQ(slot, lock);
  EXPECT_EQ(ZRLockPoolAcquire(pool, &slot), lock);
  EXPECT_NE(ZRLockPoolAcquire(pool, &other), lock);
  ZRLockPoolRelease(pool, &slot);
  EXPECT_EQ(slot, lock) << "one reference is left";
  ZRLockPoolRelease(pool, &slot);
  EXPECT_EQ(slot, nullptr);
  ZRLockPoolRelease(pool, &slot);
  EXPECT_EQ(test::BlocksLeft(), 3) << "the pool and two locks, kept";
  PooledLock* third = nullptr;
  EXPECT_EQ(ZRLockPoolAcquire(pool, &third), lock) << "taken again";
  ZRLockPoolRelease(pool, &third);
  ZRLockPoolRelease(pool, &other);
  delete pool;
  EXPECT_EQ(test::BlocksLeft(), 0);
}

TEST_F(LockPoolTest, TheLockReturnedLastIsTakenFirst) {
  LockPool pool;
  PooledLock* slots[4] = {};
  PooledLock* locks[4];
  for (int i = 0; i < 4; ++i) locks[i] = pool.Acquire(&slots[i]);
  for (int i : {1, 3, 0, 2}) pool.Release(&slots[i]);  // from the middle and both ends
  for (int expected : {2, 0, 3, 1}) EXPECT_EQ(pool.Acquire(&slots[expected]), locks[expected]);
  for (PooledLock*& slot : slots) pool.Release(&slot);
}

TEST_F(LockPoolTest, ACopyOfASlotThatIsUnboundDoesNoHarm) {
  LockPool pool;
  PooledLock* slot = nullptr;
  pool.Acquire(&slot);
  PooledLock* copy = slot;
  pool.Release(&slot);
  pool.Release(&copy);
  EXPECT_EQ(copy, nullptr);
  PooledLock *first = nullptr, *second = nullptr;
  pool.Acquire(&first);
  pool.Acquire(&second);
  EXPECT_NE(first, second) << "it is on the free list once";
  pool.Release(&first);
  pool.Release(&second);
}

TEST_F(LockPoolTest, WithoutMemoryNothingIsBound) {
  test::FailAllocation(0);
  EXPECT_EQ(ZRLockPoolNew(), nullptr);
  test::FailAllocation(1);
  LockPool* pool = ZRLockPoolNew();
  PooledLock* slot = nullptr;
  EXPECT_EQ(ZRLockPoolAcquire(pool, &slot), nullptr);
  EXPECT_EQ(slot, nullptr);
  EXPECT_NE(ZRLockPoolAcquire(pool, &slot), nullptr);
  ZRLockPoolRelease(pool, &slot);
  delete pool;
  ZRLockPoolRelease(nullptr, &slot);
  ZRLockPoolPrint(nullptr);
  EXPECT_EQ(ZRLockPoolAcquire(nullptr, &slot), nullptr);
  EXPECT_EQ(test::BlocksLeft(), 0);
}

std::string Block(int number, const std::string& reads, const std::string& writes,
                  const std::string& maximum, const std::string& upgrades) {
  return "\nLock pool item " + std::to_string(number) +
         ". \n=================\n"
         "Read Locks\t: \t\t" +
         reads + "\nWrite Locks\t: \t\t" + writes + "\nMaximum Readers\t: \t\t" + maximum +
         "\nUpgraded Locks: \t\t" + upgrades +
         "\nLongest Read Wait: \t\t0\nLongest Write Wait: \t\t0\nLongest Upgrade Wait: \t\t0\n";
}

TEST_F(LockPoolTest, PrintsFreeAndUsedLocks) {
  LockPool pool;
  ZRLockPoolPrint(&pool);
  EXPECT_EQ(printed, "\n\nLock pool allocated 0 locks.\nFree list\n");

  PooledLock* slots[3] = {};
  for (PooledLock*& slot : slots) pool.Acquire(&slot);
  for (int i = 0; i < 3; ++i) ZRLockRead(slots[0]->lock);
  for (int i = 0; i < 3; ++i) ZRLockUnlockRead(slots[0]->lock);
  ZRLockWrite(slots[1]->lock);
  ZRLockUnlockWrite(slots[1]->lock);
  ZRLockRead(slots[2]->lock);
  ZRLockUpgrade(slots[2]->lock);
  ZRLockUnlockWrite(slots[2]->lock);
  pool.Release(&slots[0]);
  printed.clear();
  ZRLockPoolPrint(&pool);
  EXPECT_EQ(printed, "\n\nLock pool allocated 3 locks.\nFree list\n" +
                         Block(1, "3", "0", "3", "0") + "\nUsed list\n" +
                         Block(2, "1", "0", "1", "1") + Block(3, "0", "1", "0", "0"));
  for (PooledLock*& slot : slots) pool.Release(&slot);
}

// Borrows its lock from the pool as long as somebody holds it.
class Borrower : public Lockable {
 public:
  explicit Borrower(LockPool& pool) : pool_(pool) {}
  ReaderWriterLock* GetLock(uintptr_t) override {
    PooledLock* borrowed = pool_.Acquire(&slot_);
    return borrowed != nullptr ? &borrowed->lock : nullptr;
  }
  void ReturnLock(uintptr_t) override { pool_.Release(&slot_); }

  uint64_t first = 0, second = 0;  // under its lock

 private:
  LockPool& pool_;
  PooledLock* slot_ = nullptr;
};

// Each object has one lock at a time however many threads bind it, so its two words always agree.
TEST_F(LockPoolTest, ObjectsShareThePoolBetweenThreads) {
  constexpr int kThreads = 4, kRounds = 400, kObjects = 3;
  LockPool pool;
  std::vector<std::unique_ptr<Borrower>> objects;
  for (int i = 0; i < kObjects; ++i) objects.push_back(std::make_unique<Borrower>(pool));
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&objects, i] {
      for (int round = 0; round < kRounds; ++round) {
        Borrower& object = *objects[(round + i) % kObjects];
        LockableHolder hold(&object, 0);
        EXPECT_EQ(object.first, object.second);
        if (round % 2 != 0) continue;
        hold.Upgrade();
        ++object.first;
        if (round % 16 == 0) std::this_thread::yield();
        ++object.second;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  uint64_t writes = 0;
  for (const auto& object : objects) writes += object->first;
  EXPECT_EQ(writes, uint64_t{kThreads} * kRounds / 2);
  EXPECT_LE(test::BlocksLeft(), kObjects);
}

}  // namespace
}  // namespace qv
