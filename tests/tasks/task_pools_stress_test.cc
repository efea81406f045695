// Many tasks on pools of 64 workers, with every flag, while tasks of all kinds are killed.
//
// QV_STRESS_SEED runs one seed again (where the clock is moved by hand).
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <list>
#include <random>
#include <vector>

#include "base/clock.h"
#include "tasks/kernel_state.h"
#include "tasks/task_pools.h"
#include "tests/tasks/kernel_fixture.h"
#include "tests/test_platform.h"

namespace {

constexpr uint32_t kPools = 3, kEntries = 40, kWorkers = 64, kClients = 100, kActions = 20000;

class TaskPoolsStressTest : public test::KernelTest {
 protected:
  ~TaskPoolsStressTest() override { test::ReleaseClock(); }
  void RunStress(uint32_t seed);

 private:
  // What became of a submission.
  struct Job {
    TaskPoolsStressTest* test;
    uint32_t runs, completions, waits, count;
    bool returned;  // from the call that handed it in
  };

  void Act();
  void Submit(ZRTaskPool* pool);
  void Watch();
  void KillOne();
  void Pause();
  uint32_t Below(uint32_t bound) { return random_() % bound; }
  static Job& JobOf(uintptr_t arg) { return *reinterpret_cast<Job*>(arg); }
  static void Run(uintptr_t arg);
  static void Complete(uintptr_t arg);

  std::independent_bits_engine<std::mt19937, 32, uint32_t> random_;
  ZRTaskPool* pools_[kPools] = {};
  std::list<Job> jobs_;
  uint32_t actions_ = 0;
};

void TaskPoolsStressTest::Pause() {
  test::MoveClock(Below(50));
  const uint32_t what = Below(6);
  if (what == 0) ZRTaskYield();
  if (what == 1) ZRTaskYieldMicros(1 + Below(5000), Below(2) == 0);
}

void TaskPoolsStressTest::Run(uintptr_t arg) {
  Job& job = JobOf(arg);
  EXPECT_EQ(job.completions, 0u);
  EXPECT_LE(++job.runs, job.count);
  job.test->Pause();
  if (job.test->Below(8) == 0) job.test->Submit(job.test->pools_[0]);
  job.test->Pause();
}

void TaskPoolsStressTest::Complete(uintptr_t arg) {
  EXPECT_EQ(++JobOf(arg).completions, 1u);
  JobOf(arg).test->Pause();
}

// Without kPoolAlwaysQueue, with which a run can wait for itself.
void TaskPoolsStressTest::Submit(ZRTaskPool* pool) {
  const uint32_t flags = random_() & random_() & 0x7F;
  Job& job = jobs_.emplace_back(this, 0, 0, Below(10), Below(6), false);
  const auto may_wait = [](uintptr_t arg) { return JobOf(arg).waits-- > 0; };
  ZRTaskPoolSubmit(pool, Run, Complete,
                   Below(3) == 0 ? static_cast<ZRTaskPoolCanWait>(may_wait) : nullptr,
                   reinterpret_cast<uintptr_t>(&job), job.count, flags);
  job.returned = true;
}

void TaskPoolsStressTest::Act() {
  while (++actions_ < kActions) {
    ZRTaskPool* pool = pools_[Below(kPools)];
    Submit(pool);
    EXPECT_TRUE(qv::TaskPoolIsConsistent(pool));
    if (Below(8) != 0) continue;
    EXPECT_TRUE(ZRTaskPoolWaitOwn(pool, nullptr, 0));
    EXPECT_EQ(ZRTaskPoolOutstanding(pool, 0), 0u);
  }
}

// A client, in whose place another one comes, or a worker, and signals another task for no reason.
void TaskPoolsStressTest::KillOne() {
  std::vector<TaskId> tasks;
  qv::HashIterator each;
  TaskId id = 0;
  for (each.Begin(*qv::TheKernel().registry); each.Next(&id, sizeof id);) {
    if (id != ZRTaskCurrent()) tasks.push_back(id);
  }
  std::ranges::sort(tasks, {}, ZRTaskGetNumber);
  ZRTaskSignal(tasks[Below(static_cast<uint32_t>(tasks.size()))], 1);
  const TaskId victim = tasks[Below(static_cast<uint32_t>(tasks.size()))];
  const bool is_client = ZRTaskGetName(victim)[0] == 'c';
  ZRTaskKill(victim);
  if (is_client) Spawn("client", [this] { Act(); });
}

void TaskPoolsStressTest::Watch() {
  while (actions_ < kActions && !HasFailure()) {
    ZRTaskYieldMicros(2000, false);
    EXPECT_TRUE(qv::KernelIsConsistent());
    KillOne();
  }
  ZRTaskYieldMicros(1000000, false);  // the clock stands while anybody is ready
  for (ZRTaskPool* pool : pools_) EXPECT_TRUE(ZRTaskPoolDispose(pool));
  EXPECT_EQ(qv::TheKernel().task_count, 2u) << "somebody waits for ever";
}

void TaskPoolsStressTest::RunStress(uint32_t seed) {
  std::printf("QV_STRESS_SEED=%u\n", seed);
  random_.seed(seed);
  test::StopClock(1000000);
  qv::ResetClockForTest();
  stack_size = 0x8000;
  RunTasks([this] {
    for (uint32_t i = 0; i < kPools; ++i) {
      pools_[i] = ZRTaskPoolNew("stress", kEntries, kWorkers, i * 2, stack_size);
    }
    for (uint32_t i = 0; i < kClients; ++i) Spawn("client", [this] { Act(); });
    Spawn("watcher", [this] { Watch(); });
  });
  uint32_t runs = 0, lost = 0;
  for (const Job& job : jobs_) {
    runs += job.runs;
    lost += job.completions == 0 ? 1 : 0;
    EXPECT_TRUE(!job.returned || job.completions == 1);
  }
  std::printf("%zu jobs, %u runs, %u of tasks killed before\n", jobs_.size(), runs, lost);
  EXPECT_GT(runs, jobs_.size() / 4);
}

TEST_F(TaskPoolsStressTest, PoolsOf64Workers) {
  const char* seed = std::getenv("QV_STRESS_SEED");
  RunStress(seed != nullptr ? static_cast<uint32_t>(std::strtoul(seed, nullptr, 10))
                            : std::random_device()());
}

}  // namespace
