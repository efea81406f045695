#include "memory/handles.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "memory/raw_blocks.h"
#include "tests/memory/memory_fixture.h"

namespace {

using test::Lines;
using test::World;

// What random operations beside a model (handle_model_test.cc) do not come upon. After each test
// the table is whole.
class HandlesTest : public test::MemoryTest {
 protected:
  ~HandlesTest() override { EXPECT_TRUE(qv::CheckHandleTable()); }
};

TEST_F(HandlesTest, BlocksAreClearedOnRequestOnly) {
  ZRHandle handle = ZRNewHandle(3000);
  std::memset(ZRLockHandle(handle), 0xAA, 3000);
  ZRDisposeHandle(&handle);
  const auto* block = static_cast<const char*>(ZRLockHandle(ZRNewHandleClear(3000)));
  EXPECT_EQ(std::string(block, 3000), std::string(3000, '\0'));
  EXPECT_NE(ZRNewHandleClear(0), 0u);
}

TEST_F(HandlesTest, AnEmptyHandleLocksToTheSharedBlock) {
  const ZRHandle one = ZRNewHandle(0), two = ZRNewHandle(0);
  void* block = ZRLockHandle(one);
  EXPECT_NE(block, nullptr);
  EXPECT_EQ(block, ZRLockHandle(two));
  EXPECT_EQ(World().blocks.size(), 1u) << "the table only";
  ZRUnlockHandle(one);
  EXPECT_EQ(ZRSetHandleSize(one, 4), 0);
  EXPECT_NE(ZRLockHandle(one), block);
}

TEST_F(HandlesTest, TheSameSizeKeepsTheBlockUnlessPurged) {
  const ZRHandle handle = ZRNewHandle(2);
  const uint32_t before = World().allocations;
  EXPECT_EQ(ZRSetHandleSize(handle, 2), 0);
  EXPECT_EQ(World().allocations, before);
  ZRMarkHandlePurgeable(handle);
  ZRPurgeHandles(0);
  EXPECT_EQ(ZRSetHandleSize(handle, 2), 0);
  EXPECT_EQ(World().blocks.size(), 2u) << "the table's and a fresh one";
}

TEST_F(HandlesTest, StateOutIsTheStateBeforeTheLock) {
  const ZRHandle handle = ZRNewHandle(4);
  uint8_t state = 0x55;
  ZRLockHandle(0, &state);
  ZRLockHandle(0x50000001, &state);
  EXPECT_EQ(state, 0x55) << "not a live handle";
  ZRLockHandle(handle, &state);
  EXPECT_EQ(state, 0);
  ZRMarkHandlePurgeable(handle);
  ZRLockHandle(handle, &state);
  EXPECT_EQ(state, qv::handle_state::kLocked | qv::handle_state::kPurgeable);
  ZRUnlockHandle(handle);
  ZRUnlockHandle(handle);
  ZRPurgeHandles(0);
  EXPECT_EQ(ZRLockHandle(handle, &state), nullptr);
  EXPECT_EQ(state, qv::handle_state::kPurged | qv::handle_state::kPurgeable);
}

TEST_F(HandlesTest, PurgedSizesAddUpBeyond32Bits) {
  qv::GlobalRawBlocks().reallocate = [](void* block, uint32_t size) {
    return size > 0x1000000 ? std::realloc(nullptr, 1) : std::realloc(block, size);
  };
  qv::GlobalRawBlocks().release = std::free;
  for (int i = 0; i < 2; ++i) ZRMarkHandlePurgeable(ZRNewHandle(0x80000000));
  EXPECT_EQ(ZRPurgeHandles(0xFFFFFFFF), 1);
}

// A new handle needs room in the table first, then a block.
TEST_F(HandlesTest, ShortMemoryLeavesTheTableAsItWas) {
  for (uint32_t failing : {1u, 2u}) {
    SCOPED_TRACE(failing);
    UseSettings("");
    FailAllocation(failing);
    EXPECT_EQ(ZRNewHandle(8), 0u);
    EXPECT_EQ(World().allocations, failing);
    EXPECT_EQ(ZRCountHandles(), 0u);
    EXPECT_TRUE(qv::CheckHandleTable());
    EXPECT_EQ(ZRNewHandleClear(8), 0x50000000u) << "the entry stayed on the free list";
    FailAllocation(1);
    EXPECT_EQ(ZRNewHandleClear(8), 0u);
    EXPECT_EQ(TakeLog(), Lines{});
  }
}

// A table of 84 MB: the test's allocator lets it grow in place.
void* GrowInPlace(void* block, uint32_t) {
  static void* const table = std::malloc(uint32_t{96} << 20);
  return block == nullptr || block == table ? table : nullptr;
}

TEST_F(HandlesTest, TheTableHolds1048320Handles) {
  UseSettings("");
  constexpr uint32_t kMost = 448 * 2340;
  qv::GlobalRawBlocks() = {GrowInPlace, [](void*) {}};
  for (uint32_t index = 0; index < kMost; ++index) {
    const ZRHandle handle = ZRNewHandle(0);
    ASSERT_EQ(handle, 0x50000000u | (index & 0xFF) << 20 | index);
  }
  EXPECT_EQ(ZRNewHandle(0), 0u);
  EXPECT_EQ(ZRCountHandles(), kMost);
  EXPECT_TRUE(qv::CheckHandleTable());
  ZRHandle middle = 0x50000000u | (5000 & 0xFF) << 20 | 5000;
  ZRDisposeHandle(&middle);
  EXPECT_EQ(ZRNewHandle(0) & 0xFFFFF, 5000u);
  EXPECT_EQ(ZRNewHandle(0), 0u);
  EXPECT_EQ(TakeLog(), Lines{});
  qv::ResetHandlesForTest();
}

}  // namespace
