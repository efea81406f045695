#include <gtest/gtest.h>

#include <thread>

#include "platform/host/control.h"
#include "platform/native_files.h"
#include "tests/test_platform.h"

namespace {

class CallsHostTest : public testing::Test {
 protected:
  void TearDown() override {
    host::ClearFaults();
    host::ThawTicks();
  }
};

TEST_F(CallsHostTest, LastErrorBelongsToTheThread) {
  SetLastError(5);
  std::thread([] {
    EXPECT_EQ(GetLastError(), 0u);
    SetLastError(6);
  }).join();
  EXPECT_EQ(GetLastError(), 5u);
}

TEST_F(CallsHostTest, DebugOutputIsKeptAndWritten) {
  host::TakeDebugOutput();
  OutputDebugStringA("first\n");
  OutputDebugStringA("second\n");
  EXPECT_EQ(host::TakeDebugOutput(), (std::vector<std::string>{"first\n", "second\n"}));
  EXPECT_EQ(host::TakeDebugOutput(), std::vector<std::string>{});
  std::string file = platform::PlatformPath(host::StateDirectory() + "/debug.txt");
  EXPECT_TRUE(test::ReadWholeFile(file).ends_with("first\nsecond\n"));
}

TEST_F(CallsHostTest, ResetGivesAFreshState) {
  ASSERT_TRUE(test::WriteWholeFile("C:\\Temp\\left.txt", "x"));
  host::SetAnsiCodePage(1250);
  host::FailCall("GetFileAttributesA", 1, 5);
  host::FreezeTicks(7);
  host::ResetState();
  EXPECT_FALSE(test::Exists("C:\\Temp\\left.txt"));
  EXPECT_EQ(GetACP(), 1252u);
  EXPECT_NE(GetFileAttributesA("C:\\Temp"), INVALID_FILE_ATTRIBUTES);
  EXPECT_NE(GetTickCount(), 7u);
}

}  // namespace
