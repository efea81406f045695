#include <gmock/gmock.h>

#include <string>

#include "app/debug_output.h"
#include "base/hooks.h"
#include "base/scratch_pool.h"
#include "platform/host/control.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(DebugOutputHostTest, FormatsOneTextPerCall) {
  host::TakeDebugOutput();
  DebugPrintf("%d of %ld\n", 1, 2);
  DebugPrintf("%s", std::string(9000, 'x').c_str());
  EXPECT_THAT(host::TakeDebugOutput(), ElementsAre("1 of 2\n", std::string(7999, 'x')));
}

TEST(DebugOutputHostTest, WithoutMemoryNothingIsWritten) {
  host::TakeDebugOutput();
  qv::ResetScratchPoolForTest();
  qv::GlobalHooks().allocate = [](size_t) -> void* { return nullptr; };
  DebugPrintf("lost");
  qv::ResetHooksForTest();
  EXPECT_THAT(host::TakeDebugOutput(), IsEmpty());
}

}  // namespace
