#include <gmock/gmock.h>

#include "app/debug_log.h"
#include "app/debug_output.h"
#include "platform/host/control.h"
#include "tests/app/debug_log_files.h"
#include "tests/test_platform.h"

namespace {

using test::kMark;

class DebugLogHostTest : public testing::Test {
 protected:
  DebugLogHostTest() {
    qv::ResetDebugLogForTest();
    test::RemoveLogs();
  }
  ~DebugLogHostTest() override {
    host::ThawTicks();
    host::ClearFaults();
    qv::ResetDebugLogForTest();
    test::RemoveLogs();
  }
};

TEST_F(DebugLogHostTest, StaysClosedWhereItCannotBeOpened) {
  for (const char* call : {"GetModuleFileNameA", "LoadStringA", "CreateFileA"}) {
    host::FailCall(call, 1, ERROR_ACCESS_DENIED);
    EXPECT_FALSE(qv::OpenDebugLog()) << call;
    EXPECT_EQ(host::FaultsStruck(), 1u) << call;
    EXPECT_FALSE(qv::DebugLogIsOpen());
    EXPECT_EQ(DebugPrint("lost\n"), 0u);
    host::ClearFaults();
  }
  EXPECT_TRUE(qv::OpenDebugLog());
}

TEST_F(DebugLogHostTest, AppendsToALogThatCannotBeKept) {
  for (const char* call : {"DeleteFileA", "MoveFileA"}) {
    ASSERT_TRUE(test::WriteWholeFile(test::LogPath(), "before\r\n"));
    ASSERT_TRUE(test::WriteWholeFile(test::BackupPath(), "long before"));
    host::FailCall(call, 1, ERROR_ACCESS_DENIED);
    EXPECT_TRUE(qv::OpenDebugLog()) << call;
    EXPECT_EQ(host::FaultsStruck(), 1u) << call;
    host::ClearFaults();
    qv::ResetDebugLogForTest();
    EXPECT_EQ(test::ReadWholeFile(test::LogPath()), "before\r\n" + kMark) << call;
  }
}

TEST_F(DebugLogHostTest, AFullDiskLosesTextButNotTheLog) {
  ASSERT_TRUE(qv::OpenDebugLog());
  host::FailCall("WriteFile", 1, ERROR_DISK_FULL);
  EXPECT_EQ(DebugPrint("lost\n"), 0u);
  host::ClearFaults();
  EXPECT_EQ(DebugPrint("there\n"), 6u);
  qv::CloseDebugLog();
  EXPECT_EQ(test::ReadWholeFile(test::LogPath()), kMark + "there\r\n");
}

TEST_F(DebugLogHostTest, ADatedNameIsTheLocalMinute) {
  ASSERT_TRUE(qv::OpenDebugLog());
  host::FreezeLocalTime({.wYear = 2026,
                         .wMonth = 3,
                         .wDayOfWeek = 6,
                         .wDay = 7,
                         .wHour = 9,
                         .wMinute = 5,
                         .wSecond = 59,
                         .wMilliseconds = 0});
  ASSERT_TRUE(qv::KeepDatedDebugLog());
  EXPECT_TRUE(test::Exists(test::ProgramFolder() + "20260307_0905.OLD"));
  DebugPrint("second\n");
  EXPECT_FALSE(qv::KeepDatedDebugLog()) << "the name is taken";
  DebugPrint("third\n");
  EXPECT_EQ(test::ReadWholeFile(test::LogPath()), kMark + "second\r\n" + kMark + "third\r\n");
}

}  // namespace
