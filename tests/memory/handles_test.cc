#include "memory/handles.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "memory/handle_bytes.h"
#include "memory/raw_blocks.h"
#include "tests/memory/memory_fixture.h"

namespace {

using test::Lines;
using test::World;

// After each test the table is whole.
class HandlesTest : public test::MemoryTest {
 protected:
  ~HandlesTest() override { EXPECT_TRUE(qv::CheckHandleTable()); }

  static std::string Bytes(ZRHandle handle) {
    const auto* block = static_cast<const char*>(ZRLockHandle(handle));
    if (block == nullptr) return "(none)";
    std::string bytes(block, ZRGetHandleSize(handle));
    ZRUnlockHandle(handle);
    return bytes;
  }
  static ZRHandle With(const std::string& bytes) {
    ZRHandle handle = 0;
    EXPECT_EQ(ZRHandleFromBytes(bytes.data(), &handle, static_cast<uint32_t>(bytes.size())), 0);
    return handle;
  }
};

// Bits 28-31 tag, 20-27 generation, 0-19 index; entries come back last-freed first.
TEST_F(HandlesTest, AHandleIsTagGenerationAndIndex) {
  EXPECT_EQ(ZRNewHandle(1), 0x50000000u);
  ZRHandle second = ZRNewHandle(1), third = ZRNewHandle(1);
  EXPECT_EQ(second, 0x50100001u);
  EXPECT_EQ(third, 0x50200002u);
  ZRDisposeHandle(&second);
  ZRDisposeHandle(&third);
  EXPECT_EQ(second, 0u);
  EXPECT_EQ(ZRNewHandle(1), 0x50300002u);
  EXPECT_EQ(ZRNewHandle(1), 0x50400001u);
  EXPECT_EQ(ZRNewHandle(1), 0x50500003u);
  EXPECT_EQ(ZRCountHandles(), 4u);
  EXPECT_EQ(ZRMaxHandleIndex(), 0xFFFFFu);
}

TEST_F(HandlesTest, GenerationsWrapAfter256) {
  ZRHandle first = ZRNewHandle(0), stale = first;
  ZRDisposeHandle(&first);
  for (uint32_t stamp = 1; stamp < 256; ++stamp) {
    ZRHandle handle = ZRNewHandle(0);
    ASSERT_EQ(handle, 0x50000000u | stamp << 20);
    EXPECT_EQ(ZRSetHandleSize(stale, 5), ZRErrMemHandle);
    ZRDisposeHandle(&handle);
  }
  EXPECT_EQ(ZRNewHandle(0), stale) << "the one chance in 256 of a stale handle";
  EXPECT_EQ(ZRSetHandleSize(stale, 5), 0);
}

TEST_F(HandlesTest, BlocksAreClearedOnRequestOnly) {
  ZRHandle handle = ZRNewHandle(3000);
  std::memset(ZRLockHandle(handle), 0xAA, 3000);
  ZRDisposeHandle(&handle);
  EXPECT_EQ(Bytes(ZRNewHandleClear(3000)), std::string(3000, '\0'));
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

TEST_F(HandlesTest, TwoLocksAndOneUnlockLeaveItLocked) {
  const ZRHandle handle = With("abc");
  EXPECT_EQ(ZRIsHandleLocked(handle), 0);
  ZRLockHandle(handle);
  ZRLockHandle(handle);
  ZRUnlockHandle(handle);
  EXPECT_EQ(ZRIsHandleLocked(handle), 1);
  EXPECT_EQ(ZRSetHandleSize(handle, 10), ZRErrMemLocked);
  EXPECT_EQ(ZRReallocateHandle(handle, 10), ZRErrMemLocked);
  EXPECT_EQ(ZRGetHandleSize(handle), 3u);
  ZRUnlockHandle(handle);
  EXPECT_EQ(Bytes(handle), "abc");
  EXPECT_EQ(ZRSetHandleSize(handle, 10), 0);
}

TEST_F(HandlesTest, SizesChangeAndKeepTheBytes) {
  const ZRHandle handle = With("abcdef");
  const struct {
    uint32_t size;
    const char* kept;
    uint32_t blocks;  // beside the table
  } kRows[] = {{4000, "abcdef", 1}, {3, "abc", 1}, {3, "abc", 1},
               {0, "", 0},          {0, "", 0},    {2, "", 1}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.size);
    EXPECT_EQ(ZRSetHandleSize(handle, row.size), 0);
    EXPECT_EQ(ZRGetHandleSize(handle), row.size);
    EXPECT_EQ(Bytes(handle).substr(0, std::strlen(row.kept)), row.kept);
    EXPECT_EQ(World().blocks.size(), row.blocks + 1);
  }
  const uint32_t before = World().allocations;
  EXPECT_EQ(ZRSetHandleSize(handle, 2), 0);
  EXPECT_EQ(World().allocations, before) << "the same size keeps the block";
}

TEST_F(HandlesTest, DisposalIgnoresLocks) {
  ZRHandle handle = With("abc"), copy = handle;
  ZRLockHandle(handle);
  ZRDisposeHandle(&handle);
  EXPECT_EQ(handle, 0u);
  EXPECT_EQ(TakeLog(), Lines{});
  EXPECT_EQ(World().blocks.size(), 1u);
  EXPECT_EQ(ZRLockHandle(copy), nullptr);
  const ZRHandle next = ZRNewHandle(1);
  EXPECT_EQ(ZRIsHandleLocked(next), 0) << "nothing is left of the lock";
  EXPECT_EQ(ZRSetHandleSize(next, 2), 0);
}

TEST_F(HandlesTest, PurgingTakesWhatIsPurgeableAndFree) {
  const ZRHandle plain = With("1"), purgeable = With("22"), locked = With("333"),
                 back = With("4444");
  for (ZRHandle handle : {purgeable, locked, back}) ZRMarkHandlePurgeable(handle);
  ZRMarkHandleUnpurgeable(back);
  ZRLockHandle(locked);
  EXPECT_EQ(ZRPurgeHandles(3), 0) << "2 bytes are less than 3";
  EXPECT_EQ(ZRPurgeHandles(1), 0) << "nothing is left to purge";
  EXPECT_EQ(ZRPurgeHandles(0), 1);
  ZRUnlockHandle(locked);
  EXPECT_EQ(ZRPurgeHandles(3), 1);
  for (ZRHandle handle : {purgeable, locked}) {
    EXPECT_EQ(ZRIsHandlePurged(handle), 1);
    EXPECT_EQ(ZRLockHandle(handle), nullptr);
  }
  EXPECT_EQ(ZRGetHandleSize(locked), 3u) << "the size stays";
  EXPECT_EQ(ZRIsHandlePurged(plain) + ZRIsHandlePurged(back), 0);
  EXPECT_EQ(Bytes(plain) + Bytes(back), "14444");
  EXPECT_EQ(World().blocks.size(), 3u);
}

TEST_F(HandlesTest, OnlyReallocationBringsAPurgedHandleBack) {
  const ZRHandle handle = With("abc");
  ZRMarkHandlePurgeable(handle);
  ZRPurgeHandles(0);
  EXPECT_EQ(ZRSetHandleSize(handle, 3), 0);
  EXPECT_EQ(World().blocks.size(), 2u) << "a fresh block";
  EXPECT_EQ(ZRIsHandlePurged(handle), 1);
  EXPECT_EQ(ZRLockHandle(handle), nullptr);
  EXPECT_EQ(ZRSetHandleBytes("xy", handle, 2), ZRErrMemHandle);
  EXPECT_EQ(ZRPurgeHandles(1), 0) << "it counts as purged already";
  EXPECT_EQ(ZRReallocateHandle(handle, 4), 0);
  EXPECT_EQ(ZRIsHandlePurged(handle), 0);
  EXPECT_EQ(ZRSetHandleBytes("wxyz", handle, 4), 0);
  EXPECT_EQ(Bytes(handle), "wxyz");
  EXPECT_EQ(ZRPurgeHandles(4), 1) << "still purgeable";
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
