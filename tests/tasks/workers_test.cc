#include "tasks/workers.h"

#include <list>
#include <thread>

#include "app/settings.h"
#include "base/clock.h"
#include "base/errors.h"
#include "tests/tasks/workers_fixture.h"
#include "tests/test_platform.h"

namespace {

using test::GateJob;
using test::PassGate;

class WorkersTest : public test::WorkersTest {};

TEST_F(WorkersTest, ThePoolsAreAsLargeAsSettingsAndDefaultsSay) {
  const struct {
    const char* name;
    const char* settings;
    uint32_t host_max, host_dedicated;  // 0xFFFFFFFF: the host says nothing
    uint32_t disk, dedicated;
  } kRows[] = {
      {"both off", "MaxWorkers=0\r\nMaxDedicatedWorkers=0\r\n", UINT32_MAX, UINT32_MAX, 0, 0},
      {"below 0", "MaxWorkers=-5\r\nMaxDedicatedWorkers=-1\r\n", UINT32_MAX, UINT32_MAX, 0, 0},
      {"dedicated limit", "MaxWorkers=1\r\nMaxDedicatedWorkers=100\r\n", UINT32_MAX, UINT32_MAX, 1,
       64},
      {"nothing said", "", UINT32_MAX, UINT32_MAX, 64, 64},
      {"the host's for both", "", 3, UINT32_MAX, 3, 3},
      {"the host's for each", "", 3, 5, 3, 5},
      {"too many mean the usual", "", 65535, 70000, 64, 64},
      {"the default counts, not the setting", "MaxWorkers=2\r\n", 4, UINT32_MAX, 2, 4}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    UseSettings(std::string("[QVSetup]\r\n") + row.settings);
    EXPECT_EQ(ZRWorkersSetDefaultMax(row.host_max), 1);
    EXPECT_EQ(ZRWorkersSetDefaultMaxDedicated(row.host_dedicated), 1);
    EXPECT_EQ(ZRWorkersStart(), 1);
    EXPECT_EQ(ZRWorkersSetDefaultMax(9), 0);
    qv::WorkerPool* dedicated = qv::Workers().dedicated;
    EXPECT_EQ(qv::GetWorkerStatistics(false).threads, row.disk);
    EXPECT_EQ(dedicated != nullptr ? dedicated->Statistics().threads : 0, row.dedicated);
    EXPECT_EQ(qv::Workers().pool_count, (row.disk != 0) + (row.dedicated != 0));
    qv::ResetWorkersForTest();
    qv::ResetSettingsForTest();
  }
}

// Where a task cannot wait, the caller does the work itself: at once, with the same result.
TEST_F(WorkersTest, JobsRunOnTheCallerWhereItCannotWait) {
  auto expect_inline = [this](const char* name, bool use_worker = true) {
    SCOPED_TRACE(name);
    for (const bool wait : {false, true}) {
      GateJob job = NewJob(6);
      EXPECT_EQ(ZRWorkerRun(&job, PassGate, use_worker, wait), wait ? 7u : 0u);
      EXPECT_EQ(job.thread, GetCurrentThreadId());
      EXPECT_EQ(job.result, 7u);
      EXPECT_EQ(job.flags, qv::kJobFinished);
    }
  };
  expect_inline("before the start");
  SetThreads(1, 0);
  RunWithWorkers([&] {
    expect_inline("no current task");
    Spawn("a", [&] {
      expect_inline("no worker wanted", false);
      {
        qv::CriticalRegion region;
        expect_inline("in a critical region");
      }
      {
        qv::SwitchingHold hold;
        expect_inline("while an exception is handled");
      }
      test::RunOnThread(0x100000, [&] { expect_inline("on another thread"); });
      GateJob job = NewJob();
      ZRWorkerRun(
          &job, [](ZRWorkerJob*) { return uint64_t{GetCurrentThreadId()}; }, true, true);
      EXPECT_EQ(job.tag, -1);
      EXPECT_NE(job.result, GetCurrentThreadId()) << "a worker, where the task can wait";
      EXPECT_EQ(ZRWorkerRun(&job, nullptr, true, true), uint64_t{ZRErrParam});
    });
  });
}

TEST_F(WorkersTest, ATaskKilledWhileItsJobRunsGoesWhenTheJobIsDone) {
  SetThreads(1, 0);
  RunWithWorkers([this] {
    const TaskId victim = Spawn("a", [this] {
      GateJob job = NewJob(0, true);
      ZRWorkerRun(&job, PassGate, true, true);
      ADD_FAILURE() << "it was killed";
    });
    Spawn("b", [this, victim] {
      while (runs == 0) ZRTaskYield();
      ZRTaskKill(victim);
      EXPECT_TRUE(ZRTaskIsValid(victim)) << "the record lies on its stack";
      gate = true;
      while (ZRTaskIsValid(victim)) ZRTaskYield();
    });
  });
}

// A task may end before a job that it did not wait for; its record is not its own.
TEST_F(WorkersTest, ATaskThatEndsLeavesItsJobBehind) {
  SetThreads(1, 0);
  GateJob job = NewJob(0, true);
  RunWithWorkers([&] {
    const TaskId first = Spawn("a", [&] { ZRWorkerRun(&job, PassGate, true, false); });
    Spawn("b", [&, first] {
      while (runs == 0 || ZRTaskIsValid(first)) ZRTaskYield();
      EXPECT_EQ(job.flags, qv::kJobSubmitted);
      gate = true;
      while ((job.flags & qv::kJobFinished) == 0) ZRTaskYield();
      EXPECT_EQ(job.result, 1u);
    });
  });
  EXPECT_EQ(printed, "");
}

// The kernel ends with the task in a region, while the record lies on another task's stack.
TEST_F(WorkersTest, TheEndOfAKernelWaitsForJobs) {
  SetThreads(1, 0);
  for (const char* mode : {"QVSetup/Fibers=1", "QVSetup/Fibers=0"}) {
    SCOPED_TRACE(mode);
    Set(mode);
    runs = 0;
    gate = false;
    Run([this] {
      EXPECT_EQ(ZRWorkersStart(), 1);
      Spawn("a", [this] {
        GateJob job = NewJob(0, true);
        ZRWorkerRun(&job, PassGate, true, true);
      });
      Spawn("b", [this] {
        while (runs == 0) ZRTaskYield();
        ZRTaskEnterCritical(false);
      });
      ZRTaskLeaveCritical(false);
      ZRTaskYield();
      EXPECT_EQ(qv::Workers().under_way, 1u);
      gate = true;
    });
    EXPECT_EQ(qv::Workers().under_way, 0u);
    EXPECT_EQ(fibers_left, 0);
    qv::ResetWorkersForTest();
  }
}

TEST_F(WorkersTest, AStopFinishesWhatWasSubmitted) {
  constexpr int kTasks = 20;
  SetThreads(2, 0);
  Run([&] {
    EXPECT_EQ(ZRWorkersStart(), 1);
    for (int i = 0; i < kTasks; ++i) {
      Spawn("a", [this] {
        GateJob job = NewJob(4, true);
        EXPECT_EQ(ZRWorkerRun(&job, PassGate, true, true), 5u);
        LogName();
      });
    }
    Spawn("stop", [&] {
      EXPECT_EQ(qv::GetWorkerStatistics(false).in_flight, uint32_t{kTasks});
      gate = true;
      ZRWorkersStop();
      EXPECT_EQ(qv::Workers().under_way, 0u);
      EXPECT_EQ(qv::Workers().pools, nullptr);
      EXPECT_EQ(ZRWorkersStart(), 1) << "it ran before";
      GateJob job = NewJob(4);
      EXPECT_EQ(ZRWorkerRun(&job, PassGate, true, true), 5u);
      EXPECT_EQ(job.thread, GetCurrentThreadId());
      EXPECT_EQ(ZRWorkersSetPriority(2), 0);
      EXPECT_EQ(ZRWorkerDedicate(), 0);
    });
    ZRTaskLeaveCritical(false);
    ZRTaskYield();
  });
  EXPECT_EQ(runs, kTasks + 1);
  EXPECT_EQ(log.size(), size_t{kTasks * 2 - 1}) << "every task went on";
  EXPECT_EQ(blocks_left, 0);
}

// A record whose owner or pool was lost on the way is dropped, and nothing waits for it.
TEST_F(WorkersTest, JobsWithoutATaskOrAPoolAreReported) {
  SetThreads(1, 0);
  const struct {
    ZRWorkerFunction spoil;
    const char* printed;
  } kRows[] = {{[](ZRWorkerJob* job) { return uint64_t{job->task = 0}; }, "Invalid Task ID\n\n"},
               {[](ZRWorkerJob* job) { return uint64_t{(job->pool = nullptr) != nullptr}; },
                "Invalid Thread Pool\n"}};
  for (const auto& row : kRows) {
    GateJob job = NewJob();
    RunWithWorkers([&] {
      Spawn("a", [&] {
        ZRWorkerRun(&job, row.spoil, true, false);
        while ((job.flags & qv::kJobFinished) == 0) ZRTaskYield();
      });
    });
    EXPECT_EQ(printed, row.printed);
  }
}

// Pending jobs go out together, and each wakes a thread: all three wait at the gate at once. What
// is pending must not wait for the end of a long sleep.
TEST_F(WorkersTest, JobsWaitForALockThatAThreadHolds) {
  SetThreads(3, 0);
  Set("QVSetup/IdleSleep=1000");
  RunTaskWithWorkers([this] {
    std::list<GateJob> jobs(3, NewJob(1, true));
    std::atomic<bool> held{false}, release{false};
    std::thread holder([&] {
      qv::ScopedLock hold(qv::Workers().disk->Block().incoming);
      held = true;
      while (!release) Sleep(1);
    });
    while (!held) ZRThreadYield();
    for (GateJob& job : jobs) ZRWorkerRun(&job, PassGate, true, false);
    ZRTaskYield();
    EXPECT_TRUE(qv::Workers().retry);
    EXPECT_EQ(runs, 0);
    release = true;
    holder.join();
    ZRTaskYield();  // the next decision
    EXPECT_FALSE(qv::Workers().retry);
    while (runs < 3) ZRTaskYield();
    gate = true;
    for (GateJob& job : jobs) {
      while ((job.flags & qv::kJobFinished) == 0) ZRTaskYield();
    }
  });
}

TEST_F(WorkersTest, OnlySoManyTasksAreDedicatedUntilTheyEnd) {
  SetThreads(1, 2);
  RunWithWorkers([this] {
    EXPECT_EQ(ZRWorkerDedicate(), 0) << "no task";
    auto hold_a_place = [this] {
      EXPECT_EQ(ZRWorkerDedicate(), 1);
      EXPECT_EQ(ZRWorkerDedicate(), 1);
      EXPECT_TRUE(ZRWorkerIsDedicated());
      GateJob job = NewJob(0, true);
      ZRWorkerRun(&job, PassGate, true, true);
    };
    const TaskId first = Spawn("a", hold_a_place), second = Spawn("b", hold_a_place);
    Spawn("c", [this, first, second] {
      while (runs < 2) ZRTaskYield();
      EXPECT_EQ(ZRWorkerDedicate(), 0) << "the table is full";
      EXPECT_EQ(qv::GetWorkerStatistics(false).in_flight, 0u) << "they are in the other pool";
      GateJob job = NewJob();
      EXPECT_EQ(ZRWorkerRun(&job, PassGate, true, true), 1u) << "the disk's threads are free";
      gate = true;
      while (ZRTaskIsValid(first) || ZRTaskIsValid(second)) ZRTaskYield();
      EXPECT_EQ(ZRWorkerDedicate(), 1);
    });
  });
}

uint64_t Nap(ZRWorkerJob*) { return Sleep(20), uint64_t{0}; }

// A job's end wakes a kernel that sleeps for a second each time, twenty times.
TEST_F(WorkersTest, AnIdleKernelIsWoken) {
  SetThreads(1, 0);
  Set("QVSetup/IdleSleep=1000");
  const uint32_t start = ZRMilliseconds(true);
  RunTaskWithWorkers([this] {
    GateJob job = NewJob();
    for (int i = 0; i < 20; ++i) ZRWorkerRun(&job, Nap, true, true);
  });
  EXPECT_LT(ZRMilliseconds(true) - start, 10000u);
}

std::atomic<int>& Calls() {
  static std::atomic<int> calls;
  return calls;
}
void CALLBACK CountCall(ULONG_PTR) { ++Calls(); }

TEST_F(WorkersTest, QueuedCallsArriveAtLoopEndsOfAKernelThatNeverSleeps) {
  SetThreads(1, 0);
  Set("QVSetup/IdleSleep=-1");
  Calls() = 0;
  RunTaskWithWorkers([] {
    EXPECT_NE(QueueUserAPC(CountCall, GetCurrentThread(), 0), 0u);
    ZRTaskYield();
    ZRTaskYield();
    EXPECT_EQ(Calls(), 1);
  });
}

TEST_F(WorkersTest, FiguresFollowTheJobs) {
  SetThreads(2, 0);
  RunTaskWithWorkers([this] {
    GateJob slow = NewJob(), quick = NewJob();
    ZRWorkerRun(&slow, Nap, true, true);
    ZRWorkerRun(&quick, PassGate, true, true);
    const qv::WorkerStatistics figures = qv::GetWorkerStatistics(true);
    EXPECT_EQ(figures.most_in_flight, 1u);
    EXPECT_GE(figures.longest_job_time, 4.0) << "20 less a tick of an old system's clock";
    EXPECT_LT(figures.job_time, figures.longest_job_time);
    EXPECT_GE(figures.longest_round_trip, figures.longest_job_time);
    EXPECT_EQ(qv::GetWorkerStatistics(false).longest_job_time, 0.0);
  });
}

// What other components hand over through the hook runs on a worker as well.
TEST_F(WorkersTest, TheHookRunsOnAWorker) {
  SetThreads(1, 0);
  RunTaskWithWorkers([] {
    DWORD thread = 0;
    qv::GlobalHooks().run_on_worker(
        [](void* out) { *static_cast<DWORD*>(out) = GetCurrentThreadId(); }, &thread);
    EXPECT_NE(thread, 0u);
    EXPECT_NE(thread, GetCurrentThreadId());
  });
}

}  // namespace
