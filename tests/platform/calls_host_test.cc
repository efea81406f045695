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

// Which of five calls fail, as a text such as ".x...".
std::string FailurePattern() {
  std::string pattern;
  for (int i = 0; i < 5; ++i) {
    SetLastError(0);
    bool failed = GetFileAttributesA("C:\\") == INVALID_FILE_ATTRIBUTES;
    pattern += failed && GetLastError() == 1234 ? 'x' : '.';
  }
  return pattern;
}

TEST_F(CallsHostTest, FaultsStrikeTheCallAskedFor) {
  const struct {
    uint32_t nth;
    bool from_then_on;
    const char* pattern;
    uint32_t struck;
  } kRows[] = {{1, false, "x....", 1},
               {3, false, "..x..", 1},
               {4, true, "...xx", 2},
               {6, false, ".....", 0}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.pattern);
    host::ClearFaults();
    host::ResetCallCounts();
    host::FailCall("GetFileAttributesA", row.nth, 1234, row.from_then_on);
    EXPECT_EQ(FailurePattern(), row.pattern);
    EXPECT_EQ(host::FaultsStruck(), row.struck);
    EXPECT_EQ(host::CallsMade("GetFileAttributesA"), 5u);
    EXPECT_EQ(host::CallsMade("DeleteFileA"), 0u);
  }
}

TEST_F(CallsHostTest, LastErrorBelongsToTheThread) {
  SetLastError(5);
  std::thread([] {
    EXPECT_EQ(GetLastError(), 0u);
    SetLastError(6);
  }).join();
  EXPECT_EQ(GetLastError(), 5u);
}

TEST_F(CallsHostTest, FrozenClockMovesOnlyWhenTold) {
  host::FreezeTicks(0xFFFFFFF0, 2);
  EXPECT_EQ(GetTickCount(), 0xFFFFFFF0u);
  EXPECT_EQ(GetTickCount(), 0xFFFFFFF2u) << "each reading adds the step";
  Sleep(10);
  host::AdvanceTicks(6);
  EXPECT_EQ(GetTickCount(), 4u) << "and the count wraps";
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
