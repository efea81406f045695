// The system refuses an index or a value: nothing is stored, nothing leaks, and it works
// afterwards.
#include "platform/host/control.h"
#include "tasks/local_slots.h"
#include "tests/tasks/kernel_fixture.h"

namespace qv {
namespace {

using LocalSlotsHostTest = test::KernelTest;

TEST_F(LocalSlotsHostTest, ARefusedThreadValueStoresNothing) {
  test::CountAllocations();
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
    EXPECT_EQ(test::BlocksLeft(), 0);
    host::ClearFaults();
    EXPECT_TRUE(ZRLocalSet(index, 1));
    EXPECT_TRUE(slot.Set(1));
    ResetLocalSlotsForTest();
  }
}

}  // namespace
}  // namespace qv
