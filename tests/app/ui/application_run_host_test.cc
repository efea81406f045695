#include <gtest/gtest.h>

#include "app/ui/application_run.h"
#include "base/hooks.h"
#include "platform/host/control.h"

namespace {

TEST(ApplicationRunHostTest, TakesQuickEditFromAConsole) {
  const struct {
    DWORD before, after;
  } kRows[] = {{0x1F7, 0x1B7}, {0x40, 0x80}, {0x01, 0x81}, {0, 0}};
  for (const auto& row : kRows) {
    host::SetConsoleInputMode(row.before);
    EXPECT_EQ(ZRRunApplication(GetModuleHandleA(nullptr), nullptr, "", 1), 1);
    EXPECT_EQ(host::ConsoleInputMode(), row.after) << row.before;
  }
  qv::ResetHooksForTest();
}

}  // namespace
