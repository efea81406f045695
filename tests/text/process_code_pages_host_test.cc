#include <gtest/gtest.h>

#include "platform/host/control.h"
#include "platform/windows_api.h"
#include "text/process_code_pages.h"

namespace {

TEST(ProcessCodePagesHostTest, FallsBackWhenTheRegistryCannotBeRead) {
  SetApplicationCodePage(1253);
  for (const char* call : {"RegOpenKeyExA", "RegQueryValueExA"}) {
    SCOPED_TRACE(call);
    host::ClearFaults();
    const uint32_t handles = host::OpenHandles();
    host::FailCall(call, 1, ERROR_ACCESS_DENIED);
    EXPECT_EQ(GetSystemCodePage(), 1253);
    EXPECT_EQ(host::FaultsStruck(), 1u);
    EXPECT_EQ(host::OpenHandles(), handles);
    EXPECT_EQ(GetSystemCodePage(), 1252) << "the next call reads again";
  }
  host::ClearFaults();
  qv::ResetCodePagesForTest();
}

TEST(ProcessCodePagesHostTest, AnsiCodePageIsThePlatforms) {
  for (const uint32_t cp : {1251u, 932u}) {
    host::SetAnsiCodePage(cp);
    EXPECT_EQ(SystemAnsiCodePage(), cp);
  }
  host::FailCall("IsValidCodePage", 1, ERROR_INVALID_PARAMETER);
  EXPECT_EQ(SystemAnsiCodePage(), 1252) << "not accepted";
  host::ClearFaults();
  host::SetAnsiCodePage(1252);
}

}  // namespace
