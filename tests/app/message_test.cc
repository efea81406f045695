#include "app/message.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "app/debug_output.h"
#include "base/hooks.h"
#include "text/formatter.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> shown, hooked;

class MessageTest : public testing::Test {
 protected:
  MessageTest() {
    shown.clear();
    hooked.clear();
    qv::SetDebugFlag(1);
    qv::GlobalHooks().show_in_console = [](const char* text) {
      shown.emplace_back(text);
      return true;
    };
  }
  ~MessageTest() override {
    ZRSetMessageHook(nullptr);
    qv::SetDebugFlag(0);
    qv::ResetHooksForTest();
  }
};

void Keep(ZRError code, uint32_t word, const char* format, va_list arguments) {
  char text[256];
  FormatTextV(text, sizeof text - 1, format, arguments);
  hooked.push_back(std::to_string(code) + " " + std::to_string(word) + " " + text);
}

TEST_F(MessageTest, WithoutAHookTheDebugLogGetsLines) {
  EXPECT_EQ(ZRGetMessageHook(), nullptr);
  ZRMessage("Running %s", "well");
  ZRMessageEx(4101, 7, "Could not save %s.", "it");
  EXPECT_THAT(shown, ElementsAre("Running well\n", "Could not save it."));
}

TEST_F(MessageTest, AHookGetsEverythingInItsPlace) {
  ZRSetMessageHook(Keep);
  EXPECT_EQ(ZRGetMessageHook(), Keep);
  ZRMessage("Running %s", "well");
  ZRMessageEx(4101, 7, "Could not save %s.", "it");
  EXPECT_THAT(hooked, ElementsAre("0 0 Running well", "4101 7 Could not save it."));
  EXPECT_THAT(shown, IsEmpty());
}

TEST_F(MessageTest, AHookMaySendMessagesItself) {
  static int depth;
  depth = 0;
  ZRSetMessageHook([](ZRError, uint32_t, const char*, va_list) {
    if (++depth < 3) ZRMessage("again");
  });
  ZRMessage("once");
  EXPECT_EQ(depth, 3);
}

TEST_F(MessageTest, OffTheKernelThreadTheDebugLogStaysOut) {
  qv::GlobalHooks().on_kernel_thread = [] { return false; };
  ZRMessage("elsewhere");
  EXPECT_THAT(shown, IsEmpty());
}

}  // namespace
