#include <gtest/gtest.h>

#include "app/settings.h"
#include "platform/host/control.h"
#include "platform/windows_api.h"

namespace {

TEST(SettingsHostTest, AFailedPathIsNotTriedAgainAndThePlatformNotCalled) {
  qv::ResetSettingsForTest();
  host::ResetCallCounts();
  host::FailCall("LoadStringA", 1, ERROR_RESOURCE_NAME_NOT_FOUND);
  EXPECT_EQ(ReadSettingInt("QVSetup", "Slice", 25), 25);
  EXPECT_EQ(host::FaultsStruck(), 1u);
  host::ClearFaults();
  char text[8];
  EXPECT_EQ(ReadSettingString("QVSetup", "Slice", "default", text, sizeof text), 7u);
  EXPECT_EQ(WriteSettingString("QVSetup", "Slice", "1"), 0);
  EXPECT_EQ(host::CallsMade("LoadStringA"), 1u);
  for (const char* call :
       {"GetPrivateProfileStringA", "GetPrivateProfileIntA", "WritePrivateProfileStringA"}) {
    EXPECT_EQ(host::CallsMade(call), 0u) << call;
  }
  qv::ResetSettingsForTest();
}

TEST(SettingsHostTest, AFailedWriteIsReported) {
  host::FailCall("WritePrivateProfileStringA", 1, ERROR_ACCESS_DENIED);
  EXPECT_EQ(WriteSettingString("QVSetup", "Slice", "1"), 0);
  EXPECT_EQ(host::FaultsStruck(), 1u);
  host::ClearFaults();
}

}  // namespace
