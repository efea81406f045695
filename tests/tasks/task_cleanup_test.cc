// What is undone for a task that is killed inside its scopes.
#include "tasks/task_cleanup.h"

#include "tests/tasks/kernel_fixture.h"

namespace {

class TaskCleanupTest : public test::KernelTest {
 protected:
  // Says "end" where its scope is left, "undo" where its task is killed.
  class Scope : qv::TaskCleanup {
   public:
    Scope(TaskCleanupTest& test, const char* name)
        : TaskCleanup([](TaskCleanup* self) { static_cast<Scope*>(self)->Say("undo "); }),
          test_(test),
          name_(name) {}
    ~Scope() { Say("end "); }
    using TaskCleanup::HasTask;

   private:
    void Say(const std::string& what) { test_.Log(what + name_); }
    TaskCleanupTest& test_;
    const char* name_;
  };

  TaskId SpawnWithScopes(const std::function<void()>& stay) {
    return Spawn("victim", [this, stay] {
      { const Scope left(*this, "left"); }
      const Scope outer(*this, "outer");
      {
        const Scope inner(*this, "inner");
        EXPECT_TRUE(inner.HasTask());
        stay();
      }
      { const Scope later(*this, "later"); }
    });
  }
};

TEST_F(TaskCleanupTest, AKillUndoesFromTheInnermost) {
  constexpr char kUndone[] = "end left undo inner undo outer killed";
  const struct {
    const char* name;
    void (*stay)();
    void (*kill)(TaskId victim);
    const char* expected;
  } kRows[] = {{"ready", [] { ZRTaskYield(); }, ZRTaskKill, kUndone},
               {"waiting", [] { ZRTaskWaitEvents(1); }, ZRTaskKill, kUndone},
               {"sleeping", [] { ZRTaskYieldMillis(60000, false); }, ZRTaskKill, kUndone},
               {"by itself", [] { ZRTaskKill(0); }, [](TaskId) {}, kUndone},
               {"not at all", [] { ZRTaskYield(); }, [](TaskId) { ZRTaskYield(); },
                "end left end inner end later end outer killed"}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    RunInBothModes([&] {
      Spawn("killer", [&] {
        const TaskId victim = SpawnWithScopes(row.stay);
        ZRTaskYield();
        row.kill(victim);
        Log("killed");
        EXPECT_FALSE(ZRTaskIsValid(victim));
        EXPECT_EQ(TakeLog(), row.expected);
      });
    });
  }
}

// Tasks that are left when the kernel ends; the mainline is no task.
TEST_F(TaskCleanupTest, TheEndOfTheKernel) {
  RunTasks([&] {
    {
      const Scope mainline(*this, "mainline");
      EXPECT_FALSE(mainline.HasTask());
    }
    SpawnWithScopes([] { ZRTaskWaitEvents(1); });
    Spawn("last", [] {
      ZRTaskYield();
      ZRTaskEnterCritical();  // nobody could leave it any more: the kernel ends
    });
  });
  EXPECT_EQ(TakeLog(), "end mainline end left undo inner undo outer");
}

}  // namespace
