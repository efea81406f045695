#include "app/ui/application_run.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "app/debug_log.h"
#include "app/debug_output.h"
#include "app/settings.h"
#include "app/ui/accelerators.h"
#include "base/hooks.h"
#include "tests/app/debug_log_files.h"
#include "tests/test_platform.h"
#include "text/converters.h"

namespace {

using testing::ElementsAre;

std::vector<std::string> steps;

// What the main function of the application finds.
void Main() {
  steps.push_back("main");
  steps.push_back(qv::DebugLogIsOpen() ? "log" : "no log");
  // Text can be converted by now.
  char euro[8];
  uint32_t size = sizeof euro;
  ConvertText("\x80", 1, 1252, euro, &size, 65001, 0, 0);
  steps.emplace_back(euro, size);
  DebugPrint("from main\n");
}

class ApplicationRunTest : public testing::Test {
 protected:
  ApplicationRunTest() {
    steps.clear();
    qv::ResetDebugLogForTest();
    test::RemoveLogs();
    settings_ = test::TempFolder() + "\\run.ini";
    EXPECT_TRUE(qv::SetSettingsPath(settings_.c_str()));
    qv::GlobalHooks().install_fault_filter = [] { steps.push_back("filter"); };
    qv::GlobalHooks().create_console = [] { steps.push_back("console"); };
    qv::GlobalHooks().focus_previous_instance = [] { steps.push_back("focus"); };
    ZRSetApplicationMain(Main);
  }
  ~ApplicationRunTest() override {
    ZRSetApplicationMain(nullptr);
    qv::SetDebugFlag(0);
    qv::ResetHooksForTest();
    qv::ResetDebugLogForTest();
    qv::ResetSettingsForTest();
    test::RemoveLogs();
    test::EmptyFolder(test::TempFolder());
  }
  void Set(const std::string& value) {
    ASSERT_TRUE(test::WriteWholeFile(settings_, "[QVSetup]\r\nDEBUG=" + value + "\r\n"));
  }
  HINSTANCE Self() { return GetModuleHandleA(nullptr); }

  std::string settings_;
};

TEST_F(ApplicationRunTest, WithoutTheFlagItRunsQuietly) {
  Set("0");
  qv::Accelerators().count = 3;
  EXPECT_EQ(ZRRunApplication(Self(), nullptr, "-x", 5), 1);
  EXPECT_THAT(steps, ElementsAre("filter", "main", "no log", "\xE2\x82\xAC"));
  EXPECT_EQ(qv::Accelerators().count, 0u);
  EXPECT_EQ(qv::Application().instance, Self());
  EXPECT_STREQ(qv::Application().command_line, "-x");
  EXPECT_EQ(qv::Application().show, 5);
  EXPECT_FALSE(test::Exists(test::LogPath()));
}

TEST_F(ApplicationRunTest, TheFlagBringsConsoleAndLog) {
  for (const char* value : {"1", "-7"}) {
    steps.clear();
    Set(value);
    EXPECT_EQ(ZRRunApplication(Self(), nullptr, "", 1), 1);
    EXPECT_THAT(steps, ElementsAre("filter", "console", "main", "log", "\xE2\x82\xAC")) << value;
    EXPECT_EQ(qv::DebugFlag(), 1);
    EXPECT_FALSE(qv::DebugLogIsOpen());
    qv::ResetDebugLogForTest();
    EXPECT_EQ(test::ReadWholeFile(test::LogPath()), test::kMark + "from main\r\n");
  }
}

TEST_F(ApplicationRunTest, APreviousInstanceGetsTheFocusInstead) {
  Set("1");
  EXPECT_EQ(ZRApplicationEntry(Self(), Self(), "", 1), 0);
  EXPECT_THAT(steps, ElementsAre("filter", "focus"));
  MSG message;
  EXPECT_FALSE(PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE));
}

TEST_F(ApplicationRunTest, TheEntryPostsTheQuitMessage) {
  ZRSetApplicationMain(nullptr);
  EXPECT_EQ(ZRApplicationEntry(Self(), nullptr, "", 1), 1);
  MSG message;
  EXPECT_FALSE(GetMessageA(&message, nullptr, 0, 0));
  EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT));
}

}  // namespace
