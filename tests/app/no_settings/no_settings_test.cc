// In an executable whose resources name no settings file, and a log without an extension.
#include <gtest/gtest.h>

#include <cstring>

#include "app/debug_log.h"
#include "app/settings.h"
#include "tests/app/debug_log_files.h"

namespace {

TEST(NoSettingsTest, ReadsGiveTheDefaultAndWritesDoNothing) {
  EXPECT_STREQ(qv::SettingsPath(), "");
  EXPECT_EQ(ReadSettingInt("QVSetup", "Slice", 25), 25);
  EXPECT_EQ(WriteSettingString("QVSetup", "Slice", "1"), 0);
  EXPECT_EQ(ReadSettingInt("QVSetup", "Slice", 25), 25);
}

TEST(NoSettingsTest, TheDefaultTextKeepsInsideTheBuffer) {
  const struct {
    const char* default_text;
    uint32_t size;
    const char* expected;
  } kRows[] = {{"abcdef", 3, "ab"}, {"abc", 1, ""}, {"100%d", 9, "100%d"}, {nullptr, 9, ""}};
  for (const auto& row : kRows) {
    char text[16];
    std::memset(text, '#', sizeof text);
    EXPECT_EQ(ReadSettingString("QVSetup", "Name", row.default_text, text, row.size),
              std::strlen(row.expected));
    EXPECT_STREQ(text, row.expected);
    EXPECT_EQ(text[row.size], '#');
  }
  char text[4] = "abc";
  EXPECT_EQ(ReadSettingString("QVSetup", "Name", "x", text, 0), 0u);
  EXPECT_STREQ(text, "abc");
}

TEST(NoSettingsTest, ALogWithoutAnExtensionGetsOneForItsBackup) {
  const std::string log = test::ProgramFolder() + "no_settings_log", backup = log + ".OLD";
  ASSERT_TRUE(test::WriteWholeFile(log, "before"));
  ASSERT_TRUE(qv::OpenDebugLog());
  qv::ResetDebugLogForTest();
  EXPECT_EQ(test::ReadWholeFile(backup), "before");
  EXPECT_EQ(test::ReadWholeFile(log), test::kMark);
  DeleteFileA(log.c_str());
  DeleteFileA(backup.c_str());
}

}  // namespace
