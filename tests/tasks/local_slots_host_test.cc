#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/host/control.h"
#include "tasks/local_slots.h"

namespace qv {
namespace {

int& Blocks() {
  static int blocks = 0;
  return blocks;
}

// The system refuses an index or a value: nothing is stored, nothing leaks, and it works
// afterwards.
TEST(LocalSlotsHostTest, ARefusedThreadValueStoresNothing) {
  GlobalHooks().allocate = [](size_t size) {
    ++Blocks();
    return std::malloc(size);
  };
  GlobalHooks().release = [](void* block) {
    --Blocks();
    std::free(block);
  };
  for (const char* call : {"TlsAlloc", "TlsSetValue"}) {
    SCOPED_TRACE(call);
    host::ClearFaults();
    uint32_t index = kNoLocalSlot;
    ThreadSlot slot;
    host::FailCall(call, 1, ERROR_NOT_ENOUGH_MEMORY, true);
    EXPECT_EQ(ZRLocalGetBuffer(&index, 10), nullptr);
    EXPECT_FALSE(ZRLocalSet(index, 1));
    EXPECT_EQ(ZRLocalGet(index), 0u);
    EXPECT_FALSE(slot.Set(1));
    EXPECT_EQ(slot.GetBuffer(10), nullptr);
    EXPECT_EQ(slot.Get(), 0u);
    EXPECT_EQ(host::FaultsStruck(), 4u);
    EXPECT_EQ(Blocks(), 0);
    host::ClearFaults();
    EXPECT_TRUE(ZRLocalSet(index, 1));
    EXPECT_TRUE(slot.Set(1));
    ResetLocalSlotsForTest();
  }
  ResetHooksForTest();
}

}  // namespace
}  // namespace qv
