#include "app/settings.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/test_platform.h"

namespace {

constexpr char kSection[] = "QVSetup";

class SettingsTest : public testing::Test {
 protected:
  SettingsTest() : path_(test::TempFolder() + "\\settings.ini") {
    test::EmptyFolder(test::TempFolder());
    EXPECT_TRUE(qv::SetSettingsPath(path_.c_str()));
  }
  ~SettingsTest() override { qv::ResetSettingsForTest(); }

  const std::string path_;
};

TEST_F(SettingsTest, TableKeysReadTheirDefaultsAndWhatIsStored) {
  char text[16];
  EXPECT_EQ(qv::ReadSetting(qv::setting::kSleep), -1);
  EXPECT_EQ(qv::ReadSetting(qv::setting::kMaxWorkers, 17), 17);
  EXPECT_EQ(qv::ReadSettingText(qv::setting::kSymbolModules, text, sizeof text), 15u);
  EXPECT_STREQ(text, "NTDLL.DLL;KERNE");
  EXPECT_TRUE(qv::WriteSetting(qv::setting::kConsolePosX, -2147483647 - 1));
  EXPECT_EQ(qv::ReadSetting(qv::setting::kConsolePosX), -2147483647 - 1);
  EXPECT_EQ(ReadSettingInt("Console", "PosX", 0), -2147483647 - 1);
}

// What counts is that an answer comes, and one of the two that make sense.
TEST_F(SettingsTest, SurvivesFilesThatAreNoSettings) {
  const std::string key = "[QVSetup]\r\nSlice=7\r\n";
  const struct {
    const char* name;
    std::string bytes;
  } kRows[] = {{"nothing", ""},
               {"zeros in front", std::string(100, '\0') + key},
               {"zeros inside", key + std::string(5000, '\0') + key},
               {"one long line", key + std::string(1 << 20, 'x')},
               {"100 MB", key + std::string(100 << 20, 'x')},
               {"open bracket", "[QVSetup\r\nSlice=7"},
               {"only equals", std::string(70000, '=')}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    ASSERT_TRUE(test::WriteWholeFile(path_, row.bytes));
    const int32_t slice = ReadSettingInt(kSection, "Slice", 25);
    EXPECT_TRUE(slice == 25 || slice == 7) << slice;
    char text[4];
    EXPECT_LE(ReadSettingString(kSection, "Slice", "", text, sizeof text), 3u);
  }
}

TEST_F(SettingsTest, WritesWhatItReads) {
  EXPECT_NE(WriteSettingString(kSection, "DLL", "A.DLL;B.DLL"), 0);
  EXPECT_NE(WriteSettingString(kSection, "Width", "120"), 0);
  char text[64];
  EXPECT_EQ(ReadSettingString(kSection, "DLL", "none", text, sizeof text), 11u);
  EXPECT_STREQ(text, "A.DLL;B.DLL");
  EXPECT_EQ(ReadSettingInt(kSection, "Width", 1), 120);
  EXPECT_NE(WriteSettingString(kSection, "DLL", nullptr), 0);
  EXPECT_EQ(ReadSettingString(kSection, "DLL", "none", text, sizeof text), 4u);
  EXPECT_STREQ(text, "none");
  EXPECT_EQ(ReadSettingString(kSection, "Width", "", nullptr, 5), 0u);
}

// The string of the executable is used once, and not again after it was changed.
TEST_F(SettingsTest, ThePathComesFromTheExecutable) {
  qv::ResetSettingsForTest();
  EXPECT_STREQ(qv::SettingsPath(), "C:\\Temp\\test_settings.ini");
  EXPECT_TRUE(qv::SetSettingsPath(path_.c_str()));
  EXPECT_EQ(qv::SettingsPath(), path_);
  EXPECT_FALSE(qv::SetSettingsPath(nullptr));
  EXPECT_FALSE(qv::SetSettingsPath(std::string(255, 'x').c_str()));
  EXPECT_EQ(qv::SettingsPath(), path_);
  EXPECT_TRUE(qv::SetSettingsPath(std::string(254, 'x').c_str()));
}

}  // namespace
