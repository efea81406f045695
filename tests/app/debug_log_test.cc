#include "app/debug_log.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "app/debug_output.h"
#include "base/hooks.h"
#include "tests/app/debug_log_files.h"
#include "tests/test_platform.h"

namespace {

using test::kMark;

class DebugLogTest : public testing::Test {
 protected:
  DebugLogTest() { test::RemoveLogs(); }
  ~DebugLogTest() override {
    qv::ResetDebugLogForTest();
    qv::ResetHooksForTest();
    qv::SetDebugFlag(0);
    test::RemoveLogs();
  }
};

TEST_F(DebugLogTest, KeepsTheLogOfTheRunBeforeOnce) {
  ASSERT_TRUE(test::WriteWholeFile(test::LogPath(), "before"));
  ASSERT_TRUE(test::WriteWholeFile(test::BackupPath(), "long before"));
  ASSERT_TRUE(qv::OpenDebugLog());
  EXPECT_TRUE(qv::OpenDebugLog()) << "open already";
  EXPECT_EQ(DebugPrint("one %s\n", "line"), 9u);
  qv::CloseDebugLog();
  EXPECT_EQ(DebugPrint("lost\n"), 0u);
  EXPECT_EQ(test::ReadWholeFile(test::BackupPath()), "before");
  EXPECT_EQ(test::ReadWholeFile(test::LogPath()), kMark + "one line\r\n");
  ASSERT_TRUE(qv::OpenDebugLog());
  EXPECT_EQ(DebugPrint("two\n"), 4u);
  EXPECT_EQ(test::ReadWholeFile(test::LogPath()), kMark + "one line\r\n" + kMark + "two\r\n");
  EXPECT_EQ(test::ReadWholeFile(test::BackupPath()), "before");
}

TEST_F(DebugLogTest, IsWrittenAtEachLineEnd) {
  ASSERT_TRUE(qv::OpenDebugLog());
  EXPECT_EQ(DebugPrint("half"), 4u);
  EXPECT_EQ(test::ReadWholeFile(test::LogPath()), kMark);
  EXPECT_EQ(DebugPrint(" and\nmore"), 9u);
  EXPECT_EQ(test::ReadWholeFile(test::LogPath()), kMark) << "a line end inside does not write";
  EXPECT_EQ(DebugPrint(" end\n"), 5u);
  EXPECT_EQ(test::ReadWholeFile(test::LogPath()), kMark + "half and\r\nmore end\r\n");
  DebugPrint("cr\r");
  DebugPrint("\n");
  EXPECT_EQ(test::ReadWholeFile(test::LogPath()), kMark + "half and\r\nmore end\r\n" + "cr\r\n");
  DebugPrint("last");
  qv::CloseDebugLog();
  EXPECT_EQ(test::ReadWholeFile(test::LogPath()),
            kMark + "half and\r\nmore end\r\n" + "cr\r\nlast");
}

TEST_F(DebugLogTest, CutsAMessageAt7999Bytes) {
  ASSERT_TRUE(qv::OpenDebugLog());
  EXPECT_EQ(DebugPrint("%s", std::string(9000, 'x').c_str()), 7999u);
  qv::CloseDebugLog();
  EXPECT_EQ(test::ReadWholeFile(test::LogPath()), kMark + std::string(7999, 'x'));
}

TEST_F(DebugLogTest, ADatedBackupLeavesAnEmptyLog) {
  EXPECT_FALSE(qv::KeepDatedDebugLog()) << "no log was ever opened";
  ASSERT_TRUE(qv::OpenDebugLog());
  DebugPrint("old\n");
  ASSERT_TRUE(qv::KeepDatedDebugLog());
  DebugPrint("new\n");
  EXPECT_EQ(test::ReadWholeFile(test::LogPath()), kMark + "new\r\n");
  const std::vector<std::string> dated = test::DatedLogs();
  ASSERT_EQ(dated.size(), 1u);
  EXPECT_EQ(test::ReadWholeFile(dated[0]), kMark + "old\r\n");
}

// Sinks and their returned count.
struct Console {
  bool takes;
  std::string shown;
} console;

TEST_F(DebugLogTest, TheConsoleIsAskedOnlyWithTheFlagAndItsCountCounts) {
  const struct {
    const char* name;
    bool log_open;
    int32_t flag;
    bool console_takes;
    uint32_t target, expected;
    const char *logged, *shown;
  } kRows[] = {{"nothing", false, 0, true, 0, 0, "", ""},
               {"log only", true, 0, true, 0, 3, "abc", ""},
               {"console only", false, 1, true, 0, 3, "", "abc"},
               {"console refuses", false, 1, false, 0, 0, "", "abc"},
               {"console refuses, log counts", true, 2, false, 0, 3, "abc", "abc"},
               {"both", true, 1, true, 0, 3, "abc", "abc"},
               {"not the debug channel", true, 0, true, 1, 0, "", ""},
               {"not the debug channel, console", true, 1, true, 1, 3, "", "abc"},
               {"negative flag", false, -1, true, 0, 0, "", ""}};
  qv::GlobalHooks().show_in_console = [](const char* text) {
    console.shown += text;
    return console.takes;
  };
  const auto output = [](uint32_t target, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const uint32_t result = DebugOutput(target, format, arguments);
    va_end(arguments);
    return result;
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    test::RemoveLogs();
    ASSERT_EQ(row.log_open && qv::OpenDebugLog(), row.log_open);
    qv::SetDebugFlag(row.flag);
    console = {row.console_takes, ""};
    EXPECT_EQ(output(row.target, "%s", "abc"), row.expected);
    EXPECT_EQ(console.shown, row.shown);
    qv::ResetDebugLogForTest();
    EXPECT_EQ(test::ReadWholeFile(test::LogPath()), row.log_open ? kMark + row.logged : "");
  }
}

TEST_F(DebugLogTest, ThreadsKeepTheirMessagesWhole) {
  ASSERT_TRUE(qv::OpenDebugLog());
  constexpr int kThreads = 8, kMessages = 200;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([i] {
      const std::string text(100, static_cast<char>('a' + i));
      for (int n = 0; n < kMessages; ++n) DebugPrintLocked("%s%s\n", text.c_str(), text.c_str());
    });
  }
  for (std::thread& thread : threads) thread.join();
  qv::CloseDebugLog();
  const std::string log = test::ReadWholeFile(test::LogPath());
  ASSERT_EQ(log.size(), kMark.size() + size_t{kThreads} * kMessages * 202);
  for (size_t at = kMark.size(); at < log.size(); at += 202) {
    ASSERT_EQ(log.substr(at, 202), std::string(200, log[at]) + "\r\n");
  }
}

TEST_F(DebugLogTest, AFailedCheckSaysWhereAndGoesOn) {
  ASSERT_TRUE(qv::OpenDebugLog());
  const int size = 0;
  EXPECT_TRUE(ZR_CHECK(size == 0, "cdfile"));
  const int line = __LINE__ + 1;
  EXPECT_FALSE(ZR_CHECK(size > 0, "cdfile"));
  qv::CloseDebugLog();
  EXPECT_EQ(
      test::ReadWholeFile(test::LogPath()),
      kMark + "Assertion failed: size > 0, file cdfile, line " + std::to_string(line) + "\r\n");
}

}  // namespace
