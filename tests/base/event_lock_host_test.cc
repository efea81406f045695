#include <gtest/gtest.h>

#include "base/event_lock.h"
#include "platform/host/control.h"

namespace qv {
namespace {

// Without an event, or with one that fails, waits end soon and nothing stands still.
TEST(EventLockHostTest, WaitsEndSoonWhenTheSystemFails) {
  for (const char* call : {"CreateEventA", "WaitForSingleObject"}) {
    SCOPED_TRACE(call);
    host::ResetState();
    const uint32_t handles = host::OpenHandles();
    {
      host::FailCall(call, 1, ERROR_NOT_ENOUGH_MEMORY, true);
      EventLock lock;
      lock.Signal();
      host::ResetCallCounts();
      ScopedLock hold(lock);
      lock.Wait();
      EXPECT_EQ(host::CallsMade("Sleep"), 1u);
      EXPECT_TRUE(lock.WaitMicros(5000000));
      EXPECT_GE(host::FaultsStruck(), 1u);
    }
    EXPECT_EQ(host::OpenHandles(), handles);
  }
  host::ResetState();
}

}  // namespace
}  // namespace qv
