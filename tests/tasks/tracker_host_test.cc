#include <gtest/gtest.h>

#include <string>

#include "app/message.h"
#include "app/settings.h"
#include "base/clock.h"
#include "base/hooks.h"
#include "platform/host/control.h"
#include "tasks/tracker.h"
#include "tests/test_platform.h"
#include "text/formatter.h"

namespace {

struct Report {
  std::string text;
};
Report& TheReport() {
  static Report report;
  return report;
}

// The time stands still, so the elapsed time is known to the microsecond.
TEST(TrackerHostTest, ReportsTheElapsedTime) {
  const std::string path = test::TempFolder() + "\\tracker.ini";
  ASSERT_TRUE(test::WriteWholeFile(path, "[QVSetup]\r\nTrackLimit=1500\r\n"));
  ASSERT_TRUE(qv::SetSettingsPath(path.c_str()));
  ZRSetMessageHook([](ZRError, uint32_t, const char* format, va_list arguments) {
    char text[8000];
    FormatTextList(text, format, arguments);
    TheReport().text += std::string(text) + "|";
  });
  qv::GlobalHooks().print_traceback = [](uint32_t) { TheReport().text += "trace"; };
  qv::ResetTrackerForTest();
  const std::string head = "Tracking limit exceeded for: ";
  const std::string time = "|Tracking operation took    : ";
  const struct {
    const char* name;
    uint64_t elapsed;
    std::string report;
  } kRows[] = {
      {"at the limit", 1500, ""},
      {"reading", 1501, head + "reading" + time + "1501 \xC2\xB5s|trace"},
      {nullptr, 2000000, head + time + "2000000 \xC2\xB5s|trace"},
      {"100%s", 0x180000000, head + "100%s" + time + "2147483647 \xC2\xB5s|trace"},
  };
  for (const auto& row : kRows) {
    TheReport().text.clear();
    host::FreezeMicroseconds(5000000);
    qv::ResetClockForTest();
    const uint64_t start = ZRTrackStart();
    host::AdvanceMicroseconds(row.elapsed);
    ZRTrackEnd(start, row.name);
    EXPECT_EQ(TheReport().text, row.report);
  }
  host::ThawTicks();
  ZRSetMessageHook(nullptr);
  qv::ResetHooksForTest();
  qv::ResetClockForTest();
  qv::ResetSettingsForTest();
  qv::ResetTrackerForTest();
  test::EmptyFolder(test::TempFolder());
}

}  // namespace
