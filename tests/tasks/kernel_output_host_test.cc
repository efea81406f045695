// What the kernel writes about itself: trace lines by level, reports, and the list of tasks. On a
// frozen clock, so that every line is known.
#include <algorithm>
#include <string>

#include "base/clock.h"
#include "platform/host/control.h"
#include "tasks/kernel_settings.h"
#include "tasks/task_list_report.h"
#include "tasks/task_messages.h"
#include "tasks/task_statistics.h"
#include "tasks/worker_link.h"
#include "tests/tasks/task_scripts.h"

namespace {

class KernelOutputTest : public test::ScriptTest {
 protected:
  KernelOutputTest() { keep_processor = host::AdvanceMicroseconds; }
  ~KernelOutputTest() override { host::ThawTicks(); }

  // The kernel's clock stands at a second.
  static void StopClock() {
    host::FreezeMicroseconds(6000000);
    qv::ResetClockForTest();
    ZRMicroseconds(true);
    host::TakeDebugOutput();
  }
  static std::string ForDebugger() {
    std::string all;
    for (const std::string& text : host::TakeDebugOutput()) all += text;
    return all;
  }
  // Puts a star in place of each run of these characters behind the mark.
  static std::string Blot(std::string text, const std::string& mark, const char* characters) {
    for (size_t at = 0; (at = text.find(mark, at)) != std::string::npos;) {
      at += mark.size();
      const size_t end = std::min(text.find_first_not_of(characters, at), text.size());
      if (end > at) text.replace(at, end - at, "*");
    }
    return text;
  }
  // Addresses and the room on stacks differ from run to run.
  static std::string WithoutAddresses(std::string text) {
    for (const char* mark : {"Created task ", "Fiber=", "msg=", "io=", "SemaWait ("}) {
      text = Blot(text, mark, "0123456789ABCDEF");
    }
    text = Blot(text, "Stack=65536 (", "0123456789");
    return Blot(text, "LWM=", "0123456789");
  }
};

const char kFirstScan[] =
    "1000000 EndOfLoop. In timed wheel 0 \n"
    "start:0, end:99 elapsed 1000000\n";

TEST_F(KernelOutputTest, TraceByLevel) {
  const std::string created =
      "Created task * with 61440-byte automatic stack.\n"
      "Created task * with 65536-byte automatic stack.\n"
      "Created task * with 65536-byte automatic stack.\n"
      "HandleTaskSwitch(main -> a)\n";
  const struct {
    const char* level;
    std::string log, for_debugger;
  } kRows[] = {
      {"1", "", ""},
      {"2", created, ""},
      {"3", created,
       "start:0, end:99 elapsed 1000000\n"
       "1000000 HandleTaskSwitch(a -> Task 0000000000000003) 1000000 0 \n"
       "1000000 HandleTaskSwitch(0000000000000003 -> IdleTask) 1000000 0 \n"
       "start:0, end:1 elapsed 1000\n"
       "1001000 HandleTaskSwitch(IdleTask -> IdleTask) 1000000 0 \n"
       "start:1, end:2 elapsed 1000\n"
       "1002000 HandleTaskSwitch(IdleTask -> Task 0000000000000003) 1001000 0 \n"
       "1002000 HandleTaskSwitch(IdleTask -> main) 1002000 1000 \n"},
      {"4", created,
       std::string(kFirstScan) +
           "1000000 ZRTaskYieldMicros(2000,FALSE) slot 2 for 'a' 1002000.\n"
           "1000000 HandleTaskSwitch(a -> Task 0000000000000003) 1000000 0 \n"
           "1000000 ZRTaskYieldMicros(1500,TRUE) slot 1 for #0000000000000003h.\n"
           "1000000 HandleTaskSwitch(0000000000000003 -> IdleTask) 1000000 0 \n"
           "ZRTask: No work -- running idle task.\n"
           "1001000 EndOfLoop. In timed wheel 2 \n"
           "start:0, end:1 elapsed 1000\n"
           "1001000 EndOfLoop done . In timed wheel 2 \n"
           "1001000 HandleTaskSwitch(IdleTask -> IdleTask) 1000000 0 \n"
           "ZRTask: No work -- running idle task.\n"
           "1002000 EndOfLoop. In timed wheel 2 \n"
           "start:1, end:2 elapsed 1000\n"
           "1002000 ZRTask: Timed wake slot 1 () late 500.\n"
           "1002000 ZRTask: Timed wake slot 2 (a) late 0.\n"
           "1002000 EndOfLoop done . In timed wheel 0 \n"
           "1002000 HandleTaskSwitch(IdleTask -> Task 0000000000000003) 1001000 0 \n"
           "1002000 HandleTaskSwitch(IdleTask -> main) 1002000 1000 \n"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.level);
    StopClock();
    Set(std::string("Debug/Tasks=") + row.level);
    RunTasks([&] {
      Spawn("a", [] { ZRTaskYieldMicros(2000, false); });
      Spawn("", [] { ZRTaskYieldMicros(1500, true); });
    });
    EXPECT_EQ(WithoutAddresses(printed), row.log);
    EXPECT_EQ(ForDebugger(), row.for_debugger);
  }
}

TEST_F(KernelOutputTest, TraceOfRareDecisions) {
  const struct {
    const char* name;
    const char* setting;
    int32_t friendliness;
    const char* scripts;
    std::string for_debugger;
  } kRows[] = {
      {"forced early wake", "QVSetup/UseParkedTasks=0", 0, "a:e5000",
       std::string(kFirstScan) + "1000000 ZRTaskYieldMicros(5000,TRUE) slot 5 for 'a' 1005000.\n"
                                 "ZRTask: Alternate list empty too (ready2).\n"
                                 "1000000 ZRTask: Timed wake (a).\n"
                                 "1000000 HandleTaskSwitch(a -> a) 1000000 0 \n"
                                 "ZRTask: Alternate list empty too (ready2).\n"
                                 "1000000 HandleTaskSwitch(IdleTask -> main) 1000000 0 \n"},
      {"only the superhot task", "QVSetup/UseParkedTasks=0", 1, "s:^y | a:y",
       std::string(kFirstScan) + "1000000 HandleTaskSwitch(s -> a) 1000000 0 \n"
                                 "ZRTask: Superhot task ready but no other ready tasks.\n"
                                 "1000000 HandleTaskSwitch(a -> s) 1000000 0 \n"
                                 "1000000 HandleTaskSwitch(IdleTask -> main) 1000000 0 \n"},
      {"parked", "QVSetup/UseParkedTasks=1", 1, "a:s1001",
       "1000000 EndOfLoop done . In timed wheel 0 \n"
       "1000000 ZRTaskYieldMicros(1001,FALSE) for 'a' 1001001.\n"
       "1000000 HandleTaskSwitch(a -> IdleTask) 1000000 0 \n"
       "ZRTask: No work -- running idle task.\n"
       "1001000 EndOfLoop done . In timed wheel 0 \n"
       "1001000 HandleTaskSwitch(IdleTask -> IdleTask) 1000000 0 \n"
       "ZRTask: No work -- running idle task.\n"
       "1002000 EndOfLoop done . In timed wheel 0 \n"
       "1002000 HandleTaskSwitch(IdleTask -> a) 1001000 0 \n"
       "1002000 HandleTaskSwitch(IdleTask -> main) 1002000 1000 \n"},
  };
  Set("Debug/Tasks=4");
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    Set(row.setting);
    StopClock();
    RunScripts(row.scripts, [&row] { ZRTaskSetFriendliness(row.friendliness); });
    EXPECT_EQ(ForDebugger(), row.for_debugger);
  }
}

TEST_F(KernelOutputTest, LevelSixListsTheTasksAtEachLoopEndAndWaits) {
  Set("Debug/Tasks=6");
  StopClock();
  uint32_t loops = 0;
  RunTask([&] {
    ZRTaskYield();
    EXPECT_EQ(ZRMicroseconds(true), 1200000u);
    loops = qv::GetKernelStatistics().loops;
  });
  EXPECT_EQ(loops, 2u);
  const std::string text = ForDebugger();
  size_t lists = 0;
  for (size_t at = 0; (at = text.find("List of Kernel Tasks:\n", at)) != std::string::npos; ++at) {
    ++lists;
  }
  EXPECT_EQ(lists, 3u);  // and one when it has ended
}

TEST_F(KernelOutputTest, SleepsAreReported) {
  const struct {
    const char* setting;
    const char* log;
  } kRows[] = {
      {"QVSetup/Sleep=-1", ""},
      {"QVSetup/IdleSleep=-2", ""},
      {"QVSetup/IdleSleep=-1", "ZRTask: Idle sleep time set to NEVER.\n"},
      {"QVSetup/IdleSleep=7", "ZRTask: Idle sleep time set to 7 ms.\n"},
      {"QVSetup/Sleep=5000",
       "ZRTask: Sleep time (friendliness) set to 1000 ms.\n"
       "ZRTask: Idle sleep time set to 7 ms.\n"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.setting);
    Set(row.setting);
    Run([] {});
    EXPECT_EQ(printed, row.log);
  }
}

TEST_F(KernelOutputTest, LatencyAboveTheThreshold) {
  static int tracebacks;
  tracebacks = 0;
  qv::GlobalHooks().print_traceback = [](uint32_t) { ++tracebacks; };
  StopClock();
  RunScripts("a:+5000y+5999y+6000y+9000", [] {
    const KernelParams params = {
        .sleep = UINT32_MAX, .idle_sleep = UINT32_MAX, .longest_latency = 5, .trace_latency = 1};
    ZRTaskSetParams(&params);
  });
  EXPECT_EQ(printed,
            "ZRTask: Longest latency was 6 milliseconds.\n"
            "ZRTask: Longest latency was 9 milliseconds.\n");
  EXPECT_EQ(tracebacks, 2);
}

TEST_F(KernelOutputTest, AKernelWithoutTasksSaysSo) {
  static int tracebacks;
  tracebacks = 0;
  qv::GlobalHooks().print_traceback = [](uint32_t) { ++tracebacks; };
  for (const char* mode : {"QVSetup/Fibers=1", "QVSetup/Fibers=0"}) {
    Set(mode);
    StopClock();
    Run([] {
      ZRTaskLeaveCritical();
      HandleTaskSwitch(nullptr, EndOfLoop());
    });
    EXPECT_EQ(ForDebugger(), "ZRTask: *** ERROR - QV kernel started with no tasks! ***\n");
  }
  EXPECT_EQ(tracebacks, 2);
}

// The units are taken all the same; a waiter in the wrong state goes on without any.
TEST_F(KernelOutputTest, SemaphoresThatCannotBlockSaySo) {
  static ZRSemaphore* semaphore;
  static TaskId waiter;
  StopClock();
  RunTasks([this] {
    semaphore = ZRTaskNewSemaphore(0);
    EXPECT_TRUE(ZRTaskGetSemaphore(semaphore, 1, true));  // no task: silent
    EXPECT_EQ(semaphore->count, -1);
    waiter = Spawn("waiter", [this] {
      ZRTaskGetSemaphore(semaphore, 7, true);
      EXPECT_EQ(semaphore->count, -2);
      Log("on");
    });
    Spawn("a", [] {
      {
        qv::CriticalRegion region;
        EXPECT_TRUE(ZRTaskGetSemaphore(semaphore, 3, true));
        EXPECT_EQ(semaphore->count, -4);
      }
      ZRTaskFindTask(waiter)->state = qv::TaskState::kWaiting;
      ZRTaskRelSemaphore(semaphore, 5);
      EXPECT_EQ(semaphore->count, 1);
      qv::TheWorkerLink().forget_task = [](TaskId) {
        qv::TheWorkerLink().forget_task = nullptr;
        EXPECT_TRUE(ZRTaskGetSemaphore(semaphore, 3, true));
      };
    });
    Spawn("b", [] {
      ZRTaskYield();
      ZRTaskDisposeSemaphore(&semaphore);
    });
  });
  EXPECT_EQ(TakeLog(), "on");
  EXPECT_EQ(ForDebugger(),
            "ZRTask: Semaphore block ignored while in critical region!\n"
            "Illegal TCB state in ZRTaskRelSemaphore\n"
            "ZRTask: Semaphore block ignored while in EndTask!\n");
}

// --- the list ---

constexpr uint32_t kNumber = 2;  // of the first task behind the idle task

std::string& Output() {
  static std::string output;
  return output;
}
std::string Line(TaskId task) {
  Output().clear();
  ZRTaskDumpTask([](const char* text) { Output() += text; }, task);
  return Output();
}

struct StateRow {
  const char* name;
  std::function<void()> body;
  const char* tail;
};

TEST_F(KernelOutputTest, TaskLines) {
  static ZRSemaphore* semaphore;
  static int job;
  std::vector<TaskId> tasks;
  const StateRow kRows[] = {
      {"w", [] { ZRTaskWaitEvents(5); }, "[Waiting (mask=00000005h)]\n"},
      {"r", [&] { ZRTaskSendValue(tasks[0], 1, nullptr); }, "[ReplyWait (msg=*)]\n"},
      {"i", [] { qv::WaitForJob(&job); }, "[IOWait (io=*)]\n"},
      {"t", [] { ZRTaskYieldMicros(12345, false); }, "[TimedWait (wake=12345)]\n"},
      {"s", [] { ZRTaskGetSemaphore(semaphore, 2, true); }, "[SemaWait (*,2)]\n"},
      {"y", [] { ZRTaskYield(); }, "[Ready]\n"},
  };
  auto check = [&](const std::string& middle, const char* stack) {
    for (size_t i = 0; i < std::size(kRows); ++i) {
      char head[64];
      snprintf(head, sizeof head, "    Task %016Xh (%s)", static_cast<unsigned>(kNumber + i),
               kRows[i].name);
      EXPECT_EQ(WithoutAddresses(Line(tasks[i])), head + middle + stack + kRows[i].tail);
    }
  };
  for (const char* mode : {"1", "0"}) {
    SCOPED_TRACE(mode);
    Set(std::string("QVSetup/Fibers=") + mode);
    StopClock();
    RunTasks([&] {
      const char* const stack = *mode == '1' ? " Fiber=* " : " Stack=65536 (* free, LWM=*) ";
      semaphore = ZRTaskNewSemaphore(0);
      tasks.clear();
      for (const StateRow& row : kRows) tasks.push_back(Spawn(row.name, row.body));
      Spawn("watcher", [&, stack] {
        check(" ltasks=7 secs=0.0 runs=1 lruns=1(14%)", stack);
        host::AdvanceMicroseconds(1500000);
        ZRTaskYield();
        // A new loop, in which only one of them has run, and ended.
        EXPECT_EQ(Line(tasks.back()), "");
        EXPECT_NE(Line(0).find(" ltasks=2 secs=1.5 runs=2 lruns=1(50%)"), std::string::npos);
        const std::string line = WithoutAddresses(Line(tasks[0]));
        EXPECT_NE(line.find(" ltasks=2 secs=0.0" + std::string(stack)), std::string::npos) << line;
        for (const TaskId task : tasks) ZRTaskKill(task);
        qv::CompleteJob(tasks[2], &job);
        ZRTaskDisposeSemaphore(&semaphore);
      });
    });
  }
}

TEST_F(KernelOutputTest, ListOfTasks) {
  StopClock();
  RunTasks([&] {
    const TaskId waits = Spawn("waits", [] { ZRTaskWaitEvents(1); });
    const TaskId sleeps = Spawn("sleeps", [] { ZRTaskYieldMicros(7000, false); });
    const TaskId hot = Spawn("hot", [] {
      ZRTaskSetHotMode(0, kTaskAlwaysHot);
      for (;;) ZRTaskYield();
    });
    const TaskId superhot = Spawn("superhot", [] {
      ZRTaskSetSuperHot(true, 0);
      for (;;) ZRTaskYield();
    });
    const TaskId ready = Spawn("ready", [] { ZRTaskYield(); });
    Spawn("watcher", [=] {
      host::TakeDebugOutput();
      ZRTaskDumpList();
      const std::string list = ForDebugger();
      const std::string none = "  <empty>\n";
      std::string expected = "List of Kernel Tasks:\n  SuperHot Task:\n" + Line(superhot) +
                             "  Hot List:\n" + Line(hot) + "  Running List:\n" + Line(0) +
                             "  Ready List:\n" + Line(ready) + "  Wait List:\n";
      for (int slot = 0; slot < 100; ++slot) {
        expected += "  Timed List:\n" + (slot == 7 ? Line(sleeps) : none);
      }
      expected += "---- End of list ----\nHot HWM Per Task: 3\nHot HWM Per Loop: 0\n";
      EXPECT_EQ(list, expected);
      for (const TaskId task : {waits, hot, superhot}) ZRTaskKill(task);
    });
  });
}

}  // namespace
