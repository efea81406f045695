#include <gtest/gtest.h>

#include <set>
#include <thread>

#include "platform/windows_api.h"

namespace {

LPVOID Value(uintptr_t number) { return reinterpret_cast<LPVOID>(number); }

TEST(ThreadStorageTest, EachThreadHasItsOwnValue) {
  const DWORD index = TlsAlloc();
  ASSERT_NE(index, TLS_OUT_OF_INDEXES);
  EXPECT_EQ(TlsGetValue(index), nullptr);
  EXPECT_TRUE(TlsSetValue(index, Value(1)));
  std::thread([index] {
    SetLastError(5);
    EXPECT_EQ(TlsGetValue(index), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS)) << "tells 0 from a failure";
    EXPECT_TRUE(TlsSetValue(index, Value(2)));
    EXPECT_EQ(TlsGetValue(index), Value(2));
  }).join();
  EXPECT_EQ(TlsGetValue(index), Value(1));
  EXPECT_TRUE(TlsFree(index));
}

// An index given out again shows nothing of its former life, in any thread.
TEST(ThreadStorageTest, AnIndexStartsEmpty) {
  std::set<DWORD> seen;
  bool again = false;
  for (int i = 0; i < 2000 && !again; ++i) {
    const DWORD index = TlsAlloc();
    ASSERT_NE(index, TLS_OUT_OF_INDEXES);
    again = !seen.insert(index).second;
    EXPECT_EQ(TlsGetValue(index), nullptr);
    EXPECT_TRUE(TlsSetValue(index, Value(7)));
    EXPECT_TRUE(TlsFree(index));
  }
  EXPECT_TRUE(again);
}

TEST(ThreadStorageTest, RefusesWhatIsNoIndex) {
  for (DWORD index : {DWORD{2000}, TLS_OUT_OF_INDEXES}) {
    SetLastError(0);
    EXPECT_EQ(TlsGetValue(index), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_FALSE(TlsSetValue(index, Value(1)));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_FALSE(TlsFree(index));
  }
}

}  // namespace
