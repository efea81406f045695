// Who runs when: ready lists, hot tasks, the superhot task. No row looks at the clock.
#include "tasks/kernel_settings.h"
#include "tests/tasks/task_scripts.h"

namespace {

struct OrderRow {
  const char* name;
  const char* scripts;
  const char* order;
  const char* setting = "QVSetup/Fibers=1";
};

class SchedulingRulesTest : public test::ScriptTest {
 protected:
  template <size_t N>
  void Check(const OrderRow (&rows)[N]) {
    for (const OrderRow& row : rows) {
      SCOPED_TRACE(row.name);
      Set(row.setting);
      EXPECT_EQ(RunScripts(row.scripts), row.order);
    }
  }
};

TEST_F(SchedulingRulesTest, ReadyLists) {
  const OrderRow kRows[] = {
      {"turns, in the order of creation", "a:..x | b:..x | c:..x", "a b c a b c a b c"},
      {"a new task runs in the next loop", "a:cN.. | b:.. | N:x", "a b N a b"},
      {"no turn lost by ending", "a:x | b:.x | c:x", "a b c b"},
      {"yield to one of this loop", "a:x>cx | b:x | c:x", "a c b a"},
      {"yield to one of the next loop", "a:.x | b:.x | c:x>bx", "a b c b a c"},
      {"yield to one that waits", "a:wx | b:x>ax*a | c:x", "b c b a"},
      {"a signal moves to the next loop", "a:wx | b:*ax | c:x", "b c a"},
      {"a signal to a ready task is nothing", "a:.x | b:*ax | c:x", "a b c a"},
      {"units go to who asked first", "a:G.RxGxR | b:GxR | c:GxR", "a a b c a"},
  };
  Check(kRows);
}

TEST_F(SchedulingRulesTest, HotTasks) {
  const char* const eight = "a:h-3........x | b:.x | c:.x | d:.x | e:.x | f:.x | g:.x";
  const char* const nine = "a:h-3......x | b:.x | c:.x | d:.x | e:.x | f:.x | g:.x | h:.x";
  const char* const nine_by_seven = "a a b c a d e a f g a h a b c d e f g a h";
  const OrderRow kRows[] = {
      {"every third switch, and first in each loop", eight,
       "a a b c a d e a f g a a b c a d e a f g a"},
      {"the cycle follows the insertions", nine, nine_by_seven, "QVSetup/HotLimitPerTask=1"},
      {"a divisor of 0 counts as 1", nine, nine_by_seven, "QVSetup/HotLimitPerTask=0"},
      {"never hot", "a:h-2h1.x | b:.x", "a b a b", "QVSetup/HotLimitPerTask=100"},
      {"hot once", "a:h1...x | b:..x | c:..x", "a a b c a b c a b c"},
      {"hot once, taken back", "a:h1h0.x | b:.x", "a b a b"},
      {"a sleep takes hot once back", "a:h1xs0x | b:.x", "a b a b"},
      {"a sleep does not take always hot back", "a:h-3xs0x | b:.x", "a a b b"},
      {"hot no more", "a:h-3.h-1.x | b:.x", "a a b a b"},
      {"hot no more while it stands on the list", "a:h-3...x | b:ma-1x | c:.x", "a a b c a c a"},
  };
  Check(kRows);
}

TEST_F(SchedulingRulesTest, SuperhotTask) {
  const OrderRow kRows[] = {
      {"after each task of a loop", "s:^......x | a:.x | b:.x | c:.x", "s a s b s c s a s b s c s"},
      {"one like any other again", "s:^.v.x | a:..x", "s a s a s a"},
      {"before hot tasks", "h:h-3..x | s:^..x | a:x", "h h s a s h s"},
      {"the last to be named", "s:^.x | t:^.x | a:.x", "s t a t s a"},
      {"gets units like others", "a:G..R | s:^xGxR", "a s a s"},
  };
  Check(kRows);
}

// Hot and superhot tasks, one that sleeps until nobody else is ready, and a semaphore: the same on
// fibers and without, and on every platform.
TEST_F(SchedulingRulesTest, BothModesRunInTheSameOrder) {
  for (const char* mode : {"QVSetup/Fibers=1", "QVSetup/Fibers=0"}) {
    SCOPED_TRACE(mode);
    Set(mode);
    EXPECT_EQ(RunScripts("s:^..v.x | h:h-3..x | e:xe10000000x | a:G.Rx | b:GxR",
                         [] { ZRTaskSetFriendliness(0); }),
              "s h s h s e h a s a b e");
  }
}

}  // namespace
