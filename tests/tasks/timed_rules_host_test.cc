// Who wakes when, on a clock that moves only when somebody sleeps or keeps the processor.
#include "base/clock.h"
#include "platform/host/control.h"
#include "tasks/kernel_settings.h"
#include "tasks/kernel_state.h"
#include "tests/tasks/task_scripts.h"

namespace {

// The kernel's clock begins at a second; both starts are whole turns of the wheel.
constexpr uint64_t kStart = 1000000;
constexpr uint64_t kStartBelow32Bits = 4294900000;

struct TimedRow {
  const char* name;
  const char* scripts;
  const char* order;
  int32_t friendliness = 1;
  const char* setting = "QVSetup/Sleep=-1";
};

class TimedRulesTest : public test::ScriptTest {
 protected:
  TimedRulesTest() {
    keep_processor = host::AdvanceMicroseconds;
    restart_clock = [] { RestartClock(kStart); };
  }
  ~TimedRulesTest() override { host::ThawTicks(); }

  static void RestartClock(uint64_t now) {
    host::FreezeMicroseconds(kStart);
    qv::ResetClockForTest();
    ZRMicroseconds(true);
    host::AdvanceMicroseconds(now - ZRMicroseconds(true));
  }

  std::string RunRow(const TimedRow& row, uint64_t start) {
    RestartClock(start);
    ZRTaskSetIdleHook(nullptr);
    ZRTaskSetFriendliness(1);
    return RunScripts(row.scripts, [&row] {
      if (row.friendliness != 0) return;
      ZRTaskSetFriendliness(0);
      // Somebody must move the clock.
      ZRTaskSetIdleHook([](uint32_t) { host::AdvanceMicroseconds(1000); });
    });
  }

  // Nothing happens differently where the clock outgrows 32 bits.
  template <size_t N>
  void Check(const TimedRow (&rows)[N]) {
    for (const TimedRow& row : rows) {
      SCOPED_TRACE(row.name);
      Set(row.setting);
      for (const uint64_t start : {kStart, kStartBelow32Bits}) {
        SCOPED_TRACE(start);
        EXPECT_EQ(RunRow(row, start), row.order);
      }
    }
  }
};

TEST_F(TimedRulesTest, Wheel) {
  const TimedRow kRows[] = {
      {"in the order of their times", "a:s5000t | b:s2000t | c:s9000t", "b@2 a@5 c@9"},
      {"one slot, first in, first out", "a:s5900t | b:s5100t", "a@6 b@6"},
      {"a full turn away and more", "a:s150000t | b:s305000t | c:s50000t", "c@50 a@150 b@305"},
      {"after a long run all slots, in their order",
       "a:s150000t | b:s120000t | c:s199000t | d:s301000t | e:+250000x",
       "e b@250 a@250 c@250 d@301"},
      {"a turn later one slot; the others wait a turn more",
       "a:s99000t | b:s1000t+100000t | c:s100000t | d:s101000t", "b@1 b@101 d@101 a@199 c@200"},
      {"a little later all", "a:s99000t | b:s1000t+101000t | c:s100000t | d:s101000t",
       "b@1 b@102 c@102 d@102 a@102"},
      {"past the last slot", "a:s98000t | b:s103000t | c:s95000t+9000t", "c@95 c@104 a@104 b@104"},
      {"hot, to the hot list", "a:s2000t | b:h-3s2000t", "b@2 a@2"},
      {"superhot, before all", "a:s2000t | b:h-3s2000t | s:^s2000t", "s@2 b@2 a@2"},
      {"a signal ends it", "a:s9000t | b:s2000*at", "b@2 a@2"},
      {"sleep at each loop end", "a:tytyt", "a@7 a@14 a@21", 1, "QVSetup/Sleep=7"},
  };
  Check(kRows);
}

TEST_F(TimedRulesTest, EarlyWakes) {
  const TimedRow kRows[] = {
      {"none while the idle task may sleep", "a:e5000t", "a@5", 1},
      {"for want of anything else", "a:e5000t", "a@0", 0},
      {"the first slot first", "a:e5000t | b:e3000t", "b@0 a@0", 0},
      {"not while another is ready", "a:e5000t | b:.+1000.+1000.t", "b b b b@2 a@2", 0},
      {"only heads of slots", "a:s3000t | b:e3900t", "a@3 b@3", 0},
      {"hot ones too", "a:h-3e5000t", "a@1", 0},
      {"not when that was not asked for", "a:s5000t", "a@5", 0},
  };
  Check(kRows);
}

TEST_F(TimedRulesTest, IdleSleeps) {
  const TimedRow kRows[] = {
      {"automatic: a millisecond", "a:s1500t", "a@2", 1, "QVSetup/IdleSleep=-2"},
      {"as set", "a:s4000t", "a@6", 1, "QVSetup/IdleSleep=3"},
      {"at most a second", "a:s4000t", "a@1000", 1, "QVSetup/IdleSleep=5000"},
  };
  Check(kRows);
  // Never, with the mode off and by setting: only the hook moves the clock.
  host::ResetCallCounts();
  EXPECT_EQ(RunRow({"", "a:s4000t", "", 0}, kStart), "a@4");
  EXPECT_EQ(host::CallsMade("SleepEx"), 0u);
}

TEST_F(TimedRulesTest, ParkedLists) {
  const char* const kParked = "QVSetup/UseParkedTasks=1";
  const TimedRow kRows[] = {
      {"behind the time", "a:s1001t", "a@2", 1, kParked},
      {"one at each check", "a:s1001t | b:s1001t | c:s1001t", "a@2 b@3 c@4", 1, kParked},
      {"all that are due, where early is allowed", "a:e1001t | b:e1001t", "a@2 b@2", 1, kParked},
      {"the second limit is short", "a:s100001t", "a@2", 1, kParked},
      {"not where early is allowed", "a:e100001t", "a@101", 1, kParked},
      {"the third and the fourth", "a:s500001t | b:s1000001t", "a@501 b@1001", 1, kParked},
      {"others go to the wheel", "a:s1002t | b:s5000t", "a@2 b@5", 1, kParked},
      {"for want of anything else", "a:e500001t | b:e1001t", "b@0 a@0", 0, kParked},
      {"the wheel's first", "a:e1001t | b:e7000t", "b@0 a@0", 0, kParked},
      {"all, when the clock begins anew", "a:s1000001t | b:s30000~x", "b a@0", 1, kParked},
  };
  Check(kRows);
}

// The least number of hot picks in a loop; half of the tasks where that is more.
TEST_F(TimedRulesTest, HotBudget) {
  const struct {
    const char* name;
    int tasks;
    int64_t budget;
  } kRows[] = {{"the setting", 10, 100}, {"half of the tasks", 400, 200}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    RunTasks([&] {
      for (int i = 0; i < row.tasks - 2; ++i) Spawn("a", [] { ZRTaskYield(); });
      Spawn("b", [&row] { EXPECT_EQ(qv::TheKernel().hot_budget, row.budget); });
    });
  }
}

}  // namespace
