#include "base/scratch_pool.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <optional>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include "base/hooks.h"

namespace qv {
namespace {

// Counts allocations and lets the n-th one fail (1 is the first; 0 none).
struct AllocationFault {
  int calls = 0;
  int failing = 0;
};

AllocationFault& Fault() {
  static AllocationFault fault;
  return fault;
}

void* AllocateOrFail(size_t size) {
  return ++Fault().calls == Fault().failing ? nullptr : std::malloc(size);
}

class ScratchPoolTest : public testing::Test {
 protected:
  ScratchPoolTest() { ResetScratchPoolForTest(); }
  ~ScratchPoolTest() override {
    ResetHooksForTest();
    ResetScratchPoolForTest();
  }
};

void ExpectFigures(uint32_t capacity, uint32_t free) {
  EXPECT_EQ(GetScratchPoolFigures().capacity, capacity);
  EXPECT_EQ(GetScratchPoolFigures().free, free);
}

TEST_F(ScratchPoolTest, ReusesTheFirstFreeBuffer) {
  uint32_t index[3];
  char* buffer[3];
  for (uint32_t i = 0; i < 3; ++i) {
    buffer[i] = ZRBufferGet(&index[i]);
    ASSERT_NE(buffer[i], nullptr);
    std::memset(buffer[i], 0x55, kScratchBufferSize);
    EXPECT_EQ(index[i], i);
  }
  ExpectFigures(256, 253);
  ZRBufferPut(&index[2]);
  ZRBufferPut(&index[0]);
  ExpectFigures(256, 255);
  uint32_t again = 77;
  EXPECT_EQ(ZRBufferGet(&again), buffer[0]);
  EXPECT_EQ(again, 0u);
  EXPECT_EQ(ZRBufferGet(&again), buffer[2]) << "1 is in use";
  EXPECT_EQ(again, 2u);
}

TEST_F(ScratchPoolTest, ReleaseSparesOnlyWhatIsInUse) {
  uint32_t index;
  char* buffer = ZRBufferGet(&index);
  std::memset(buffer, 0x55, kScratchBufferSize);
  { ScratchBlock kept_at_hand; }
  ReleaseScratchPool();
  ExpectFigures(256, 255);
  EXPECT_EQ(buffer[kScratchBufferSize - 1], 0x55);
  ZRBufferPut(&index);
  ReleaseScratchPool();
  ExpectFigures(0, 0);
  EXPECT_NE(ScratchBlock().data(), nullptr) << "the pool can be used again";
}

TEST_F(ScratchPoolTest, GrowsBy256WhenAllAreTaken) {
  std::vector<uint32_t> indexes(257);
  std::set<char*> buffers;
  for (uint32_t i = 0; i < 256; ++i) buffers.insert(ZRBufferGet(&indexes[i]));
  ExpectFigures(256, 0);
  buffers.insert(ZRBufferGet(&indexes[256]));
  EXPECT_EQ(indexes[256], 256u);
  EXPECT_EQ(buffers.size(), 257u);
  ExpectFigures(512, 255);
  for (uint32_t& index : indexes) ZRBufferPut(&index);
  ExpectFigures(512, 512);
}

TEST_F(ScratchPoolTest, IgnoresIndexesThatAreNotInUse) {
  uint32_t used;
  ZRBufferGet(&used);
  for (uint32_t index : {1u, 255u, 256u, 100000u, kNoBufferIndex}) {
    SCOPED_TRACE(index);
    ZRBufferPut(&index);
    ExpectFigures(256, 255);
  }
  ZRBufferPut(&used);
  ZRBufferPut(&used);
  ZRBufferPut(nullptr);
  ExpectFigures(256, 256);
  EXPECT_EQ(ZRBufferGet(nullptr), nullptr);
}

// The first buffer needs a table and a buffer; so does the 257th. A failure leaves the pool usable.
TEST_F(ScratchPoolTest, AnswersNothingWhenMemoryIsShort) {
  GlobalHooks().allocate = AllocateOrFail;
  for (uint32_t taken : {0u, 256u}) {
    for (int failing : {1, 2}) {
      SCOPED_TRACE(testing::Message() << taken << " taken, allocation " << failing << " fails");
      ResetScratchPoolForTest();
      Fault() = {};
      uint32_t index = 5;
      for (uint32_t i = 0; i < taken; ++i) ASSERT_NE(ZRBufferGet(&index), nullptr);
      Fault() = {0, failing};
      EXPECT_EQ(ZRBufferGet(&index), nullptr);
      EXPECT_EQ(index, kNoBufferIndex);
      EXPECT_EQ(Fault().calls, failing);
      EXPECT_NE(ZRBufferGet(&index), nullptr);
      EXPECT_EQ(index, taken);
      ExpectFigures(taken + 256, 255);
    }
  }
  ResetScratchPoolForTest();
  Fault() = {0, 1};
  ScratchBlock block;
  EXPECT_EQ(block.data(), nullptr);
}

// An allocator that needs a buffer itself, or waits for a thread that needs one: neither may find
// the pool locked.
void LetAnotherThreadTakeABuffer() {
  static thread_local bool nested = false;
  if (std::exchange(nested, true)) return;
  std::thread([] {
    nested = true;
    uint32_t index;
    ZRBufferGet(&index);
    ZRBufferPut(&index);
  }).join();
  nested = false;
}

TEST_F(ScratchPoolTest, TheAllocatorIsCalledWithoutTheLock) {
  GlobalHooks().allocate = [](size_t size) {
    LetAnotherThreadTakeABuffer();
    return std::malloc(size);
  };
  GlobalHooks().release = [](void* block) {
    LetAnotherThreadTakeABuffer();
    std::free(block);
  };
  uint32_t index;
  EXPECT_NE(ZRBufferGet(&index), nullptr);
  ExpectFigures(256, 255);  // not 512: the other thread has made room meanwhile
  ZRBufferPut(&index);
  ReleaseScratchPool();
  EXPECT_LE(GetScratchPoolFigures().capacity, 256u);
}

// Neighbours, so that all of them look for kept buffers in the same place.
struct alignas(256) Blocks {
  std::optional<ScratchBlock> at[8];
};

TEST_F(ScratchPoolTest, BlocksTakeKeptBuffersAgain) {
  Blocks blocks;
  blocks.at[0].emplace();
  blocks.at[1].emplace();
  std::set<char*> first = {blocks.at[0]->data(), blocks.at[1]->data()};
  EXPECT_EQ(first.size(), 2u);
  for (auto& block : blocks.at) block.reset();
  ExpectFigures(256, 254);
  blocks.at[2].emplace();
  blocks.at[3].emplace();
  EXPECT_EQ((std::set<char*>{blocks.at[2]->data(), blocks.at[3]->data()}), first);
  for (int i : {0, 1, 4, 5, 6, 7}) blocks.at[i].emplace();
  ExpectFigures(256, 248);
  for (auto& block : blocks.at) block.reset();
  ExpectFigures(256, 252);  // four are kept, the others go back
  blocks.at[0].emplace();
  std::memset(blocks.at[0]->data(), 0xFF, kScratchBufferSize);
  for (auto& block : blocks.at) block.reset();
  ExpectFigures(256, 252);
}

TEST_F(ScratchPoolTest, NoTwoThreadsHoldTheSameBuffer) {
  auto work = [](char mark) {
    for (int round = 0; round < 2000; ++round) {
      ScratchBlock kept;
      uint32_t index;
      char* plain = ZRBufferGet(&index);
      for (char* data : {kept.data(), plain}) {
        std::memset(data, mark, 64);
        data[kScratchBufferSize - 1] = mark;
      }
      if (round % 16 == 0) std::this_thread::yield();
      EXPECT_EQ(std::memchr(kept.data(), mark ^ 1, 64), nullptr);
      EXPECT_EQ(plain[kScratchBufferSize - 1], mark);
      ZRBufferPut(&index);
    }
  };
  std::vector<std::thread> threads;
  for (char mark : {'b', 'c', 'd', 'e'}) threads.emplace_back(work, mark);
  for (std::thread& thread : threads) thread.join();
  EXPECT_GE(GetScratchPoolFigures().free, 256u - 4 * 4) << "what each thread may have left kept";
}

}  // namespace
}  // namespace qv
