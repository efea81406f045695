// Tasks that end or are killed: nothing of them stays, and nobody waits for them.
#include <vector>

#include "tasks/semaphores.h"
#include "tasks/task_messages.h"
#include "tasks/task_statistics.h"
#include "tasks/worker_link.h"
#include "tests/tasks/kernel_fixture.h"

namespace {

using qv::TaskState;

constexpr int kVictims = 1000;
constexpr uint32_t kVictimStack = 0x4000;
constexpr uint32_t kVictimArea = kVictims * kVictimStack + (1 << 20);

// One run of victims and their killer.
struct Scene {
  ZRSemaphore* semaphore = nullptr;
  TaskId killer = 0;
  std::vector<TaskId> victims = {};
  bool served = false;  // the one behind a victim
};

class TaskEndsTest : public test::KernelTest {
 protected:
  TaskEndsTest() { stack_size = kVictimStack; }

  Scene scene;
};

struct KillRow {
  const char* name;
  TaskState state;  // in which they are killed
  void (*body)(Scene& scene);
  // By the killer, once every victim has run.
  void (*prepare)(Scene& scene) = [](Scene&) {};
  void (*check)(Scene& scene) = [](Scene&) {};
  const char* setting = "QVSetup/UseParkedTasks=0";
};

void YieldForEver(Scene&) {
  for (;;) ZRTaskYield();
}
void TakeOne(Scene& scene) {
  ZRTaskGetSemaphore(scene.semaphore, 1, true);
  YieldForEver(scene);
}

const KillRow kKillRows[] = {
    {"ready", TaskState::kReady, YieldForEver},
    {"ready, hot", TaskState::kReady,
     [](Scene& scene) {
       ZRTaskSetHotMode(0, kTaskAlwaysHot);
       YieldForEver(scene);
     }},
    {"ready, superhot", TaskState::kReady,
     [](Scene& scene) {
       ZRTaskSetSuperHot(true, 0);
       YieldForEver(scene);
     },
     [](Scene& scene) { EXPECT_TRUE(ZRTaskIsSuperHot(scene.victims.back())); }},
    {"waiting for events", TaskState::kWaiting, [](Scene&) { ZRTaskWaitEvents(1); }},
    {"ready, signalled", TaskState::kReady, [](Scene&) { ZRTaskWaitEvents(1); },
     [](Scene& scene) {
       for (const TaskId victim : scene.victims) ZRTaskSignal(victim, 1);
     }},
    {"waiting for a reply", TaskState::kReplyWait,
     [](Scene& scene) { ZRTaskSendValue(scene.killer, 1, nullptr); },
     [](Scene&) { EXPECT_NE(ZRTaskGetEvents(false) & qv::kMessageEvent, 0u); },
     [](Scene&) {
       EXPECT_EQ(ZRTaskGetMessage(false), nullptr);
       EXPECT_EQ(ZRTaskGetEvents(false), 0u);
     }},
    {"waiting for a reply to a message that was taken", TaskState::kReplyWait,
     [](Scene& scene) { ZRTaskSendValue(scene.killer, 1, nullptr); },
     [](Scene&) {
       while (ZRTaskGetMessage(false) != nullptr) {
       }
     }},
    {"waiting for the reply of another victim", TaskState::kReplyWait,
     [](Scene& scene) {
       uint32_t reply = 0;
       ZRTaskSendValue(scene.victims.back(), 1, &reply);
     },
     [](Scene& scene) { EXPECT_EQ(ZRTaskGetState(scene.victims.back()), TaskState::kReplyWait); }},
    {"waiting for a worker", TaskState::kIOWait, [](Scene& scene) { qv::WaitForJob(&scene); }},
    {"sleeping", TaskState::kTimedWait, [](Scene&) { ZRTaskYieldMicros(50000000, true); }},
    {"parked", TaskState::kTimedWait, [](Scene&) { ZRTaskYieldMicros(50000001, true); },
     [](Scene&) {}, [](Scene&) {}, "QVSetup/UseParkedTasks=1"},
    {"waiting for a semaphore", TaskState::kSemaWait, TakeOne, [](Scene&) {},
     [](Scene& scene) { EXPECT_TRUE(scene.semaphore->waiters.Empty()); }},
    {"given units that it has not seen", TaskState::kReady, TakeOne,
     [](Scene& scene) { ZRTaskRelSemaphore(scene.semaphore, kVictims); },
     [](Scene& scene) { EXPECT_EQ(scene.semaphore->count, kVictims); }},
};

TEST_F(TaskEndsTest, KilledInEachState) {
  for (const KillRow& row : kKillRows) {
    SCOPED_TRACE(row.name);
    Set(row.setting);
    RunInBothModes(
        [&] {
          scene = {.semaphore = ZRTaskNewSemaphore(0)};
          for (int i = 0; i < kVictims; ++i) {
            scene.victims.push_back(Spawn("victim", [&] { row.body(scene); }));
          }
          scene.killer = Spawn("killer", [&] {
            ZRTaskYield();
            row.prepare(scene);
            EXPECT_TRUE(qv::KernelIsConsistent());
            for (const TaskId victim : scene.victims) {
              EXPECT_EQ(ZRTaskGetState(victim), row.state);
              ZRTaskKill(victim);
            }
            for (const TaskId victim : scene.victims) qv::CompleteJob(victim, &scene);
            row.check(scene);
            EXPECT_TRUE(qv::KernelIsConsistent());
            EXPECT_EQ(qv::GetKernelStatistics().tasks, 2u);
            ZRTaskDisposeSemaphore(&scene.semaphore);
          });
        },
        kVictimArea);
  }
}

TEST_F(TaskEndsTest, KilledBeforeTheirFirstRun) {
  RunInBothModes(
      [&] {
        scene = {};
        Spawn("killer", [&] {
          for (int i = 0; i < kVictims; ++i) {
            scene.victims.push_back(Spawn("victim", [&] { Log("not reached"); }));
          }
          for (const TaskId victim : scene.victims) ZRTaskKill(victim);
          EXPECT_EQ(qv::GetKernelStatistics().tasks, 2u);
        });
      },
      kVictimArea);
  EXPECT_EQ(log, "");
}

TEST_F(TaskEndsTest, TheCurrentTask) {
  RunInBothModes(
      [this] {
        for (int i = 0; i < kVictims; ++i) {
          Spawn("a", [this, i] {
            ZRTaskYield();
            log += '.';
            // By 0 and by its id.
            ZRTaskKill(i % 2 == 0 ? 0 : ZRTaskCurrent());
            Log("not reached");
          });
        }
        Spawn("b", [this] {
          for (int i = 0; i < 5; ++i) ZRTaskYield();
          Log(std::to_string(qv::GetKernelStatistics().tasks));
        });
      },
      kVictimArea);
  const std::string all(kVictims, '.');
  EXPECT_EQ(log, all + " 2" + all + " 2");
}

// Who waits for a task that goes, goes on.
TEST_F(TaskEndsTest, NobodyWaitsForATaskThatIsGone) {
  for (const bool kill : {false, true}) {
    SCOPED_TRACE(kill);
    RunInBothModes(
        [&] {
          scene = {.semaphore = ZRTaskNewSemaphore(1)};
          const TaskId server = Spawn("server", [&] {
            ZRTaskGetSemaphore(scene.semaphore, 1, true);
            ZRTaskGetMessage(true);  // one is taken, the others stay queued
            if (!kill) return;
            // Waits for two units, in front of others who want one.
            ZRTaskGetSemaphore(scene.semaphore, 2, true);
          });
          for (int i = 0; i < 100; ++i) {
            Spawn("client", [&, server] {
              uint32_t reply = 5;
              EXPECT_TRUE(ZRTaskSendValue(server, 1, &reply));
              EXPECT_EQ(reply, 0u);
              log += 'c';
            });
          }
          Spawn("killer", [&, server] {
            ZRTaskYield();
            ZRTaskYield();
            if (kill) {
              Spawn("waiter", [&] {
                ZRTaskGetSemaphore(scene.semaphore, 1, true);
                scene.served = true;
              });
              ZRTaskYield();
              ZRTaskRelSemaphore(scene.semaphore, 1);
              ZRTaskYield();
              EXPECT_FALSE(scene.served);  // the first in the row wants more
              ZRTaskKill(server);
            }
            ZRTaskYield();
            ZRTaskYield();
            ZRTaskDisposeSemaphore(&scene.semaphore);
            EXPECT_EQ(scene.served, kill);
            Log("end");
          });
        },
        kVictimArea);
    const std::string once = std::string(100, 'c') + " end";
    EXPECT_EQ(TakeLog(), once + once);
  }
}

// A message that was passed on belongs to whoever waits for its reply, whichever task ends.
TEST_F(TaskEndsTest, APassedOnMessageGoesWithItsSender) {
  const struct {
    const char* victim;
    const char* log;
  } kRows[] = {{"none", "answered 5"},
               {"dispatcher", "answered 5"},
               {"server", "answered 0"},
               {"client", "nothing"}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.victim);
    TaskId dispatcher, server, client;
    RunTasks([&] {
      dispatcher = Spawn("dispatcher", [&] {
        ZRTaskPostMessage(server, ZRTaskGetMessage(true));
        ZRTaskWaitEvents(1);
      });
      server = Spawn("server", [&] {
        for (int i = 0; i < 3; ++i) ZRTaskYield();
        ZRTaskMessage* message = ZRTaskGetMessage(false);
        if (message == nullptr) Log("nothing");
        ZRTaskReply(message, 5);
      });
      client = Spawn("client", [&] {
        uint32_t reply = 7;
        ZRTaskSendValue(dispatcher, 1, &reply);
        Log("answered " + std::to_string(reply));
      });
      Spawn("killer", [&] {
        ZRTaskYield();
        EXPECT_EQ(ZRTaskGetState(client), TaskState::kReplyWait);
        for (const TaskId task : {dispatcher, server, client}) {
          if (ZRTaskGetName(task) == std::string(row.victim)) ZRTaskKill(task);
        }
        for (int i = 0; i < 4; ++i) ZRTaskYield();
        ZRTaskSignal(dispatcher, 1);
      });
    });
    EXPECT_EQ(TakeLog(), row.log);
  }
}

TEST_F(TaskEndsTest, ATaskInIOWaitIsKilledWhenItsJobIsCollected) {
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

TEST_F(TaskEndsTest, ATaskThatEndsInACriticalRegionEndsTheKernel) {
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

TEST_F(TaskEndsTest, MainlineKilledCandidateIsReplaced) {
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

}  // namespace
