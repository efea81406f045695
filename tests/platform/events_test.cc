#include <gtest/gtest.h>

#include <thread>

#include "platform/windows_api.h"

namespace {

TEST(EventsTest, OneWaitTakesTheSignalUnlessResetIsByHand) {
  for (BOOL manual : {FALSE, TRUE}) {
    SCOPED_TRACE(manual);
    HANDLE event = CreateEventA(nullptr, manual, TRUE, nullptr);
    ASSERT_NE(event, nullptr);
    auto is_signalled = [event] { return WaitForSingleObject(event, 0) == WAIT_OBJECT_0; };
    EXPECT_TRUE(is_signalled()) << "as it was made";
    EXPECT_TRUE(ResetEvent(event));
    EXPECT_FALSE(is_signalled());
    EXPECT_TRUE(SetEvent(event));
    EXPECT_TRUE(SetEvent(event));
    EXPECT_TRUE(is_signalled());
    EXPECT_EQ(is_signalled(), manual != 0);
    EXPECT_TRUE(SetEvent(event));
    EXPECT_TRUE(ResetEvent(event));
    EXPECT_FALSE(is_signalled());
    EXPECT_TRUE(CloseHandle(event));
    EXPECT_FALSE(SetEvent(event));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_FALSE(ResetEvent(event));
  }
}

// Each event wakes the thread that waits for it; a lost wake-up would never end.
TEST(EventsTest, WakesWaitingThreads) {
  HANDLE ping = CreateEventA(nullptr, FALSE, FALSE, nullptr);
  HANDLE pong = CreateEventA(nullptr, FALSE, FALSE, nullptr);
  int count = 0;
  std::thread other([&] {
    for (int i = 0; i < 300; ++i) {
      WaitForSingleObject(ping, INFINITE);
      ++count;
      SetEvent(pong);
    }
  });
  for (int i = 0; i < 300; ++i) {
    SetEvent(ping);
    WaitForSingleObject(pong, INFINITE);
    EXPECT_EQ(count, i + 1);
  }
  other.join();
  CloseHandle(ping);
  CloseHandle(pong);
}

TEST(EventsTest, SleepExLastsItsTime) {
  const DWORD start = GetTickCount();
  EXPECT_EQ(SleepEx(40, TRUE), 0u);
  EXPECT_GE(GetTickCount() - start, 24u) << "40 less a tick";
}

}  // namespace
