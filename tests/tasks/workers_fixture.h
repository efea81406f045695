// Kernels with workers, and jobs that wait at a gate.
#pragma once

#include <atomic>
#include <functional>
#include <string>

#include "tasks/threads.h"
#include "tasks/workers_state.h"
#include "tests/tasks/kernel_fixture.h"

namespace test {

// A job that counts itself, on whatever thread, and then waits until the gate is open.
struct GateJob : ZRWorkerJob {
  std::atomic<int>* runs = nullptr;
  const std::atomic<bool>* gate = nullptr;  // null: no waiting
  DWORD thread = 0;                         // that ran it
};

inline uint64_t PassGate(ZRWorkerJob* record) {
  auto* job = static_cast<GateJob*>(record);
  job->thread = GetCurrentThreadId();
  ++*job->runs;
  while (job->gate != nullptr && !*job->gate) Sleep(1);
  return job->arg1 + job->arg2;
}

class WorkersTest : public KernelTest {
 protected:
  ~WorkersTest() override {
    qv::ResetWorkersForTest();
    qv::ResetThreadsForTest();
  }

  GateJob NewJob(uintptr_t arg1 = 0, bool waits_at_gate = false) {
    GateJob job;
    ZRWorkerJobSetUp(&job, arg1, 1);
    job.runs = &runs;
    job.gate = waits_at_gate ? &gate : nullptr;
    return job;
  }

  // A kernel with workers, until its tasks have ended. Afterwards nothing of either is left.
  void RunWithWorkers(const std::function<void()>& create) {
    const int32_t result = Run([&] {
      EXPECT_EQ(ZRWorkersStart(), 1);
      create();
      ZRTaskLeaveCritical(false);
      ZRTaskYield();
      EXPECT_EQ(qv::Workers().under_way, 0u);
      qv::ResetWorkersForTest();
    });
    EXPECT_EQ(result, 77);
    EXPECT_EQ(blocks_left, 0);
    EXPECT_EQ(fibers_left, 0);
  }

  void RunTaskWithWorkers(const std::function<void()>& body) {
    RunWithWorkers([&] { Spawn("a", body); });
  }

  void SetThreads(int disk, int dedicated) {
    Set("QVSetup/MaxWorkers=" + std::to_string(disk));
    Set("QVSetup/MaxDedicatedWorkers=" + std::to_string(dedicated));
  }

  std::atomic<int> runs{0};
  std::atomic<bool> gate{false};
};

}  // namespace test
