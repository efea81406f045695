#include "app/leveled_log.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "app/debug_output.h"
#include "base/hooks.h"

namespace {

using testing::ElementsAre;

std::vector<std::string> shown;
std::vector<int32_t> levels;

TEST(LeveledLog, TheDefaultShowsLinesUpToTheThreshold) {
  shown.clear();
  qv::SetDebugFlag(1);
  qv::GlobalHooks().show_in_console = [](const char* text) {
    return shown.emplace_back(text), true;
  };
  qv::LogAtLevel(3, "%d%s", 100, "%");
  qv::LogAtLevel(4, "hidden");
  qv::SetLeveledLogThreshold(4);
  qv::LogAtLevel(4, "seen");
  qv::LogAtLevel(5, "hidden");
  qv::SetLeveledLogThreshold(qv::kDefaultLogThreshold);
  qv::SetDebugFlag(0);
  qv::ResetHooksForTest();
  EXPECT_THAT(shown, ElementsAre("100%\n", "seen\n"));
}

TEST(LeveledLog, AHookTakesEveryLevel) {
  shown.clear();
  qv::SetLeveledLogHook([](int32_t level, const char*, va_list) { levels.push_back(level); });
  qv::LogAtLevel(9, "x");
  qv::LogAtLevel(0, "x");
  qv::SetLeveledLogHook(nullptr);
  qv::LogAtLevel(0, "x");
  EXPECT_THAT(levels, ElementsAre(9, 0));
}

}  // namespace
