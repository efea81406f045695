// What the system tells of itself, on both platforms.
#include <gtest/gtest.h>

#include "platform/windows_api.h"

namespace {

TEST(SystemInfoTest, TheVersionComesInRecordsOfTwoSizes) {
  OSVERSIONINFOEXA extended{}, basic{};
  basic.wProductType = 0xEE;
  extended.dwOSVersionInfoSize = sizeof(OSVERSIONINFOEXA);
  basic.dwOSVersionInfoSize = sizeof(OSVERSIONINFOA);
  ASSERT_TRUE(GetVersionExA(reinterpret_cast<OSVERSIONINFOA*>(&extended)));
  ASSERT_TRUE(GetVersionExA(reinterpret_cast<OSVERSIONINFOA*>(&basic)));
  EXPECT_EQ(extended.dwMajorVersion, basic.dwMajorVersion);
  EXPECT_EQ(extended.dwBuildNumber, basic.dwBuildNumber);
  EXPECT_STREQ(extended.szCSDVersion, basic.szCSDVersion);
  EXPECT_EQ(extended.dwPlatformId, static_cast<DWORD>(VER_PLATFORM_WIN32_NT));
  EXPECT_EQ(extended.wProductType, VER_NT_WORKSTATION);
  EXPECT_EQ(basic.wProductType, 0xEE) << "nothing is written behind a basic record";
  extended.dwOSVersionInfoSize = 100;
  EXPECT_FALSE(GetVersionExA(reinterpret_cast<OSVERSIONINFOA*>(&extended)));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
}

TEST(SystemInfoTest, ProcessorsAndAddresses) {
  SYSTEM_INFO info{};
  GetSystemInfo(&info);
  EXPECT_GE(info.dwNumberOfProcessors, 1u);
  EXPECT_EQ(info.dwPageSize, 4096u);
  EXPECT_EQ(info.dwAllocationGranularity, 65536u);
  char here = 0;
  EXPECT_GT(reinterpret_cast<LPVOID>(&here), info.lpMinimumApplicationAddress);
  EXPECT_LT(reinterpret_cast<LPVOID>(&here), info.lpMaximumApplicationAddress);
}

}  // namespace
