#include "memory/handle_bytes.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/memory/memory_fixture.h"

namespace {

using test::Lines;
using test::World;

constexpr ZRHandle kDead = 0x50900000;  // the index of the first handle, another generation

// What random operations beside a model (handle_model_test.cc) do not come upon.
class HandleBytesTest : public test::MemoryTest {
 protected:
  HandleBytesTest() { UseSettings("HeapTracebacks=0\r\n"); }
  ~HandleBytesTest() override { EXPECT_TRUE(qv::CheckHandleTable()); }

  static ZRHandle With(const std::string& bytes) {
    ZRHandle handle = 0;
    EXPECT_EQ(ZRHandleFromBytes(bytes.data(), &handle, static_cast<uint32_t>(bytes.size())), 0);
    return handle;
  }
  static std::string Bytes(ZRHandle handle) {
    std::string bytes(ZRGetHandleSize(handle) + 1, '#');
    uint32_t count = ZRGetHandleSize(handle);
    EXPECT_EQ(ZRGetHandleBytes(handle, bytes.data(), &count), 0);
    EXPECT_EQ(bytes.back(), '#') << "written behind the end";
    EXPECT_EQ(ZRIsHandleLocked(handle), 0) << "left locked";
    return bytes.substr(0, count);
  }
  static ZRHandle Purged(const std::string& bytes) {
    const ZRHandle handle = With(bytes);
    ZRMarkHandlePurgeable(handle);
    ZRPurgeHandles(0);
    return handle;
  }
};

TEST_F(HandleBytesTest, FromBytes) {
  ZRHandle handle = 77;
  EXPECT_EQ(ZRHandleFromBytes("abc", nullptr, 3), ZRErrMemParam);
  FailAllocation(2);  // behind the table's
  EXPECT_EQ(ZRHandleFromBytes("abc", &handle, 3), ZRErrMemFull);
  EXPECT_EQ(handle, 77u) << "untouched";
  EXPECT_EQ(ZRHandleFromBytes(nullptr, &handle, 5), 0) << "no source: not set";
  EXPECT_EQ(ZRGetHandleSize(handle), 5u);
}

TEST_F(HandleBytesTest, NoMemoryForACopyLeavesTheSourceUnlocked) {
  const ZRHandle handle = With("abc");
  FailAllocation(1);
  EXPECT_EQ(ZRCopyHandle(handle), 0u);
  EXPECT_EQ(Bytes(handle), "abc");
  EXPECT_EQ(ZRCountHandles(), 1u);
}

TEST_F(HandleBytesTest, WithoutASourceTheSizeChanges) {
  const ZRHandle handle = With("abc");
  EXPECT_EQ(ZRSetHandleBytes(nullptr, handle, 7), ZRErrMemParam);
  EXPECT_EQ(ZRGetHandleSize(handle), 7u);
  EXPECT_EQ(ZRAppendHandleBytes(nullptr, handle, 2), ZRErrMemParam);
  EXPECT_EQ(ZRGetHandleSize(handle), 9u);
  EXPECT_EQ(ZRSetHandleBytes(nullptr, handle, 0), 0);
  EXPECT_EQ(Bytes(handle), "");
}

TEST_F(HandleBytesTest, GetStopsAtEitherEnd) {
  const ZRHandle handle = With("abcdef");
  for (uint32_t asked : {0u, 1u, 5u, 6u, 7u, 0xFFFFFFFFu}) {
    SCOPED_TRACE(asked);
    char out[8] = "#######";
    uint32_t count = asked;
    EXPECT_EQ(ZRGetHandleBytes(handle, out, &count), 0);
    EXPECT_EQ(count, std::min(asked, 6u));
    EXPECT_EQ(out, std::string("abcdef").substr(0, count) + std::string(7 - count, '#'));
  }
  char out[4] = "###";
  uint32_t count = 3;
  EXPECT_EQ(ZRGetHandleBytes(kDead, out, &count), ZRErrMemHandle);
  EXPECT_EQ(ZRGetHandleBytes(0, out, &count), ZRErrMemHandle);
  EXPECT_EQ(ZRGetHandleBytes(Purged("xyz"), out, &count), ZRErrMemHandle);
  EXPECT_EQ(ZRGetHandleBytes(handle, nullptr, &count), ZRErrMemParam);
  EXPECT_EQ(ZRGetHandleBytes(handle, out, nullptr), ZRErrMemParam);
  EXPECT_EQ(count, 3u);
  EXPECT_STREQ(out, "###");
}

TEST_F(HandleBytesTest, Delete) {
  const struct {
    const char* name;
    uint32_t offset, count;
    ZRError error;
    const char* left;
  } kRows[] = {{"nothing, far away", 99, 0, 0, "abcdef"},
               {"one too many", 0, 7, ZRErrMemParam, "abcdef"},
               {"starts at the end", 6, 1, ZRErrMemParam, "abcdef"},
               {"negative", 0, 0x80000000, ZRErrMemParam, "abcdef"},
               {"minus one", 1, 0xFFFFFFFF, ZRErrMemParam, "abcdef"},
               {"wraps to 1", 0xFFFFFFFF, 2, ZRErrMemParam, "abcdef"},
               {"wraps to 0", 0x80000001, 0x7FFFFFFF, ZRErrMemParam, "abcdef"}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    const ZRHandle handle = With("abcdef");
    EXPECT_EQ(ZRDeleteHandleBytes(handle, row.offset, row.count), row.error);
    EXPECT_EQ(Bytes(handle), row.left);
  }
  EXPECT_EQ(TakeLog(), Lines{});
  EXPECT_EQ(ZRDeleteHandleBytes(kDead, 5, 0), 0) << "a count of 0 does not look at the handle";
  EXPECT_EQ(ZRDeleteHandleBytes(0, 0, 1), ZRErrMemParam) << "its size is 0";
  EXPECT_EQ(TakeLog(), Lines{});
  EXPECT_EQ(ZRDeleteHandleBytes(kDead, 0, 1), ZRErrMemParam);
  EXPECT_EQ(ZRDeleteHandleBytes(Purged("abc"), 0, 1), ZRErrMemParam) << "it cannot be locked";
}

// The bytes have moved when the size change is refused; the size is as it was.
TEST_F(HandleBytesTest, DeleteFromALockedHandle) {
  const ZRHandle handle = With("abcdef");
  ZRLockHandle(handle);
  EXPECT_EQ(ZRDeleteHandleBytes(handle, 0, 2), ZRErrMemLocked);
  ZRUnlockHandle(handle);
  EXPECT_EQ(Bytes(handle), "cdefef");
}

// Sizes that do not fit 32 bits are refused before memory is asked for.
TEST_F(HandleBytesTest, AppendRefusesASizeThatWraps) {
  const ZRHandle handle = With("abc");
  const uint32_t before = World().allocations;
  EXPECT_EQ(ZRAppendHandleBytes("x", handle, 0xFFFFFFFD), ZRErrMemFull);
  EXPECT_EQ(World().allocations, before);
  FailAllocation(1);
  EXPECT_EQ(ZRAppendHandleBytes("x", handle, 0xFFFFFFFC), ZRErrMemFull) << "fits just";
  EXPECT_EQ(World().last_size, 0xFFFFFFFFu);
  EXPECT_EQ(Bytes(handle), "abc");
}

// Each allocation of a change fails in turn: the code says so and the old bytes are there.
TEST_F(HandleBytesTest, ShortMemoryKeepsTheBytes) {
  const struct {
    const char* name;
    ZRError (*change)(ZRHandle);
    const char* after;
  } kRows[] = {
      {"set", [](ZRHandle handle) { return ZRSetHandleBytes("12345", handle, 5); }, "12345"},
      {"append", [](ZRHandle handle) { return ZRAppendHandleBytes("4", handle, 1); }, "abc4"},
      {"delete at the end", [](ZRHandle handle) { return ZRDeleteHandleBytes(handle, 2, 1); },
       "ab"}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    const ZRHandle handle = With("abc");
    FailAllocation(1);
    EXPECT_EQ(row.change(handle), ZRErrMemFull);
    EXPECT_EQ(Bytes(handle), "abc");
    EXPECT_EQ(row.change(handle), 0);
    EXPECT_EQ(Bytes(handle), row.after);
  }
}

}  // namespace
