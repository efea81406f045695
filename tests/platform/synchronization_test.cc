#include <gtest/gtest.h>

#include <thread>

#include "platform/windows_api.h"

namespace {

TEST(SynchronizationTest, NoHandles) {
  EXPECT_FALSE(CloseHandle(nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
  EXPECT_EQ(WaitForSingleObject(nullptr, 0), WAIT_FAILED);
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
