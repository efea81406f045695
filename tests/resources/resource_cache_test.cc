#include "resources/resource_cache.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "base/hooks.h"
#include "memory/raw_blocks.h"
#include "resources/module_source.h"

namespace {

using qv::ResourceType;
constexpr qv::ResourceTypeCode kType = ResourceType("TEST");

// Blocks of handles that are larger than this cannot be had; SIZE_MAX: all can.
size_t& LargestBlock() {
  static size_t largest = SIZE_MAX;
  return largest;
}

class ResourceCacheTest : public testing::Test {
 protected:
  ResourceCacheTest() {
    qv::GlobalRawBlocks().reallocate = [](void* block, uint32_t size) -> void* {
      return size > LargestBlock() ? nullptr : std::realloc(block, size);
    };
    ZRHandle first = ZRNewHandle(1);  // the handle table itself
    ZRDisposeHandle(&first);
    handles_ = ZRCountHandles();
  }
  ~ResourceCacheTest() override {
    LargestBlock() = SIZE_MAX;
    EXPECT_EQ(ZRCountHandles(), handles_) << "every handle was disposed of";
    qv::ResetRawBlocksForTest();
    qv::ResetHooksForTest();
  }
  ZRHandle Added(qv::ResourceCache& cache, int32_t number, const char* name = nullptr) {
    const ZRHandle handle = ZRNewHandle(1);
    cache.Add(kType, number, name, handle);
    return handle;
  }
  uint32_t handles_ = 0;
};

TEST_F(ResourceCacheTest, GrowsBeforeEachMultipleOf32) {
  qv::ResourceCache cache;
  EXPECT_EQ(cache.capacity(), 0);
  for (int32_t n = 1; n <= 100; ++n) {
    const ZRHandle handle = Added(cache, n);
    EXPECT_EQ(cache.count(), n);
    EXPECT_EQ(cache.capacity(), (n / 32 + 1) * 32);
    EXPECT_EQ(cache.Find(kType, n, nullptr), handle);
  }
  EXPECT_NE(cache.Find(kType, 1, nullptr), 0u);
  EXPECT_EQ(cache.Find(kType, 101, nullptr), 0u);
  EXPECT_EQ(cache.Find(ResourceType("TESt"), 1, nullptr), 0u);
}

TEST_F(ResourceCacheTest, ForgetsTheEntryWhenItCannotGrow) {
  qv::ResourceCache cache;
  for (int32_t n = 1; n <= 31; ++n) Added(cache, n);
  LargestBlock() = 600;  // less than 33 entries
  for (const char* name : {"NAME", static_cast<const char*>(nullptr)}) {
    ZRHandle forgotten = Added(cache, 32, name);
    EXPECT_EQ(cache.count(), 31);
    EXPECT_EQ(cache.capacity(), 32);
    EXPECT_EQ(cache.Find(kType, 32, name), 0u);
    ZRDisposeHandle(&forgotten);
  }
  EXPECT_NE(cache.Find(kType, 31, nullptr), 0u);
  LargestBlock() = SIZE_MAX;
  Added(cache, 33);
  EXPECT_EQ(cache.count(), 32);
  EXPECT_EQ(cache.capacity(), 64);
}

TEST_F(ResourceCacheTest, WithoutATableNothingIsRemembered) {
  qv::ResourceCache cache;
  ZRHandle handle = ZRNewHandle(1);
  LargestBlock() = 10;
  cache.Add(kType, 1, nullptr, handle);
  EXPECT_EQ(cache.Find(kType, 1, nullptr), 0u);
  LargestBlock() = SIZE_MAX;
  cache.Add(kType, 1, nullptr, handle);
  EXPECT_EQ(cache.Find(kType, 1, nullptr), handle);
}

TEST_F(ResourceCacheTest, MatchesNamesAndNumbers) {
  qv::ResourceCache named, numbered, nameless;
  const ZRHandle by_name = Added(named, 0, "ONE");
  const ZRHandle by_number = Added(numbered, 0);
  qv::GlobalHooks().allocate = [](size_t) -> void* { return nullptr; };
  const ZRHandle lost_name = Added(nameless, 0, "ONE");
  qv::ResetHooksForTest();
  const struct {
    const char* name;
    const qv::ResourceCache& cache;
    int32_t number;
    const char* wanted;
    ZRHandle found;
  } kRows[] = {
      {"its name", named, 0, "ONE", by_name},
      {"another name", named, 0, "one", 0},
      {"a name counts as number 0", named, 0, nullptr, by_name},
      {"but as no other", named, 1, nullptr, 0},
      {"an entry without a name fits every name", numbered, 0, "ONE", by_number},
      {"a name that could not be copied", nameless, 0, "TWO", lost_name},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(row.cache.Find(kType, row.number, row.wanted), row.found);
  }
}

}  // namespace
