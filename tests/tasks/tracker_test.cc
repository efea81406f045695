#include "tasks/tracker.h"

#include <gtest/gtest.h>

#include <string>

#include "app/message.h"
#include "app/settings.h"
#include "base/clock.h"
#include "base/hooks.h"
#include "tests/test_platform.h"
#include "text/formatter.h"

namespace {

struct Report {
  std::string messages;  // one line each
  int tracebacks = 0;
};
Report& TheReport() {
  static Report report;
  return report;
}

class TrackerTest : public testing::Test {
 protected:
  TrackerTest() : path_(test::TempFolder() + "\\tracker.ini") {
    TheReport() = {};
    ZRSetMessageHook([](ZRError, uint32_t, const char* format, va_list arguments) {
      char text[8000];
      FormatTextList(text, format, arguments);
      TheReport().messages += std::string(text) + "\n";
    });
    qv::GlobalHooks().print_traceback = [](uint32_t) { ++TheReport().tracebacks; };
    qv::ResetTrackerForTest();
  }
  ~TrackerTest() override {
    ZRSetMessageHook(nullptr);
    qv::ResetHooksForTest();
    qv::ResetSettingsForTest();
    qv::ResetTrackerForTest();
    test::ReleaseClock();
    qv::ResetClockForTest();
    test::EmptyFolder(test::TempFolder());
  }
  void SetLimit(const std::string& text) {
    ASSERT_TRUE(test::WriteWholeFile(path_, "[QVSetup]\r\nTrackLimit=" + text + "\r\n"));
    ASSERT_TRUE(qv::SetSettingsPath(path_.c_str()));
  }

  const std::string path_;
};

TEST_F(TrackerTest, IsOffWithoutAPositiveLimit) {
  for (const char* limit : {"0", "-5", "", "none"}) {
    SCOPED_TRACE(limit);
    qv::ResetTrackerForTest();
    SetLimit(limit);
    EXPECT_EQ(ZRTrackStart(), 0u);
    ZRTrackEnd(1, "reading");
  }
  EXPECT_EQ(TheReport().messages, "");
  EXPECT_EQ(TheReport().tracebacks, 0);
}

TEST_F(TrackerTest, ReportsWhatTookLongerThanTheLimit) {
  SetLimit("1000");
  const uint64_t start = ZRTrackStart();
  Sleep(40);
  ZRTrackEnd(start, "slow");
  EXPECT_EQ(TheReport().messages.substr(0, 34), "Tracking limit exceeded for: slow\n");
  EXPECT_EQ(TheReport().tracebacks, 1);
}

TEST_F(TrackerTest, ReportsTheElapsedTime) {
  if (test::OnWindows()) GTEST_SKIP() << "its clock runs";
  SetLimit("1500");
  const std::string head = "Tracking limit exceeded for: ";
  const std::string time = "\nTracking operation took    : ";
  const struct {
    const char* name;
    uint64_t elapsed;
    std::string report;
  } kRows[] = {
      {"at the limit", 1500, ""},
      {"reading", 1501, head + "reading" + time + "1501 \xC2\xB5s\n"},
      {nullptr, 2000000, head + time + "2000000 \xC2\xB5s\n"},
      {"100%s", 0x180000000, head + "100%s" + time + "2147483647 \xC2\xB5s\n"},
  };
  for (const auto& row : kRows) {
    TheReport() = {};
    test::StopClock(5000000);
    qv::ResetClockForTest();
    const uint64_t start = ZRTrackStart();
    test::MoveClock(row.elapsed);
    ZRTrackEnd(start, row.name);
    EXPECT_EQ(TheReport().messages, row.report);
    EXPECT_EQ(TheReport().tracebacks, row.report.empty() ? 0 : 1);
  }
}

TEST_F(TrackerTest, IsSilentAboutWhatStayedWithinTheLimit) {
  SetLimit("1000000");
  const uint64_t start = ZRTrackStart();
  EXPECT_GT(start, 0u);
  ZRTrackEnd(start, "fast");
  ZRTrackEnd(start + 5000000, "begun later");
  ZRTrackEnd(0, "begun while off");
  EXPECT_EQ(TheReport().messages, "");
}

TEST_F(TrackerTest, ReadsTheLimitOnce) {
  SetLimit("250");
  EXPECT_GT(ZRTrackStart(), 0u);
  SetLimit("0");
  EXPECT_GT(ZRTrackStart(), 0u);
}

}  // namespace
