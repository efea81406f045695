#include "tasks/local_slots.h"

#include <array>
#include <cstring>
#include <thread>
#include <vector>

#include "tests/tasks/kernel_fixture.h"

namespace qv {
namespace {

constexpr uintptr_t kWord = ~uintptr_t{0x1234};  // uses every byte of a word

// Stands in for a kernel: two tasks, of which one may run on the calling thread.
using Slots = std::array<uintptr_t, kLocalSlotWords>;
Slots tasks[2];
thread_local Slots* running = nullptr;

class LocalSlotsTest : public test::KernelTest {
 protected:
  LocalSlotsTest() {
    test::CountAllocations();
    tasks[0] = tasks[1] = {};
    Hooks& hooks = GlobalHooks();
    hooks.task_local_slots = [] { return running ? running->data() : nullptr; };
    hooks.clear_task_local_slot = [](uint32_t index) { tasks[0][index] = tasks[1][index] = 0; };
  }
  ~LocalSlotsTest() override {
    RunTask(-1);
    ResetLocalSlotsForTest();
  }
  // -1: none.
  static void RunTask(int number) { running = number < 0 ? nullptr : &tasks[number]; }
};

TEST_F(LocalSlotsTest, HandsOutTheFirstFreeOf32) {
  for (uint32_t i = 0; i < 32; ++i) EXPECT_EQ(ZRLocalAlloc(), i);
  EXPECT_EQ(ZRLocalAlloc(), kNoLocalSlot);
  ZRLocalFree(31);
  ZRLocalFree(7);
  EXPECT_EQ(ZRLocalAlloc(), 7u);
  EXPECT_EQ(ZRLocalAlloc(), 31u);
  EXPECT_EQ(ZRLocalAlloc(), kNoLocalSlot);
}

TEST_F(LocalSlotsTest, AFreedSlotIsClearInEveryTaskAndThread) {
  const uint32_t index = ZRLocalAlloc(), neighbour = ZRLocalAlloc();
  for (int task : {-1, 0, 1}) {
    RunTask(task);
    ZRLocalSet(index, 1);
    ZRLocalSet(neighbour, 2);
  }
  std::atomic<int> step{0};
  std::thread other([&] {
    ZRLocalSet(index, 3);
    step = 1;
    while (step != 2) std::this_thread::yield();
    EXPECT_EQ(ZRLocalGet(index), 0u);
  });
  while (step != 1) std::this_thread::yield();
  ZRLocalFree(index);
  EXPECT_EQ(ZRLocalGet(index), 0u);
  EXPECT_EQ(ZRLocalAlloc(), index);
  for (int task : {-1, 0, 1}) {
    RunTask(task);
    EXPECT_EQ(ZRLocalGet(index), 0u);
    EXPECT_EQ(ZRLocalGet(neighbour), 2u);
  }
  step = 2;
  other.join();
}

// In tasks too, where a wrong index would write past the task's slots.
TEST_F(LocalSlotsTest, IgnoresSlotsThatAreNotHandedOut) {
  ZRLocalAlloc();
  for (int task : {-1, 0}) {
    RunTask(task);
    for (uint32_t index : {1u, 31u, 32u, 33u, 0x80000000u, kNoLocalSlot}) {
      SCOPED_TRACE(index);
      EXPECT_FALSE(ZRLocalSet(index, 5));
      EXPECT_EQ(ZRLocalGet(index), 0u);
      ZRLocalFree(index);
      uint32_t variable = index == kNoLocalSlot ? 1 : index;
      EXPECT_EQ(ZRLocalGetBuffer(&variable, 8), nullptr);
    }
    EXPECT_EQ(tasks[0], Slots{});
  }
  EXPECT_EQ(test::BlocksLeft(), 0);
}

TEST_F(LocalSlotsTest, BuffersAreMadeOnceForEachTaskAndZeroed) {
  uint32_t index = kNoLocalSlot;
  void* blocks[3];
  const unsigned char zeros[100] = {};
  for (int task : {-1, 0, 1}) {
    RunTask(task);
    void* block = blocks[task + 1] = ZRLocalGetBuffer(&index, 100);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(index, 0u);
    EXPECT_EQ(std::memcmp(block, zeros, 100), 0);
    std::memset(block, task, 100);
  }
  EXPECT_EQ(test::BlocksLeft(), 3);
  for (int task : {-1, 0, 1}) {
    RunTask(task);
    EXPECT_EQ(ZRLocalGetBuffer(&index, 100), blocks[task + 1]);
    ZRLocalReleaseBuffer(index);
    EXPECT_EQ(ZRLocalGet(index), 0u);
    ZRLocalReleaseBuffer(index);
  }
  EXPECT_EQ(test::BlocksLeft(), 0);
  EXPECT_EQ(ZRLocalGetBuffer(nullptr, 1), nullptr);
}

TEST_F(LocalSlotsTest, WithoutSlotOrMemoryThereIsNoBuffer) {
  uint32_t index = kNoLocalSlot;
  test::FailAllocation(0);
  EXPECT_EQ(ZRLocalGetBuffer(&index, 100), nullptr);
  EXPECT_NE(ZRLocalGetBuffer(&index, 0), nullptr) << "the slot stays allocated, and empty";
  ZRLocalReleaseBuffer(index);
  while (ZRLocalAlloc() != kNoLocalSlot) {
  }
  uint32_t other = kNoLocalSlot;
  EXPECT_EQ(ZRLocalGetBuffer(&other, 100), nullptr);
  EXPECT_EQ(other, kNoLocalSlot);
  EXPECT_EQ(test::BlocksLeft(), 0);
}

// Whoever comes first: one slot for the variable, one index for the thread-only slot.
TEST_F(LocalSlotsTest, FirstUsesMeetWithoutHarm) {
  for (int round = 0; round < 30; ++round) {
    uint32_t index = kNoLocalSlot;
    ThreadSlot thread_slot;
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    for (uintptr_t value = 1; value <= 4; ++value) {
      threads.emplace_back([&, value] {
        while (!go) std::this_thread::yield();
        auto* block = static_cast<uintptr_t*>(ZRLocalGetBuffer(&index, sizeof(uintptr_t)));
        ASSERT_NE(block, nullptr);
        *block = value;
        thread_slot.Set(value);
        std::this_thread::yield();
        EXPECT_EQ(*static_cast<uintptr_t*>(ZRLocalGetBuffer(&index, 8)), value);
        EXPECT_EQ(thread_slot.Get(), value);
        ZRLocalReleaseBuffer(index);
      });
    }
    go = true;
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(index, 0u);
    EXPECT_EQ(ZRLocalAlloc(), 1u) << "no slot was lost";
    ResetLocalSlotsForTest();
  }
}

TEST_F(LocalSlotsTest, AThreadSlotKnowsNoTasks) {
  ThreadSlot slot;
  EXPECT_EQ(slot.Get(), 0u);
  RunTask(0);
  EXPECT_TRUE(slot.Set(kWord));
  RunTask(1);
  EXPECT_EQ(slot.Get(), kWord);
  std::thread([&slot] { EXPECT_EQ(slot.Get(), 0u); }).join();
  slot.Clear();
  EXPECT_EQ(slot.Get(), 0u);
  auto* block = static_cast<char*>(slot.GetBuffer(10));
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(block[9], 0);
  EXPECT_EQ(slot.GetBuffer(10), block);
  slot.ReleaseBuffer();
  EXPECT_EQ(slot.Get(), 0u);
  test::FailAllocation(0);
  EXPECT_EQ(slot.GetBuffer(10), nullptr);
  EXPECT_EQ(test::BlocksLeft(), 0);
}

}  // namespace
}  // namespace qv
