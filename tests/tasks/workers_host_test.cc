// Workers that the system refuses something to.
#include "platform/host/control.h"
#include "tests/tasks/workers_fixture.h"

namespace {

using test::GateJob;
using test::PassGate;

constexpr int kDisk = 3, kDedicated = 2;

class WorkersHostTest : public test::WorkersTest {
 protected:
  ~WorkersHostTest() override { host::ClearFaults(); }

  // In a kernel: a start that may fail, a job all the same, and a second start that does not.
  // Returns the first one's answer; nothing may be left of it.
  int32_t StartTwice(const std::function<void()>& set_fault) {
    int32_t first = -1;
    SetThreads(kDisk, kDedicated);
    Run([&] {
      set_fault();
      const uint32_t handles = host::OpenHandles();
      first = ZRWorkersStart();
      test::FailAllocation(-1);
      if (first == 0) {
        EXPECT_EQ(qv::Workers().pools, nullptr);
        EXPECT_EQ(qv::Workers().pool_count, 0u);
        EXPECT_EQ(host::OpenHandles(), handles);
      }
      host::ClearFaults();
      Spawn("a", [&] {
        GateJob job = NewJob(1);
        EXPECT_EQ(ZRWorkerRun(&job, PassGate, true, true), 2u);
        EXPECT_EQ(job.thread == GetCurrentThreadId(), first == 0) << "inline without workers";
        EXPECT_EQ(ZRWorkersStart(), 1);
        EXPECT_EQ(ZRWorkerRun(&job, PassGate, true, true), 2u);
        EXPECT_NE(job.thread, GetCurrentThreadId());
      });
      ZRTaskLeaveCritical(false);
      ZRTaskYield();
      qv::ResetWorkersForTest();
    });
    EXPECT_EQ(blocks_left, 0);
    return first;
  }
};

TEST_F(WorkersHostTest, AThreadThatIsMissingLeavesNoPool) {
  int failures = 0;
  for (uint32_t nth = 1; nth <= kDisk + kDedicated + 1; ++nth) {
    SCOPED_TRACE(nth);
    if (StartTwice([nth] { host::FailCall("CreateThread", nth, 8); }) == 0) ++failures;
  }
  EXPECT_EQ(failures, kDisk + kDedicated);
}

TEST_F(WorkersHostTest, MemoryThatIsMissingLeavesNoPool) {
  int failures = 0;
  for (int after = 0; after < 40; ++after) {
    SCOPED_TRACE(after);
    if (StartTwice([after] { test::FailAllocation(after); }) == 0) ++failures;
  }
  EXPECT_EQ(failures, 1 + 2 + kDisk + kDedicated) << "queue, pools, threads; not the names";
}

// Slower, but nothing is lost: without events workers look again, without calls the kernel does.
TEST_F(WorkersHostTest, JobsAreDoneWithoutWhatIsNotNeeded) {
  SetThreads(4, 0);
  for (const char* call : {"CreateEventA", "QueueUserAPC", "DuplicateHandle", "LoadLibraryA",
                           "GetProcAddress", "SetThreadPriority"}) {
    SCOPED_TRACE(call);
    runs = 0;
    host::FailCall(call, 1, ERROR_GEN_FAILURE, true);
    RunWithWorkers([this] {
      for (int i = 0; i < 10; ++i) {
        Spawn("a", [this] {
          GateJob job = NewJob();
          EXPECT_EQ(ZRWorkerRun(&job, PassGate, true, true), 1u);
        });
      }
    });
    EXPECT_GT(host::FaultsStruck(), 0u);
    EXPECT_EQ(runs, 10);
    host::ClearFaults();
  }
}

TEST_F(WorkersHostTest, PrioritiesComeFromTheHostBeforeTheSettings) {
  const struct {
    const char* setting;
    uint32_t preset;
    int priority;
  } kRows[] = {
      {"WorkerPrio=1", UINT32_MAX, 0}, {"WorkerPrio=0", UINT32_MAX, -1}, {"WorkerPrio=0", 2, 2}};
  SetThreads(1, 0);
  for (const auto& row : kRows) {
    Set(std::string("QVSetup/") + row.setting);
    EXPECT_EQ(ZRWorkersSetPriority(row.preset), 1);
    static std::atomic<int> priority;
    Run([this] {
      ZRWorkersStart();
      Spawn("a", [] {
        ZRWorkerJob job;
        auto look = [](ZRWorkerJob*) {
          priority = GetThreadPriority(GetCurrentThread());
          return uint64_t{0};
        };
        ZRWorkerRun(&job, look, true, true);
      });
      ZRTaskLeaveCritical(false);
      ZRTaskYield();
      qv::ResetWorkersForTest();
    });
    EXPECT_EQ(priority, row.priority);
  }
}

}  // namespace
