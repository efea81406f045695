// What tasks carry and what others see of them.
#include <vector>

#include "base/hooks.h"
#include "tasks/kernel_settings.h"
#include "tasks/kernel_state.h"
#include "tasks/local_slots.h"
#include "tasks/task_object.h"
#include "tasks/task_properties.h"
#include "tasks/task_statistics.h"
#include "tests/tasks/kernel_fixture.h"
#include "tests/test_platform.h"

namespace {

class TaskInfoTest : public test::KernelTest {};

TEST_F(TaskInfoTest, HooksShowTheRunningTask) {
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

TEST_F(TaskInfoTest, TheHostsVariableFollowsTheRunningTask) {
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

// Each task has values of its own; its blocks go with it, however it ends.
TEST_F(TaskInfoTest, LocalSlotsBelongToTheRunningTask) {
  static uint32_t slot, block_slot;
  block_slot = kNoLocalSlot;
  slot = ZRLocalAlloc();
  ZRLocalSet(slot, 99);
  RunInBothModes([this] {
    for (uintptr_t i = 0; i < 10; ++i) {
      Spawn("a", [i] {
        EXPECT_EQ(ZRLocalGet(slot), 0u);
        ZRLocalSet(slot, 1000 + i);
        auto* block = static_cast<char*>(ZRLocalGetBuffer(&block_slot, 10));
        ZRTaskYield();
        EXPECT_EQ(ZRLocalGet(slot), 1000 + i);
        EXPECT_EQ(ZRLocalGetBuffer(&block_slot, 10), block);
        if (i % 2 == 0) ZRTaskKill(0);
        ZRTaskYield();
        EXPECT_EQ(ZRLocalGet(slot), 0u);
      });
    }
    // A slot that is given back is clear for all when it is taken again.
    Spawn("b", [] {
      ZRTaskYield();
      ZRLocalFree(slot);
      EXPECT_EQ(ZRLocalAlloc(), slot);
    });
  });
  EXPECT_EQ(ZRLocalGet(slot), 0u);
  qv::ResetLocalSlotsForTest();
}

TEST_F(TaskInfoTest, WhatIsSetIsReadBack) {
  RunTasks([this] {
    EXPECT_STREQ(ZRTaskGetName(0), "<mainline>");
    EXPECT_EQ(ZRTaskGetState(1), qv::TaskState::kDead);
    EXPECT_EQ(ZRTaskTakeRuns(1), 0u);
    static TaskId first;
    first = Spawn("first", [] {
      const std::string long_name(40, 'n');
      ZRTaskSetName(long_name.c_str(), 0, 77);
      EXPECT_EQ(ZRTaskGetName(first), long_name.substr(0, 31));
      EXPECT_EQ(ZRTaskGetTag(0), 77u);
      EXPECT_EQ(ZRTaskGetNumber(0), 2u);
      EXPECT_EQ(ZRTaskGetProperty(0, kTaskNumberProperty), 2u);
      ZRTaskSetNumber(9);
      EXPECT_EQ(ZRTaskGetNumber(first), 9u);
      ZRTaskSetUserWord(0, ~uintptr_t{0});
      EXPECT_EQ(ZRTaskGetUserWord(first), ~uintptr_t{0});
      EXPECT_EQ(ZRTaskGetSerial(0), 0u);
      qv::TheKernelConfiguration().last_serial = 0xFFFFFFFE;
      EXPECT_EQ(ZRTaskAssignSerial(0), 0xFFFFFFFFu);
      EXPECT_EQ(ZRTaskAssignSerial(0), 1u);  // 0 is none
      EXPECT_EQ(ZRTaskGetSerial(first), 1u);
      // Values under keys, in any order, the largest and the smallest too.
      const uint32_t keys[] = {5, 0xFFFFFFFF, 0, 7, 6, 0x80000000};
      for (const uint32_t key : keys) EXPECT_TRUE(ZRTaskSetProperty(0, key, key + uintptr_t{1}));
      test::FailAllocation(0);
      EXPECT_FALSE(ZRTaskSetProperty(0, 8, 1));
      EXPECT_TRUE(ZRTaskSetProperty(0, 7, 70));  // in place, needs no memory
      test::FailAllocation(-1);
      for (const uint32_t key : keys) {
        EXPECT_EQ(ZRTaskGetProperty(first, key), key == 7 ? 70 : key + uintptr_t{1});
      }
      EXPECT_EQ(ZRTaskGetProperty(0, 8), 0u);
    });
    Spawn("second", [] { EXPECT_EQ(ZRTaskPrevious(), 0u); });
  });
}

TEST_F(TaskInfoTest, HotModes) {
  const struct {
    std::vector<int32_t> set;
    int32_t mode;
    bool is_hot;
  } kRows[] = {
      {{}, 0, false},
      {{kTaskAlwaysHot}, kTaskAlwaysHot, true},
      {{kTaskNeverHot}, kTaskNeverHot, false},
      {{kTaskHotOnce}, kTaskHotOnce, true},
      {{kTaskHotOnce, 0}, 0, false},
      {{kTaskNeverHot, kTaskHotOnce}, kTaskNeverHot, false},
      {{kTaskNeverHot, kTaskAlwaysHot}, kTaskAlwaysHot, true},
      {{kTaskAlwaysHot, kTaskNeverHot}, kTaskNeverHot, false},
      {{kTaskAlwaysHot, 5}, kTaskAlwaysHot, true},
      {{kTaskAlwaysHot, kTaskHotReset}, 0, false},
      {{kTaskNeverHot, kTaskHotReset, kTaskHotOnce}, kTaskHotOnce, true},
  };
  Run([&] {
    for (const auto& row : kRows) {
      const TaskId task = Spawn("a", [] {});
      for (const int32_t mode : row.set) ZRTaskSetHotMode(task, mode);
      EXPECT_EQ(ZRTaskGetHotMode(task), row.mode);
      EXPECT_EQ(ZRTaskIsHot(task), row.is_hot);
    }
  });
}

TEST_F(TaskInfoTest, CountersBeginAnewWithEachEpoch) {
  RunTasks([this] {
    static TaskId counted;
    counted = Spawn("counted", [] {
      for (int i = 0; i < 4; ++i) ZRTaskYield();
    });
    Spawn("reader", [] {
      qv::TaskStatistics statistics;
      ZRTaskYield();
      ASSERT_TRUE(qv::GetTaskStatistics(counted, &statistics));
      EXPECT_EQ(statistics.runs, 2u);
      EXPECT_EQ(ZRTaskTakeRuns(counted), 2u);
      EXPECT_EQ(ZRTaskTakeRuns(counted), 0u);
      const uint32_t switches = qv::GetKernelStatistics().switches;
      ZRTaskResetStatistics();
      EXPECT_EQ(qv::GetKernelStatistics().switches_at_reset, switches);
      EXPECT_EQ(qv::GetKernelStatistics().timed_loops, 0u);
      ZRTaskYield();
      qv::GetTaskStatistics(counted, &statistics);
      EXPECT_EQ(statistics.runs, 1u);
      EXPECT_FALSE(qv::GetTaskStatistics(1, &statistics));
      EXPECT_EQ(statistics.runs, 0u);
    });
  });
}

TEST_F(TaskInfoTest, ParametersOfTheKernel) {
  const uint32_t never = UINT32_MAX, automatic = UINT32_MAX - 1;
  const struct {
    const char* name;
    std::function<void()> set;
    KernelParams expected;
  } kRows[] = {
      {"friendliness 0", [] { ZRTaskSetFriendliness(0); }, {never, never, 0, 1, 1}},
      {"friendliness 2", [] { ZRTaskSetFriendliness(2); }, {1, automatic, 0, 1, 1}},
      {"any other", [] { ZRTaskSetFriendliness(-7); }, {never, automatic, 0, 1, 1}},
      {"all of them",
       [] {
         const KernelParams params = {1000, 0, 5, 0, 0};
         ZRTaskSetParams(&params);
       },
       {1000, 0, 5, 0, 0}},
      {"sleeps and threshold that say no change",
       [=] {
         const KernelParams params = {1001, never, automatic, 3, 4};
         ZRTaskSetParams(&params);
       },
       {1000, 0, 5, 3, 4}},
      {"the defaults", [] { ZRTaskSetParams(nullptr); }, {never, automatic, 0, 1, 1}},
  };
  Set("QVSetup/IOYield=1");
  Run([&] {
    ZRTaskSetParams(nullptr);
    for (const auto& row : kRows) {
      SCOPED_TRACE(row.name);
      row.set();
      KernelParams params;
      ZRTaskGetParams(&params);
      EXPECT_EQ(params, row.expected);
    }
    EXPECT_EQ(ZRTaskGetFriendliness(), 1);
  });
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

TEST_F(TaskInfoTest, TaskObjectsRunOnceAndDeleteThemselves) {
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
