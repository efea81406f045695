#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "platform/windows_api.h"

namespace {

TEST(SynchronizationTest, EventsByKind) {
  const struct {
    const char* name;
    BOOL manual, signalled;
    DWORD first, second;
  } kRows[] = {{"automatic, set", FALSE, TRUE, WAIT_OBJECT_0, WAIT_TIMEOUT},
               {"manual, set", TRUE, TRUE, WAIT_OBJECT_0, WAIT_OBJECT_0},
               {"manual, not set", TRUE, FALSE, WAIT_TIMEOUT, WAIT_TIMEOUT}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    HANDLE event = CreateEventA(nullptr, row.manual, row.signalled, nullptr);
    ASSERT_NE(event, nullptr);
    EXPECT_EQ(WaitForSingleObject(event, 0), row.first);
    EXPECT_EQ(WaitForSingleObject(event, 1), row.second);
    EXPECT_TRUE(SetEvent(event));
    EXPECT_TRUE(ResetEvent(event));
    EXPECT_EQ(WaitForSingleObject(event, 0), static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_TRUE(CloseHandle(event));
  }
}

TEST(SynchronizationTest, EventWakesAnotherThread) {
  HANDLE event = CreateEventA(nullptr, FALSE, FALSE, nullptr);
  std::atomic<DWORD> result{0xFFFF};
  std::thread waiter([&] { result = WaitForSingleObject(event, INFINITE); });
  SetEvent(event);
  waiter.join();
  EXPECT_EQ(result, static_cast<DWORD>(WAIT_OBJECT_0));
  CloseHandle(event);
}

TEST(SynchronizationTest, ClosedHandlesAreInvalid) {
  HANDLE event = CreateEventA(nullptr, FALSE, FALSE, nullptr);
  ASSERT_TRUE(CloseHandle(event));
  EXPECT_FALSE(SetEvent(event));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_FAILED);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST(SynchronizationTest, CriticalSectionExcludesOthersAndNotItself) {
  CRITICAL_SECTION section;
  ASSERT_TRUE(InitializeCriticalSectionAndSpinCount(&section, 4000));
  int count = 0;
  std::thread threads[4];
  for (std::thread& thread : threads) {
    thread = std::thread([&] {
      for (int i = 0; i < 1000; ++i) {
        EnterCriticalSection(&section);
        EnterCriticalSection(&section);
        ++count;
        LeaveCriticalSection(&section);
        LeaveCriticalSection(&section);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(count, 4000);
  EnterCriticalSection(&section);
  std::thread([&] { EXPECT_FALSE(TryEnterCriticalSection(&section)); }).join();
  EXPECT_TRUE(TryEnterCriticalSection(&section));
  LeaveCriticalSection(&section);
  LeaveCriticalSection(&section);
  DeleteCriticalSection(&section);
}

}  // namespace
