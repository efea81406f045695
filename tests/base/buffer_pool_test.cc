#include "base/buffer_pool.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "base/hooks.h"

namespace qv {
namespace {

struct Heap {
  std::vector<size_t> sizes;
  int blocks = 0;  // not yet released
};
Heap& TheHeap() {
  static Heap heap;
  return heap;
}

class BufferPoolTest : public testing::Test {
 protected:
  BufferPoolTest() {
    TheHeap() = {};
    GlobalHooks().allocate = [](size_t size) {
      TheHeap().sizes.push_back(size);
      ++TheHeap().blocks;
      return std::malloc(size);
    };
    GlobalHooks().release = [](void* block) {
      if (block != nullptr) --TheHeap().blocks;
      std::free(block);
    };
  }
  ~BufferPoolTest() override { ResetHooksForTest(); }
};

TEST_F(BufferPoolTest, BuffersHaveThePoolsSize) {
  BufferPool small(24), large(70000);
  EXPECT_EQ(TheHeap().blocks, 0) << "nothing before first use";
  uint32_t index;
  std::memset(small.Get(&index), 1, 24);
  EXPECT_EQ(TheHeap().sizes.back(), 24u);
  std::memset(large.Get(&index), 1, 70000);
  EXPECT_EQ(TheHeap().sizes.back(), 70000u);
}

TEST_F(BufferPoolTest, BuffersStayUntilThePoolGoes) {
  {
    BufferPool pool(100);
    uint32_t indexes[300];
    for (uint32_t& index : indexes) ASSERT_NE(pool.Get(&index), nullptr);
    EXPECT_EQ(indexes[299], 299u);
    for (uint32_t i = 0; i < 299; ++i) pool.Put(&indexes[i]);
    EXPECT_EQ(TheHeap().blocks, 300 + 2) << "buffers and two pieces of the table";
    EXPECT_EQ(pool.GetFigures().capacity, 512u);
    EXPECT_EQ(pool.GetFigures().free, 511u);
  }
  EXPECT_EQ(TheHeap().blocks, 0) << "one was in use to the end";
}

TEST_F(BufferPoolTest, AnOverwrittenPoolIsIgnored) {
  alignas(BufferPool) unsigned char memory[sizeof(BufferPool)];
  auto* pool = new (memory) BufferPool(16);
  uint32_t index;
  ASSERT_NE(pool->Get(&index), nullptr);
  unsigned char magic[4];
  std::memcpy(magic, memory, sizeof magic);
  EXPECT_EQ(std::memcmp(magic, "Pool", 4), 0);
  std::memset(memory, 0, sizeof magic);
  pool->Put(&index);
  uint32_t other = 5;
  EXPECT_EQ(pool->Get(&other), nullptr);
  EXPECT_EQ(other, kNoBufferIndex);
  std::memcpy(memory, magic, sizeof magic);
  EXPECT_EQ(pool->GetFigures().free, 255u) << "neither call did anything";
  pool->~BufferPool();
}

}  // namespace
}  // namespace qv
