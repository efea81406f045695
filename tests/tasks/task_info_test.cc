// What tasks carry and what others see of them.
#include <vector>

#include "base/hooks.h"
#include "tasks/task_object.h"
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
