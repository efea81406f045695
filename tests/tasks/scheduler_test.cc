#include <string>
#include <vector>

#include "base/hooks.h"
#include "tasks/kernel_thread.h"
#include "tasks/semaphores.h"
#include "tasks/task_messages.h"
#include "tasks/task_object.h"
#include "tasks/task_statistics.h"
#include "tasks/worker_link.h"
#include "tests/tasks/kernel_fixture.h"
#include "tests/test_platform.h"

namespace {

class SchedulerTest : public test::KernelTest {};

TEST_F(SchedulerTest, TasksTakeTurnsInTheOrderOfTheirCreation) {
  RunInBothModes([this] {
    for (const char* name : {"a", "b", "c"}) {
      Spawn(name, [this] {
        for (int i = 0; i < 2; ++i) {
          LogName();
          ZRTaskYield();
        }
        Log("end");
      });
    }
  });
  EXPECT_EQ(log, "a b c a b c end end end a b c a b c end end end");
}

TEST_F(SchedulerTest, NoSwitchBeforeTheInitialRegionIsLeft) {
  EXPECT_EQ(Run([this] {
              Spawn("a", [this] { LogName(); });
              ZRTaskYield();
              Log("main");
              ZRTaskLeaveCritical(false);
              ZRTaskYield();
              Log("back");
            }),
            77);
  EXPECT_EQ(log, "main a back");
}

// One program for both modes: hot, superhot and sleeping tasks, and a semaphore.
TEST_F(SchedulerTest, BothModesRunInTheSameOrder) {
  auto program = [this] {
    static ZRSemaphore* semaphore;
    semaphore = ZRTaskNewSemaphore(2);
    for (int i = 0; i < 6; ++i) {
      const TaskId task = Spawn("t" + std::to_string(i), [this, i] {
        for (int turn = 0; turn < 5; ++turn) {
          ZRTaskGetSemaphore(semaphore, 1 + i % 2, true);
          LogName();
          ZRTaskYield();
          ZRTaskRelSemaphore(semaphore, 1 + i % 2);
          if (turn % 2 == i % 2) ZRTaskYieldMicros(0, false);
        }
      });
      if (i == 1) ZRTaskSetHotMode(task, kTaskAlwaysHot);
      if (i == 2) ZRTaskSetHotMode(task, kTaskHotOnce);
      if (i == 3) ZRTaskSetSuperHot(true, task);
    }
    Spawn("last", [] {
      while (qv::GetKernelStatistics().tasks > 2) ZRTaskYield();
      ZRTaskDisposeSemaphore(&semaphore);
    });
  };
  RunTasks(program);
  const std::string with_fibers = TakeLog();
  Set("QVSetup/Fibers=0");
  RunTasks(program);
  EXPECT_EQ(TakeLog(), with_fibers);
  EXPECT_EQ(with_fibers.size(), 30 * 3u - 1);
}

TEST_F(SchedulerTest, CreationFailsWithoutLeavingAnything) {
  const struct {
    const char* name;
    uint32_t stack;
    int failing_allocation;
  } kRows[] = {
      {"more than the largest stack", kLargestTaskStack + 16, -1},
      {"no block", 4096, 0},
      {"no property list", 4096, 1},
      {"no room in the registry", 4096, 2},
  };
  Run([&] {
    for (const auto& row : kRows) {
      SCOPED_TRACE(row.name);
      const uint32_t tasks = qv::GetKernelStatistics().tasks;
      test::FailAllocation(row.failing_allocation);
      const TaskId task = Spawn(
          "x", [] {}, row.stack);
      test::FailAllocation(-1);
      // The registry may have room without an allocation.
      if (row.failing_allocation != 2) {
        EXPECT_EQ(task, 0u);
      }
      EXPECT_EQ(qv::GetKernelStatistics().tasks, tasks + (task != 0 ? 1 : 0));
    }
    EXPECT_NE(Spawn(
                  "largest, when rounded", [] {}, kLargestTaskStack + 15),
              0u);
    EXPECT_TRUE(qv::KernelIsConsistent());
  });
  EXPECT_EQ(blocks_left, 0);
}

// Every allocation of a start fails once; what remains is no kernel, and nothing.
TEST_F(SchedulerTest, StartFailsWithoutLeavingAnything) {
  int failures = 0;
  for (int allocation = 0; allocation < 6; ++allocation) {
    test::FailAllocation(allocation);
    const int32_t result = Run([] {});
    test::FailAllocation(-1);
    EXPECT_EQ(blocks_left, 0);
    EXPECT_TRUE(ZRIsKernelThread());
    if (result == -1) ++failures;
  }
  EXPECT_GE(failures, 3);
}

TEST_F(SchedulerTest, OwnStacksAreNeverUsedTwiceAndEndWithTheArea) {
  Set("QVSetup/Fibers=0");
  Run(
      [&] {
        const TaskId first = Spawn(
            "a", [] {}, 0x8000);
        ASSERT_NE(first, 0u);
        EXPECT_EQ(Spawn(
                      "b", [] {}, 0x8010),
                  0u);
        ZRTaskKill(first);
        EXPECT_EQ(Spawn(
                      "c", [] {}, 0x8010),
                  0u);
        EXPECT_NE(Spawn(
                      "d", [] {}, 0x7C00),
                  0u);
        EXPECT_EQ(Spawn(
                      "e", [] {}, 0x8000),
                  0u);
      },
      0x10000);
}

TEST_F(SchedulerTest, AThreadWithoutRoomForTheAreaGetsNoKernel) {
  Set("QVSetup/Fibers=0");
  int32_t result = 0;
  Run([&] {});  // writes the settings
  test::RunOnThread(1 << 20, [&] {
    result = ZRTaskStartKernel(
        8 << 20, nullptr, [](uintptr_t) { return int32_t{5}; }, 0);
  });
  EXPECT_EQ(result, -1);
}

TEST_F(SchedulerTest, ASecondKernelIsRefused) {
  int32_t inner = 0;
  Run([&] {
    inner = ZRTaskStartKernel(
        0, nullptr, [](uintptr_t) { return int32_t{5}; }, 0);
  });
  EXPECT_EQ(inner, -1);
}

// --- ends and kills ---

// A task for each state, by the index of its neighbours.
enum Victim { kYields, kNew, kWaits, kSleeps, kOnSemaphore, kSends, kForIO, kGetsUnits, kVictims };

TEST_F(SchedulerTest, KilledTasksLeaveNothingInAnyState) {
  static constexpr int kOfEach = 1000 / kVictims;
  RunInBothModes(
      [this] {
        static ZRSemaphore* semaphore;
        static std::vector<TaskId> victims;
        static int done;
        semaphore = ZRTaskNewSemaphore(0);
        victims.clear();
        done = 0;
        auto victim = [](int kind) {
          uint32_t reply;
          for (;;) {
            switch (kind) {
              case kWaits:
                ZRTaskWaitEvents(1);
                break;
              case kSleeps:
                ZRTaskYieldMicros(5000000, false);
                break;
              case kOnSemaphore:
              case kGetsUnits:
                ZRTaskGetSemaphore(semaphore, 1, true);
                break;
              case kSends:
                ZRTaskSendValue(victims[kWaits], 1, &reply);
                break;
              case kForIO:
                qv::WaitForJob(&victims);
                break;
              default:
                ZRTaskYield();
            }
          }
        };
        for (int i = 0; i < kOfEach * kVictims; ++i) {
          if (i % kVictims == kNew) continue;
          victims.push_back(Spawn(
              "v", [victim, i] { victim(i % kVictims); }, 0x4000));
        }
        Spawn("killer", [this] {
          ZRTaskYield();
          ZRTaskYield();
          for (int i = 0; i < kOfEach; ++i)
            victims.push_back(Spawn(
                "new", [] {}, 0x4000));
          ZRTaskRelSemaphore(semaphore, kOfEach);
          EXPECT_TRUE(qv::KernelIsConsistent());
          for (const TaskId task : victims) ZRTaskKill(task);
          for (const TaskId task : victims) qv::CompleteJob(task, &victims);
          EXPECT_TRUE(qv::KernelIsConsistent());
          for (const TaskId task : victims) EXPECT_FALSE(ZRTaskIsValid(task));
          // The units that nobody saw are back.
          EXPECT_EQ(semaphore->count, kOfEach);
          EXPECT_TRUE(semaphore->waiters.Empty());
          ZRTaskDisposeSemaphore(&semaphore);
          EXPECT_EQ(qv::GetKernelStatistics().tasks, 2u);
          ++done;
        });
        EXPECT_EQ(done, 0);
      },
      24 << 20);
}

TEST_F(SchedulerTest, ATaskCanKillItself) {
  RunInBothModes([this] {
    for (int i = 0; i < 100; ++i) {
      Spawn("a", [this] {
        ZRTaskYield();
        log += '.';
        ZRTaskKill(0);
        log += "not reached";
      });
    }
    Spawn("b", [this] {
      for (int i = 0; i < 5; ++i) ZRTaskYield();
      Log(std::to_string(qv::GetKernelStatistics().tasks));
    });
  });
  EXPECT_EQ(log, std::string(100, '.') + " 2" + std::string(100, '.') + " 2");
}

TEST_F(SchedulerTest, ATaskInIOWaitIsKilledWhenItsJobIsCollected) {
  RunTasks([this] {
    static int job, other_job;
    static TaskId waiter;
    waiter = Spawn("waiter", [this] {
      EXPECT_TRUE(qv::WaitForJob(&job));
      Log("not reached");
    });
    Spawn("killer", [this] {
      ZRTaskKill(waiter);
      EXPECT_EQ(ZRTaskGetState(waiter), qv::TaskState::kIOWait);
      EXPECT_FALSE(qv::CompleteJob(waiter, &other_job));
      EXPECT_TRUE(qv::CompleteJob(waiter, &job));
      EXPECT_FALSE(ZRTaskIsValid(waiter));
      EXPECT_FALSE(qv::CompleteJob(waiter, &job));
      Log("killed");
    });
  });
  EXPECT_EQ(log, "killed");
}

TEST_F(SchedulerTest, ATaskThatEndsInACriticalRegionEndsTheKernel) {
  RunInBothModes([this] {
    Spawn("a", [this] {
      LogName();
      ZRTaskEnterCritical(false);
    });
    Spawn("b", [this] { LogName(); });
  });
  EXPECT_EQ(log, "a a");
  // Without fibers it is said.
  EXPECT_EQ(printed, "ZRTask: Shutdown leaving 1 orphan tasks!\n");
}

TEST_F(SchedulerTest, MainlineKilledCandidateIsReplaced) {
  RunTasks([this] {
    Spawn("a", [this] { LogName(); });
    const TaskId last = Spawn("b", [this] { LogName(); });
    ZRTaskYield();  // adopts b, cannot switch
    EXPECT_EQ(ZRTaskCurrent(), last);
    ZRTaskKill(0);
    EXPECT_FALSE(ZRTaskIsValid(last));
  });
  EXPECT_EQ(log, "a");
}

// --- what tasks carry ---

TEST_F(SchedulerTest, HooksShowTheRunningTask) {
  RunTasks([this] {
    static TaskId first;
    first = Spawn("first", [this] {
      qv::Hooks& hooks = qv::GlobalHooks();
      EXPECT_EQ(hooks.current_task(), first);
      EXPECT_TRUE(hooks.on_kernel_thread());
      EXPECT_TRUE(hooks.switching_allowed());
      char name[4];
      hooks.copy_task_name(0, name, sizeof name);
      EXPECT_STREQ(name, "fir");
      EXPECT_NE(hooks.task_local_slots(), nullptr);
      test::RunOnThread(1 << 16, [&] {
        EXPECT_EQ(hooks.current_task(), 0u);
        EXPECT_FALSE(hooks.on_kernel_thread());
        EXPECT_FALSE(hooks.switching_allowed());
        EXPECT_EQ(hooks.task_local_slots(), nullptr);
        EXPECT_STREQ(ZRTaskGetName(first), "<thread>");
        EXPECT_TRUE(ZRTaskIsHot(first));
        ZRTaskSetName("other", first, 0);
      });
      EXPECT_STREQ(ZRTaskGetName(0), "first");
      qv::CriticalRegion region;
      EXPECT_FALSE(hooks.switching_allowed());
    });
  });
  EXPECT_EQ(qv::GlobalHooks().current_task(), 0u);
  EXPECT_FALSE(qv::GlobalHooks().switching_allowed());
}

TEST_F(SchedulerTest, TheHostsVariableFollowsTheRunningTask) {
  static uintptr_t variable;
  static std::vector<uintptr_t> seen;
  seen.clear();
  Run([] {});  // writes the settings
  test::RunOnThread(1 << 20, [] {
    ZRTaskStartKernel(
        0, &variable,
        [](uintptr_t) -> int32_t {
          for (uintptr_t i = 7; i < 9; ++i) {
            ZRTaskCreate(
                0x8000,
                [](TCB*) {
                  seen.push_back(variable);
                  ZRTaskSetParam(0, variable + 100);
                  ZRTaskYield();
                  seen.push_back(variable);
                  seen.push_back(ZRTaskGetParam());
                },
                i);
          }
          ZRTaskLeaveCritical(false);
          ZRTaskYield();
          seen.push_back(variable);
          return 0;
        },
        0);
  });
  EXPECT_EQ(seen, (std::vector<uintptr_t>{7, 8, 107, 107, 108, 108, 0}));
}

struct Counter : qv::TaskObject {
  Counter(int* runs, int* deleted) : runs_(runs), deleted_(deleted) {}
  ~Counter() override { ++*deleted_; }
  void Run() override {
    ++*runs_;
    ZRTaskYield();
  }
  int* runs_;
  int* deleted_;
};

TEST_F(SchedulerTest, TaskObjectsRunOnceAndDeleteThemselves) {
  static int runs, deleted;
  runs = deleted = 0;
  RunInBothModes([this] {
    Spawn("starter", [] {
      auto* object = new Counter(&runs, &deleted);
      const TaskId task = object->Start();
      EXPECT_EQ(object->Start(), task);
      // One that is deleted before its end takes its task along.
      auto* early = new Counter(&runs, &deleted);
      const TaskId early_task = early->Start();
      delete early;
      EXPECT_FALSE(ZRTaskIsValid(early_task));
    });
  });
  EXPECT_EQ(runs, 4);
  EXPECT_EQ(deleted, 4);
}

}  // namespace
