#include "app/console_print.h"

#include <gtest/gtest.h>

#include <string>

#include "app/debug_output.h"
#include "base/hooks.h"

namespace {

std::string& Heard() {
  static auto& text = *new std::string;
  return text;
}

// The hook always, the console window with the flag only.
TEST(ConsolePrintTest, GoesToEverySink) {
  qv::SetPrintHook([](const char* text) { Heard() += std::string("hook ") + text; });
  qv::GlobalHooks().show_in_console = [](const char* text) {
    Heard() += std::string("console ") + text;
    return true;
  };
  const struct {
    int32_t flag;
    const char* heard;
  } kRows[] = {{0, "hook a7\n"}, {1, "console a7\nhook a7\n"}};
  for (const auto& row : kRows) {
    qv::SetDebugFlag(row.flag);
    Heard().clear();
    testing::internal::CaptureStdout();
    ConsolePrint("%c%ld\n", 'a', 7);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "a7\n");
    EXPECT_EQ(Heard(), row.heard);
  }
  qv::SetDebugFlag(0);
  qv::SetPrintHook(nullptr);
  qv::ResetHooksForTest();
}

}  // namespace
