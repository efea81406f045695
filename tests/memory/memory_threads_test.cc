// Several threads at once. What they find is checked here; what they race for, by ThreadSanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "app/debug_output.h"
#include "app/settings.h"
#include "base/hooks.h"
#include "base/scratch_pool.h"
#include "memory/checked_allocations.h"
#include "memory/handle_bytes.h"
#include "memory/handles.h"
#include "memory/memory_settings.h"
#include "tests/test_platform.h"

namespace {

constexpr int kThreads = 4, kRounds = 2000;

template <typename Work>
void OnThreads(Work work) {
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(work, i);
  for (std::thread& thread : threads) thread.join();
}

class MemoryThreadsTest : public testing::Test {
 protected:
  ~MemoryThreadsTest() override {
    EXPECT_TRUE(qv::CheckHandleTable());
    ForgetHooks();
    qv::ResetHandlesForTest();
    qv::ResetCheckedAllocationsForTest();
    qv::ResetMemorySettingsForTest();
    qv::ResetSettingsForTest();
  }
  // Silently: a line about a release would take a new buffer.
  static void ForgetHooks() {
    qv::SetDebugFlag(0);
    qv::GlobalHooks().on_kernel_thread = [] { return false; };
    qv::ReleaseScratchPool();
    qv::ResetHooksForTest();
  }
  static void UseSettings(const std::string& lines) {
    const std::string file = test::TempFolder() + "\\threads.ini";
    ASSERT_TRUE(test::WriteWholeFile(file, "[Debug]\r\n" + lines));
    ASSERT_TRUE(qv::SetSettingsPath(file.c_str()));
  }
};

// Each has handles of its own; all lock one that they share, which stays where it is meanwhile.
TEST_F(MemoryThreadsTest, Handles) {
  static std::atomic<uint32_t> moved;
  moved = 0;
  const ZRHandle shared = ZRNewHandleClear(64);
  OnThreads([shared](int mark) {
    const std::string pattern(100, static_cast<char>('a' + mark));
    for (int round = 0; round < kRounds; ++round) {
      ZRHandle own = 0, copy;
      ASSERT_EQ(ZRHandleFromBytes(pattern.data(), &own, 100), 0);
      const void* before = ZRLockHandle(shared);
      ASSERT_EQ(ZRAppendHandleBytes(pattern.data(), own, 100), 0);
      ASSERT_EQ(ZRDeleteHandleBytes(own, 50, 100), 0);
      copy = ZRCopyHandle(own);
      char out[200];
      uint32_t count = sizeof out;
      ASSERT_EQ(ZRGetHandleBytes(copy, out, &count), 0);
      ASSERT_EQ(std::string(out, count), pattern);
      ZRDisposeHandle(&own);
      ZRDisposeHandle(&copy);
      ASSERT_EQ(ZRLockHandle(shared), before);
      ZRUnlockHandle(shared);
      ZRUnlockHandle(shared);
      if (ZRSetHandleSize(shared, 64 + round % 7) == 0) ++moved;
    }
  });
  EXPECT_GT(moved, 0u);
  EXPECT_EQ(ZRIsHandleLocked(shared), 0);
  EXPECT_EQ(ZRCountHandles(), 1u);
}

// Purging beside locks: what is locked has its bytes.
TEST_F(MemoryThreadsTest, Purging) {
  ZRHandle handle = 0;
  ASSERT_EQ(ZRHandleFromBytes("0123456789", &handle, 10), 0);
  ZRMarkHandlePurgeable(handle);
  OnThreads([handle](int mark) {
    for (int round = 0; round < kRounds; ++round) {
      if (mark == 0) {
        ZRPurgeHandles(0x7FFFFFFF);
      } else if (const void* block = ZRLockHandle(handle)) {
        ASSERT_EQ(std::memcmp(block, "0123456789", 10), 0);
        ZRUnlockHandle(handle);
      }
    }
  });
}

// Everybody is told off all the time, through buffers that come from the same allocator: the
// memory lock and the pool's are taken in one order only.
TEST_F(MemoryThreadsTest, MessagesThroughTheirOwnAllocator) {
  for (const char* settings : {"HeapLocks=1\r\n", "CheckFree=1\r\nHeapChecks=5\r\n"}) {
    UseSettings(settings);
    qv::ResetCheckedAllocationsForTest();
    qv::ResetMemorySettingsForTest();
    qv::InstallCheckedAllocator();
    static std::atomic<uint32_t> lines;
    lines = 0;
    qv::SetDebugFlag(1);
    qv::GlobalHooks().show_in_console = [](const char* text) {
      lines += text[std::strlen(text) - 1] == '\n';
      uint32_t index;
      ZRBufferGet(&index);
      ZRBufferPut(&index);
      return true;
    };
    OnThreads([](int mark) {
      for (int round = 0; round < 200; ++round) {
        uint32_t index[8];
        for (uint32_t& taken : index) ASSERT_NE(ZRBufferGet(&taken), nullptr);
        ZRUnlockHandle(0x50000000u + mark);
        void* block = ZRAMEMAlloc(round);
        std::memset(block, mark, round);
        ZRAMEMFree(block);
        for (uint32_t& taken : index) ZRBufferPut(&taken);
        if (mark == 0) qv::ReleaseScratchPool();
      }
    });
    EXPECT_GE(lines, 2u * 200 * kThreads);
    ForgetHooks();
  }
}

}  // namespace
